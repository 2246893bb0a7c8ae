#include <fluxgrid/element/MagVapor.h>

#include "support/ElementRecordBuilders.h"
#include "support/Harness.h"
#include "support/Truncation.h"

#include <cstring>

namespace {

using fluxgrid::test::ByteBuilder;
using fluxgrid::test::ElementValues;
using fluxgrid::test::loadFromBytes;
using fluxgrid::test::MessageBoxRecorder;
using fluxgrid::test::storeToBytes;
using fluxgrid::test::vaporRecord;

int loadVapor(CMagVaporqv& cell, const std::vector<BYTE>& bytes, std::size_t* taken = nullptr) {
    int result = -1;
    const std::size_t used =
        loadFromBytes(bytes, [&](CArchive& ar) { result = cell.serializeqv(ar); });
    if (taken != nullptr) {
        *taken = used;
    }
    return result;
}

ElementValues cellValues() {
    ElementValues values;
    values.name = u"OPMg3";
    return values;
}

void expectCellFields(const CMagVaporqv& cell, const ElementValues& v, int version) {
    EXPECT_EQ(cell.vaporShape, v.vaporShape);
    EXPECT_EQ(cell.coilName, CString(v.name));
    EXPECT_EQ(cell.vaporAuxNo2, v.vaporAuxNo2);
    for (int i = 0; i < 4; ++i) {
        EXPECT_BITS_EQ(v.pos[i], cell.posP4[i]);
        EXPECT_BITS_EQ(v.ori[i], cell.oriP4[i]);
        EXPECT_BITS_EQ(v.nml[i], cell.nmlDirXYZW[i]);
        EXPECT_BITS_EQ(v.vct[i], cell.vctXYRD[i]);
        for (int r = 0; r < 4; ++r) {
            EXPECT_BITS_EQ(v.aux[r][i], cell.auxRows[r][i]);
        }
        if (version == 20211230) {
            EXPECT_BITS_EQ(v.axis[i], cell.axisRotate[i]);
        }
    }
    if (version == 20211230) {
        EXPECT_BITS_EQ(v.rotateRad, cell.rotateRad);
        EXPECT_BITS_EQ(v.rotateDeg, cell.rotateDeg);
    }
    EXPECT_EQ(0, std::memcmp(v.pairs, cell.vaporPairTable, sizeof v.pairs));
}

TEST(MagVapor, NewCellIsNamedOpmWithZeroShapeAndUnitScaleOne) {
    CMagVaporqv cell;
    EXPECT_EQ(cell.coilName, "OPM");
    EXPECT_EQ(cell.vaporShape, 0);
    EXPECT_EQ(cell.vaporAuxNo2, 0);
    EXPECT_EQ(cell.unitScale, 1.0);
    EXPECT_EQ(cell.vaporAuxNo, 0);
    EXPECT_EQ(cell.coilTurns, 0);
}

TEST(MagVapor, ResetAfterLoadClearsFirstFourPairsOnly) {
    CMagVaporqv cell;
    const ElementValues values = cellValues();
    ASSERT_EQ(loadVapor(cell, vaporRecord(20211230, values).bytes()), 1);
    EXPECT_EQ(cell.reset(), 1);
    for (int g = 0; g < 12; ++g) {
        for (int k = 0; k < 2; ++k) {
            for (int j = 0; j < 3; ++j) {
                EXPECT_EQ(cell.vaporPairTable[g][k][j], g < 4 ? 0.0 : values.pairs[g][k][j]);
            }
        }
    }
}

TEST(MagVapor, ResetTouchesOnlyItsOwnFields) {
    CMagVaporqv cell;
    ASSERT_EQ(loadVapor(cell, vaporRecord(20211230, cellValues()).bytes()), 1);
    cell.vaporAuxNo = 5;
    cell.coilTurns = 6;
    cell.coilArea = 7.5;
    cell.magApha = 8.5;
    cell.unitScale = 9.5;
    cell.coilShape = 2;
    cell.pairTable[0][0][0] = 3.5;
    cell.reset();
    EXPECT_EQ(cell.coilName, "OPM");
    EXPECT_EQ(cell.vaporShape, 0);
    EXPECT_EQ(cell.vaporAuxNo2, 0);
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(cell.posP4[i], 0.0);
        EXPECT_EQ(cell.axisRotate[i], 0.0);
        EXPECT_EQ(cell.auxRows[0][i], 0.0);
        EXPECT_EQ(cell.auxRows[1][i], cellValues().aux[1][i]);
    }
    EXPECT_EQ(cell.rotateRad, 0.0);
    EXPECT_EQ(cell.vaporAuxNo, 5);
    EXPECT_EQ(cell.coilTurns, 6);
    EXPECT_EQ(cell.coilArea, 7.5);
    EXPECT_EQ(cell.magApha, 8.5);
    EXPECT_EQ(cell.unitScale, 9.5);
    EXPECT_EQ(cell.coilShape, 2);
    EXPECT_EQ(cell.pairTable[0][0][0], 3.5);
}

TEST(MagVapor, AssignmentKeepsTargetsLoopNumbersAndAnglesAndTakesPlacement) {
    CMagVaporqv a;
    a.coilTurns = 3;
    a.coilArea = 4.5;
    a.rotateRad = 0.25;
    a.rotateDeg = 14.0;
    a.vaporAuxNo = 1;
    a.unitScale = 2.0;
    CMagVaporqv b;
    ASSERT_EQ(loadVapor(b, vaporRecord(20211230, cellValues()).bytes()), 1);
    b.coilTurns = 30;
    b.coilArea = 45.0;
    b.vaporAuxNo = 10;
    a = b;
    EXPECT_EQ(a.coilTurns, 3);
    EXPECT_EQ(a.coilArea, 4.5);
    EXPECT_EQ(a.rotateRad, 0.25);
    EXPECT_EQ(a.rotateDeg, 14.0);
    EXPECT_EQ(a.vaporAuxNo, 1);
    EXPECT_EQ(a.unitScale, 2.0);
    EXPECT_EQ(0, std::memcmp(a.posP4, b.posP4, sizeof a.posP4));
    EXPECT_EQ(0, std::memcmp(a.oriP4, b.oriP4, sizeof a.oriP4));
    EXPECT_EQ(0, std::memcmp(a.axisRotate, b.axisRotate, sizeof a.axisRotate));
    EXPECT_EQ(0, std::memcmp(a.vaporPairTable, b.vaporPairTable, sizeof a.vaporPairTable));
    EXPECT_EQ(a.coilName, b.coilName);
    EXPECT_EQ(a.vaporShape, b.vaporShape);
    EXPECT_EQ(a.vaporAuxNo2, b.vaporAuxNo2);
}

TEST(MagVapor, CopyConstructionCopiesEveryFieldIncludingVaporAuxNo) {
    CMagVaporqv b;
    ASSERT_EQ(loadVapor(b, vaporRecord(20211230, cellValues()).bytes()), 1);
    b.coilTurns = 30;
    b.coilArea = 45.0;
    b.vaporAuxNo = 10;
    const CMagVaporqv copy(b);
    EXPECT_EQ(copy.coilTurns, 30);
    EXPECT_EQ(copy.coilArea, 45.0);
    EXPECT_EQ(copy.vaporAuxNo, 10);
    EXPECT_EQ(copy.rotateRad, b.rotateRad);
    EXPECT_EQ(0, std::memcmp(copy.posP4, b.posP4, sizeof b.posP4));
    EXPECT_EQ(copy.coilName, b.coilName);
}

TEST(MagVaporFile, CellNamedOpmStoresA920ByteRecord) {
    CMagVaporqv cell;
    const auto bytes = storeToBytes([&](CArchive& ar) { EXPECT_EQ(cell.serializeqv(ar), 1); });
    ASSERT_EQ(bytes.size(), 920u);
    // Seven letters of magic and no more.
    EXPECT_EQ(bytes[3], 0x07);
    EXPECT_EQ(bytes[4], 'A');
    EXPECT_EQ(bytes[16], 'V');
    EXPECT_EQ(bytes[18], 0x1E);
}

TEST(MagVaporFile, OlderVersionIs48BytesShorter) {
    const ElementValues values = cellValues();
    EXPECT_EQ(vaporRecord(20211230, values).size() - vaporRecord(20190121, values).size(), 48u);
    EXPECT_EQ(vaporRecord(20190121, values).size(), 862u + 14u);
}

TEST(MagVaporFile, StoreWritesNewestVersionByteForByte) {
    const ElementValues values = cellValues();
    CMagVaporqv cell;
    ASSERT_EQ(loadVapor(cell, vaporRecord(20211230, values).bytes()), 1);
    const auto stored = storeToBytes([&](CArchive& ar) { cell.serializeqv(ar); });
    EXPECT_BYTES_EQ(vaporRecord(20211230, values).bytes(), stored);
}

TEST(MagVaporFile, StoreDoesNotFlushBehindTheBody) {
    CMagVaporqv cell;
    CMemFile file;
    CArchive ar(&file, CArchive::store);
    EXPECT_EQ(cell.serializeqv(ar), 1);
    EXPECT_EQ(file.GetLength(), 0u);
    ar.Close();
    EXPECT_EQ(file.GetLength(), 920u);
}

class MagVaporFileVersions : public ::testing::TestWithParam<int> {};

TEST_P(MagVaporFileVersions, LoadPutsEveryHeldFieldInPlace) {
    const int version = GetParam();
    const ElementValues values = cellValues();
    const auto record = vaporRecord(version, values);
    CMagVaporqv cell;
    MessageBoxRecorder boxes;
    std::size_t taken = 0;
    EXPECT_EQ(loadVapor(cell, record.bytes(), &taken), 1);
    EXPECT_EQ(taken, record.size());
    EXPECT_TRUE(boxes.boxes().empty());
    expectCellFields(cell, values, version);
}

TEST_P(MagVaporFileVersions, LoadKeepsWhatTheVersionDoesNotHold) {
    const int version = GetParam();
    CMagVaporqv cell;
    cell.rotateRad = 1.5;
    cell.rotateDeg = 2.5;
    cell.axisRotate[3] = 3.5;
    cell.coilTurns = 4;
    cell.coilArea = 5.5;
    cell.magApha = 6.5;
    cell.unitScale = 7.5;
    cell.coilShape = 8;
    cell.vaporAuxNo = 9;
    cell.pairTable[2][1][0] = 10.5;
    ASSERT_EQ(loadVapor(cell, vaporRecord(version, cellValues()).bytes()), 1);
    if (version == 20190121) {
        EXPECT_EQ(cell.rotateRad, 1.5);
        EXPECT_EQ(cell.rotateDeg, 2.5);
        EXPECT_EQ(cell.axisRotate[3], 3.5);
    }
    EXPECT_EQ(cell.coilTurns, 4);
    EXPECT_EQ(cell.coilArea, 5.5);
    EXPECT_EQ(cell.magApha, 6.5);
    EXPECT_EQ(cell.unitScale, 7.5);
    EXPECT_EQ(cell.coilShape, 8);
    EXPECT_EQ(cell.vaporAuxNo, 9);
    EXPECT_EQ(cell.pairTable[2][1][0], 10.5);
    // The file's directions stand, whatever the orientation says.
    EXPECT_EQ(cell.nmlDirXYZW[0], cellValues().nml[0]);
}

TEST_P(MagVaporFileVersions, EveryShorterPrefixRaisesEndOfFile) {
    const auto record = vaporRecord(GetParam(), cellValues()).bytes();
    fluxgrid::test::expectEveryTruncationRaisesEndOfFile(record, [](CArchive& ar) {
        CMagVaporqv cell;
        cell.serializeqv(ar);
    });
}

INSTANTIATE_TEST_SUITE_P(BothVersions, MagVaporFileVersions, ::testing::Values(20190121, 20211230));

TEST(MagVaporFile, LoopNumbersDoNotTravelInTheFile) {
    CMagVaporqv stored;
    stored.coilTurns = 12;
    stored.coilArea = 3.25;
    const auto bytes = storeToBytes([&](CArchive& ar) { stored.serializeqv(ar); });
    CMagVaporqv fresh;
    ASSERT_EQ(loadVapor(fresh, bytes), 1);
    EXPECT_EQ(fresh.coilTurns, 0);
    EXPECT_EQ(fresh.coilArea, 0.0);
}

TEST(MagVaporFile, WrongMagicShowsMessageAndReturnsZero) {
    ByteBuilder b;
    b.wide(u"MEGCOILQV").i32(20211230);
    CMagVaporqv cell;
    MessageBoxRecorder boxes;
    std::size_t taken = 0;
    EXPECT_EQ(loadVapor(cell, b.bytes(), &taken), 0);
    EXPECT_EQ(boxes.texts(),
              std::vector<std::string>{"The opened file is not MEG file or corrupted!"});
    EXPECT_EQ(taken, 22u);
    EXPECT_EQ(cell.coilName, "OPM");
}

TEST(MagVaporFile, UnknownVersionShowsMessageAndReturnsOne) {
    ByteBuilder b;
    b.wide(u"AMOPMQV").i32(20190122).i32(1);
    CMagVaporqv cell;
    cell.vaporShape = 2;
    MessageBoxRecorder boxes;
    std::size_t taken = 0;
    EXPECT_EQ(loadVapor(cell, b.bytes(), &taken), 1);
    EXPECT_EQ(boxes.texts(), std::vector<std::string>{"Wrong AMOPM file format!!?"});
    EXPECT_EQ(taken, 22u);
    EXPECT_EQ(cell.vaporShape, 2);
}

}  // namespace
