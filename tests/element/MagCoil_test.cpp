#include <fluxgrid/element/MagCoil.h>

#include "support/ElementRecordBuilders.h"
#include "support/Harness.h"
#include "support/Truncation.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace {

using fluxgrid::test::ByteBuilder;
using fluxgrid::test::coilRecord;
using fluxgrid::test::ElementValues;
using fluxgrid::test::loadFromBytes;
using fluxgrid::test::MessageBoxRecorder;
using fluxgrid::test::storeToBytes;

constexpr int kVersions[] = {20080102, 20091117, 20140513, 20211230};

int loadCoil(CMagCoilqv& coil, const std::vector<BYTE>& bytes, std::size_t* taken = nullptr) {
    int result = -1;
    const std::size_t used =
        loadFromBytes(bytes, [&](CArchive& ar) { result = coil.serializeqv(ar); });
    if (taken != nullptr) {
        *taken = used;
    }
    return result;
}

/// A coil whose every field holds a value that no record below uses.
CMagCoilqv markedCoil() {
    CMagCoilqv coil;
    coil.coilName = "Marked";
    for (int i = 0; i < 4; ++i) {
        coil.vctXYRD[i] = -100 - i;
        coil.posP4[i] = -200 - i;
        coil.oriP4[i] = -300 - i;
        coil.nmlDirXYZW[i] = -400 - i;
        coil.axisRotate[i] = -500 - i;
        for (int r = 0; r < 4; ++r) {
            coil.auxRows[r][i] = -600 - 10 * r - i;
        }
    }
    coil.rotateRad = 1.5;
    coil.rotateDeg = 85.9;
    coil.coilAuxNo = -7;
    for (int g = 0; g < 12; ++g) {
        for (int k = 0; k < 2; ++k) {
            for (int j = 0; j < 3; ++j) {
                coil.pairTable[g][k][j] = -1000.0 - g;
            }
        }
    }
    coil.coilAuxNo2 = -8;
    coil.coilTurns = -9;
    coil.coilAuxValue = -10.5;
    coil.coilArea = -11.5;
    coil.magApha = 7.0;
    coil.unitScale = -12.5;
    coil.coilShape = -13;
    coil.coilAuxValue2 = -14.5;
    coil.coilAuxValue3 = -15.5;
    return coil;
}

void expectHeldFields(const CMagCoilqv& coil, const ElementValues& v, int version) {
    EXPECT_EQ(coil.coilName, CString(v.name));
    EXPECT_EQ(coil.coilTurns, v.coilTurns);
    EXPECT_BITS_EQ(v.coilArea, coil.coilArea);
    EXPECT_BITS_EQ(v.coilAuxValue, coil.coilAuxValue);
    EXPECT_BITS_EQ(v.unitScale, coil.unitScale);
    EXPECT_EQ(coil.coilAuxNo, v.coilAuxNo);
    EXPECT_EQ(coil.coilShape, v.coilShape);
    for (int i = 0; i < 4; ++i) {
        EXPECT_BITS_EQ(v.pos[i], coil.posP4[i]);
        EXPECT_BITS_EQ(v.ori[i], coil.oriP4[i]);
        EXPECT_BITS_EQ(v.nml[i], coil.nmlDirXYZW[i]);
        EXPECT_BITS_EQ(v.vct[i], coil.vctXYRD[i]);
        EXPECT_BITS_EQ(v.aux[0][i], coil.auxRows[0][i]);
    }
    for (int g = 0; g < 12; ++g) {
        for (int k = 0; k < 2; ++k) {
            for (int j = 0; j < 3; ++j) {
                EXPECT_BITS_EQ(v.pairs[g][k][j], coil.pairTable[g][k][j]);
            }
        }
    }
    if (version >= 20140513) {
        EXPECT_BITS_EQ(v.magApha, coil.magApha);
        EXPECT_EQ(coil.coilAuxNo2, v.coilAuxNo2);
        EXPECT_BITS_EQ(v.coilAuxValue2, coil.coilAuxValue2);
        EXPECT_BITS_EQ(v.coilAuxValue3, coil.coilAuxValue3);
        for (int r = 1; r < 4; ++r) {
            for (int i = 0; i < 4; ++i) {
                EXPECT_BITS_EQ(v.aux[r][i], coil.auxRows[r][i]);
            }
        }
    }
    if (version >= 20211230) {
        EXPECT_BITS_EQ(v.rotateRad, coil.rotateRad);
        EXPECT_BITS_EQ(v.rotateDeg, coil.rotateDeg);
        for (int i = 0; i < 4; ++i) {
            EXPECT_BITS_EQ(v.axis[i], coil.axisRotate[i]);
        }
    }
}

void expectSameFields(const CBscMagSns& a, const CBscMagSns& b) {
    EXPECT_EQ(a.coilName, b.coilName);
    EXPECT_EQ(0, std::memcmp(a.vctXYRD, b.vctXYRD, sizeof a.vctXYRD));
    EXPECT_EQ(0, std::memcmp(a.posP4, b.posP4, sizeof a.posP4));
    EXPECT_EQ(0, std::memcmp(a.oriP4, b.oriP4, sizeof a.oriP4));
    EXPECT_EQ(0, std::memcmp(a.nmlDirXYZW, b.nmlDirXYZW, sizeof a.nmlDirXYZW));
    EXPECT_EQ(0, std::memcmp(a.axisRotate, b.axisRotate, sizeof a.axisRotate));
    EXPECT_BITS_EQ(a.rotateRad, b.rotateRad);
    EXPECT_BITS_EQ(a.rotateDeg, b.rotateDeg);
    EXPECT_EQ(0, std::memcmp(a.auxRows, b.auxRows, sizeof a.auxRows));
    EXPECT_EQ(a.coilAuxNo, b.coilAuxNo);
    EXPECT_EQ(0, std::memcmp(a.pairTable, b.pairTable, sizeof a.pairTable));
    EXPECT_EQ(a.coilAuxNo2, b.coilAuxNo2);
    EXPECT_EQ(a.coilTurns, b.coilTurns);
    EXPECT_BITS_EQ(a.coilAuxValue, b.coilAuxValue);
    EXPECT_BITS_EQ(a.coilArea, b.coilArea);
    EXPECT_BITS_EQ(a.magApha, b.magApha);
    EXPECT_BITS_EQ(a.unitScale, b.unitScale);
    EXPECT_EQ(a.coilShape, b.coilShape);
    EXPECT_BITS_EQ(a.coilAuxValue2, b.coilAuxValue2);
    EXPECT_BITS_EQ(a.coilAuxValue3, b.coilAuxValue3);
}

// ---- model -----------------------------------------------------------------

TEST(MagCoil, NewCoilIsNamedCoilWithZeroTurnsUnitScaleOneAndClearFirstPairs) {
    CMagCoilqv coil;
    EXPECT_EQ(coil.coilName, "Coil");
    EXPECT_EQ(coil.coilTurns, 0);
    EXPECT_EQ(coil.getCoilTurns(), 0);
    EXPECT_EQ(coil.getCoilArea(), 0.0);
    EXPECT_EQ(coil.unitScale, 1.0);
    for (int g = 0; g < 4; ++g) {
        for (int k = 0; k < 2; ++k) {
            for (int j = 0; j < 3; ++j) {
                EXPECT_EQ(coil.pairTable[g][k][j], 0.0);
            }
        }
    }
}

TEST(MagCoil, ResetClearsFirstFourPairsAndKeepsTheRest) {
    CMagCoilqv coil;
    ElementValues values;
    ASSERT_EQ(loadCoil(coil, coilRecord(20211230, values).bytes()), 1);
    EXPECT_EQ(coil.reset(), 1);
    for (int g = 0; g < 12; ++g) {
        for (int k = 0; k < 2; ++k) {
            for (int j = 0; j < 3; ++j) {
                EXPECT_EQ(coil.pairTable[g][k][j], g < 4 ? 0.0 : values.pairs[g][k][j]);
            }
        }
    }
}

TEST(MagCoil, ResetClearsRowZeroOfAuxRowsAndKeepsRowsOneToThreeAndLateValues) {
    CMagCoilqv coil;
    ElementValues values;
    ASSERT_EQ(loadCoil(coil, coilRecord(20211230, values).bytes()), 1);
    coil.reset();
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(coil.auxRows[0][i], 0.0);
        for (int r = 1; r < 4; ++r) {
            EXPECT_EQ(coil.auxRows[r][i], values.aux[r][i]);
        }
    }
    EXPECT_EQ(coil.coilAuxValue2, values.coilAuxValue2);
    EXPECT_EQ(coil.coilAuxValue3, values.coilAuxValue3);
}

TEST(MagCoil, ResetRestoresDefaultsOfEveryClearedField) {
    CMagCoilqv coil = markedCoil();
    coil.reset();
    EXPECT_EQ(coil.coilName, "Coil");
    for (int i = 0; i < 4; ++i) {
        EXPECT_EQ(coil.vctXYRD[i], 0.0);
        EXPECT_EQ(coil.posP4[i], 0.0);
        EXPECT_EQ(coil.oriP4[i], 0.0);
        EXPECT_EQ(coil.nmlDirXYZW[i], 0.0);
        EXPECT_EQ(coil.axisRotate[i], 0.0);
    }
    EXPECT_EQ(coil.rotateRad, 0.0);
    EXPECT_EQ(coil.rotateDeg, 0.0);
    EXPECT_EQ(coil.coilAuxNo, 0);
    EXPECT_EQ(coil.coilAuxNo2, 0);
    EXPECT_EQ(coil.coilTurns, 0);
    EXPECT_EQ(coil.coilShape, 0);
    EXPECT_EQ(coil.coilAuxValue, 0.0);
    EXPECT_EQ(coil.coilArea, 0.0);
    EXPECT_EQ(coil.magApha, 0.0);
    EXPECT_EQ(coil.unitScale, 1.0);
    EXPECT_EQ(coil.coilAuxValue2, -14.5);
    EXPECT_EQ(coil.coilAuxValue3, -15.5);
    EXPECT_EQ(coil.pairTable[4][0][0], -1004.0);
}

TEST(MagCoil, ConversionsScalePositionAndAreaByOneFactorAndOverwriteUnitScale) {
    CMagCoilqv coil;
    coil.posP4[0] = 1;
    coil.posP4[1] = 2;
    coil.posP4[2] = 3;
    coil.posP4[3] = 4;
    coil.coilArea = 5;
    coil.oriP4[0] = 0.5;
    coil.magApha = 3.0;
    EXPECT_EQ(coil.convertCTFm2qvCm(), 1);
    EXPECT_EQ(coil.posP4[0], 10.0);
    EXPECT_EQ(coil.posP4[1], 20.0);
    EXPECT_EQ(coil.posP4[2], 30.0);
    EXPECT_EQ(coil.posP4[3], 4.0);
    EXPECT_EQ(coil.coilArea, 50.0);
    EXPECT_EQ(coil.unitScale, 10.0);
    EXPECT_EQ(coil.convertNeuromagM2mm(), 1);
    EXPECT_EQ(coil.posP4[0], 10000.0);
    EXPECT_EQ(coil.posP4[1], 20000.0);
    EXPECT_EQ(coil.posP4[2], 30000.0);
    EXPECT_EQ(coil.posP4[3], 4.0);
    EXPECT_EQ(coil.coilArea, 50000.0);
    EXPECT_EQ(coil.unitScale, 1000.0);
    EXPECT_EQ(coil.oriP4[0], 0.5);
    EXPECT_EQ(coil.magApha, 3.0);
}

TEST(MagCoil, AssignmentCopiesEveryFieldIncludingThoseResetLeavesAlone) {
    const CMagCoilqv source = markedCoil();
    CMagCoilqv target;
    target = source;
    expectSameFields(source, target);
    const CMagCoilqv constructed(source);
    expectSameFields(source, constructed);
}

// ---- file ------------------------------------------------------------------

TEST(MagCoilFile, CoilNamedCoilStoresA982ByteRecordOfNewestVersion) {
    CMagCoilqv coil;
    const auto bytes = storeToBytes([&](CArchive& ar) { EXPECT_EQ(coil.serializeqv(ar), 1); });
    ASSERT_EQ(bytes.size(), 982u);
    const std::vector<BYTE> frame = {0xFF, 0xFE, 0xFF, 0x09, 'M',  0,    'E',  0,   'G',
                                     0,    'C',  0,    'O',  0,    'I',  0,    'L', 0,
                                     'Q',  0,    'V',  0,    0x1E, 0x66, 0x34, 0x01};
    EXPECT_TRUE(std::equal(frame.begin(), frame.end(), bytes.begin()));
}

TEST(MagCoilFile, EmptyNameTakesFourBytes) {
    CMagCoilqv coil;
    coil.coilName = CString();
    const auto bytes = storeToBytes([&](CArchive& ar) { coil.serializeqv(ar); });
    EXPECT_EQ(bytes.size(), 970u + 4u);
}

TEST(MagCoilFile, RecordSizesFollowTheLayoutOfEachVersion) {
    ElementValues values;  // "Coil": L = 12
    EXPECT_EQ(coilRecord(20080102, values).size(), 798u + 12u);
    EXPECT_EQ(coilRecord(20091117, values).size(), 798u + 12u);
    EXPECT_EQ(coilRecord(20140513, values).size(), 922u + 12u);
    EXPECT_EQ(coilRecord(20211230, values).size(), 970u + 12u);
}

TEST(MagCoilFile, StoreWritesNewestVersionByteForByte) {
    ElementValues values;
    values.name = u"Coil-7";
    CMagCoilqv coil;
    ASSERT_EQ(loadCoil(coil, coilRecord(20211230, values).bytes()), 1);
    const auto stored = storeToBytes([&](CArchive& ar) { coil.serializeqv(ar); });
    EXPECT_BYTES_EQ(coilRecord(20211230, values).bytes(), stored);
}

TEST(MagCoilFile, StoreFlushesBehindTheBody) {
    CMagCoilqv coil;
    CMemFile file;
    CArchive ar(&file, CArchive::store);
    EXPECT_EQ(coil.serializeqv(ar), 1);
    // The archive is still open: the bytes reached the file through the flush.
    EXPECT_EQ(file.GetLength(), 982u);
}

class MagCoilFileVersions : public ::testing::TestWithParam<int> {};

TEST_P(MagCoilFileVersions, LoadPutsEveryHeldFieldInPlaceAndTakesTheWholeRecord) {
    const int version = GetParam();
    ElementValues values;
    values.name = u"C\u00e9\u4e2d";
    const auto record = coilRecord(version, values);
    CMagCoilqv coil;
    MessageBoxRecorder boxes;
    std::size_t taken = 0;
    EXPECT_EQ(loadCoil(coil, record.bytes(), &taken), 1);
    EXPECT_EQ(taken, record.size());
    EXPECT_TRUE(boxes.boxes().empty());
    expectHeldFields(coil, values, version);
}

TEST_P(MagCoilFileVersions, LoadKeepsFieldsTheVersionDoesNotHold) {
    const int version = GetParam();
    ElementValues values;
    CMagCoilqv coil = markedCoil();
    const CMagCoilqv before = coil;
    ASSERT_EQ(loadCoil(coil, coilRecord(version, values).bytes()), 1);
    if (version < 20140513) {
        EXPECT_EQ(coil.magApha, before.magApha);
        EXPECT_EQ(coil.coilAuxNo2, before.coilAuxNo2);
        EXPECT_EQ(coil.coilAuxValue2, before.coilAuxValue2);
        EXPECT_EQ(coil.coilAuxValue3, before.coilAuxValue3);
        for (int r = 1; r < 4; ++r) {
            for (int i = 0; i < 4; ++i) {
                EXPECT_EQ(coil.auxRows[r][i], before.auxRows[r][i]);
            }
        }
    }
    if (version < 20211230) {
        EXPECT_EQ(coil.rotateRad, before.rotateRad);
        EXPECT_EQ(coil.rotateDeg, before.rotateDeg);
        for (int i = 0; i < 4; ++i) {
            EXPECT_EQ(coil.axisRotate[i], before.axisRotate[i]);
        }
    }
    // Nothing is recomputed: the file's magApha and directions stand even
    // where they disagree with turns, area and orientation.
    if (version >= 20140513) {
        EXPECT_EQ(coil.magApha, values.magApha);
        EXPECT_NE(coil.magApha, values.coilTurns * values.coilArea);
    }
    EXPECT_EQ(coil.nmlDirXYZW[0], values.nml[0]);
}

TEST_P(MagCoilFileVersions, EveryShorterPrefixRaisesEndOfFile) {
    const auto record = coilRecord(GetParam(), ElementValues()).bytes();
    fluxgrid::test::expectEveryTruncationRaisesEndOfFile(record, [](CArchive& ar) {
        CMagCoilqv coil;
        coil.serializeqv(ar);
    });
}

TEST_P(MagCoilFileVersions, LoadedOldRecordStoresAsNewestWithPreviousValuesInNewFields) {
    const int version = GetParam();
    ElementValues values;
    CMagCoilqv coil = markedCoil();
    ASSERT_EQ(loadCoil(coil, coilRecord(version, values).bytes()), 1);
    const auto stored = storeToBytes([&](CArchive& ar) { coil.serializeqv(ar); });

    CMagCoilqv reloaded;
    ASSERT_EQ(loadCoil(reloaded, stored), 1);
    expectSameFields(coil, reloaded);
    std::int32_t storedVersion = 0;
    std::memcpy(&storedVersion, stored.data() + 22, 4);
    EXPECT_EQ(storedVersion, 20211230);
    if (version < 20211230) {
        EXPECT_EQ(reloaded.rotateRad, 1.5);
    }
}

INSTANTIATE_TEST_SUITE_P(AllVersions, MagCoilFileVersions, ::testing::ValuesIn(kVersions));

TEST(MagCoilFile, Versions20091117And20080102LoadAlike) {
    ElementValues values;
    const auto older = coilRecord(20080102, values).bytes();
    const auto newer = coilRecord(20091117, values).bytes();
    CMagCoilqv a = markedCoil();
    CMagCoilqv b = markedCoil();
    ASSERT_EQ(loadCoil(a, older), 1);
    ASSERT_EQ(loadCoil(b, newer), 1);
    expectSameFields(a, b);
}

TEST(MagCoilFile, Version20140513KeepsRotateRad) {
    CMagCoilqv coil;
    coil.rotateRad = 1.5;
    ASSERT_EQ(loadCoil(coil, coilRecord(20140513, ElementValues()).bytes()), 1);
    EXPECT_EQ(coil.rotateRad, 1.5);
}

TEST(MagCoilFile, OldVersionsKeepMagAphaWhateverTurnsAndArea) {
    for (int version : {20080102, 20091117}) {
        CMagCoilqv coil;
        coil.magApha = 7;
        ASSERT_EQ(loadCoil(coil, coilRecord(version, ElementValues()).bytes()), 1);
        EXPECT_EQ(coil.magApha, 7.0) << version;
        EXPECT_EQ(coil.coilTurns, 11) << version;
    }
}

TEST(MagCoilFile, OldestVersionMovesPlacementInOnlyAfterAllGroups) {
    ElementValues values;
    const auto record = coilRecord(20080102, values).bytes();
    // Cut inside the fourth group: the first three groups have arrived.
    const std::size_t cut = 62 + 12 + 3 * 40 + 8;
    for (int version : {20080102, 20091117}) {
        auto bytes = coilRecord(version, values).bytes();
        bytes.resize(cut);
        CMagCoilqv coil = markedCoil();
        EXPECT_THROW(loadCoil(coil, bytes), CArchiveException);
        EXPECT_EQ(coil.nmlDirXYZW[2], values.nml[2]) << version;
        if (version == 20080102) {
            EXPECT_EQ(coil.posP4[0], -200.0);
            EXPECT_EQ(coil.oriP4[2], -302.0);
        } else {
            EXPECT_EQ(coil.posP4[0], values.pos[0]);
            EXPECT_EQ(coil.oriP4[2], values.ori[2]);
        }
    }
    EXPECT_EQ(record.size(), 810u);
}

TEST(MagCoilFile, CutInsidePairBlockLeavesHeadNameAndGroupsLoaded) {
    ElementValues values;
    auto bytes = coilRecord(20211230, values).bytes();
    bytes.resize(394 + 12 + 100);
    CMagCoilqv coil = markedCoil();
    try {
        loadCoil(coil, bytes);
        FAIL() << "expected end of file";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
    }
    EXPECT_EQ(coil.coilTurns, values.coilTurns);
    EXPECT_EQ(coil.coilName, "Coil");
    EXPECT_EQ(coil.auxRows[3][3], values.aux[3][3]);
    EXPECT_EQ(coil.pairTable[0][1][0], values.pairs[0][1][0]);
    EXPECT_EQ(coil.pairTable[11][0][2], -1011.0);
}

TEST(MagCoilFile, NarrowNameIsAcceptedAndStoredWideNextTime) {
    ElementValues values;
    values.name = u"Coil";
    auto wideRecord = coilRecord(20211230, values).bytes();
    // Replace the wide name (offset 70, 12 bytes) by the narrow form 04 'C' 'o' 'i' 'l'.
    std::vector<BYTE> narrowRecord(wideRecord.begin(), wideRecord.begin() + 70);
    for (BYTE b : {BYTE{4}, BYTE{'C'}, BYTE{'o'}, BYTE{'i'}, BYTE{'l'}}) {
        narrowRecord.push_back(b);
    }
    narrowRecord.insert(narrowRecord.end(), wideRecord.begin() + 82, wideRecord.end());
    CMagCoilqv coil;
    ASSERT_EQ(loadCoil(coil, narrowRecord), 1);
    EXPECT_EQ(coil.coilName, "Coil");
    const auto stored = storeToBytes([&](CArchive& ar) { coil.serializeqv(ar); });
    EXPECT_BYTES_EQ(wideRecord, stored);
}

TEST(MagCoilFile, NotANumberAndInfinityTravelBitForBit) {
    CMagCoilqv coil;
    const double payloadNaN = std::bit_cast<double>(std::uint64_t{0x7FF4000000ABCDEFull});
    coil.coilArea = payloadNaN;
    coil.posP4[1] = -std::numeric_limits<double>::infinity();
    coil.pairTable[5][1][2] = -0.0;
    const auto stored = storeToBytes([&](CArchive& ar) { coil.serializeqv(ar); });
    CMagCoilqv back;
    ASSERT_EQ(loadCoil(back, stored), 1);
    EXPECT_BITS_EQ(payloadNaN, back.coilArea);
    EXPECT_BITS_EQ(-std::numeric_limits<double>::infinity(), back.posP4[1]);
    EXPECT_BITS_EQ(-0.0, back.pairTable[5][1][2]);
}

TEST(MagCoilFile, WrongMagicShowsMessageReturnsZeroAndLeavesCoil) {
    ByteBuilder b;
    b.wide(u"MEGCOILQv").i32(20211230);
    CMagCoilqv coil = markedCoil();
    const CMagCoilqv before = coil;
    MessageBoxRecorder boxes;
    std::size_t taken = 0;
    EXPECT_EQ(loadCoil(coil, b.bytes(), &taken), 0);
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text, "The opened file is not MEG file or corrupted!");
    EXPECT_EQ(boxes.boxes()[0].type, MB_OK);
    EXPECT_EQ(taken, 22u);
    expectSameFields(before, coil);
}

TEST(MagCoilFile, UnknownVersionShowsMessageReturnsOneAndLeavesCoil) {
    ByteBuilder b;
    b.wide(u"MEGCOILQV").i32(20211231).i32(5);
    CMagCoilqv coil = markedCoil();
    const CMagCoilqv before = coil;
    MessageBoxRecorder boxes;
    std::size_t taken = 0;
    EXPECT_EQ(loadCoil(coil, b.bytes(), &taken), 1);
    EXPECT_EQ(boxes.texts(), std::vector<std::string>{"Wrong file format!!?"});
    EXPECT_EQ(taken, 26u);
    expectSameFields(before, coil);
}

TEST(MagCoilFile, MagicAndVersionAloneRaiseEndOfFileOnFirstBodyField) {
    ByteBuilder b;
    b.wide(u"MEGCOILQV").i32(20211230);
    CMagCoilqv coil;
    MessageBoxRecorder boxes;
    try {
        loadCoil(coil, b.bytes());
        FAIL() << "expected end of file";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
    }
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST(MagCoilFile, RecordsFollowEachOtherInOneStreamAndAcrossSmallReads) {
    ElementValues first;
    ElementValues second;
    second.name = u"Second";
    second.coilTurns = 99;
    ByteBuilder stream;
    stream.raw(coilRecord(20140513, first).bytes()).raw(coilRecord(20211230, second).bytes());
    fluxgrid::test::TrickleFile file(stream.bytes(), 3);
    CArchive ar(&file, CArchive::load);
    CMagCoilqv a;
    CMagCoilqv b;
    EXPECT_EQ(a.serializeqv(ar), 1);
    EXPECT_EQ(b.serializeqv(ar), 1);
    expectHeldFields(a, first, 20140513);
    expectHeldFields(b, second, 20211230);
}

TEST(MagCoilFile, LoadOnStoringArchiveRaisesWriteOnly) {
    CMemFile file;
    CArchive ar(&file, CArchive::store);
    CMagCoilqv coil;
    // The entry stores when the archive stores; a body's load branch cannot
    // be reached through it. A direct load on the stream shows the guard.
    int value = 0;
    try {
        ar >> value;
        FAIL() << "expected writeOnly";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(e.m_cause, CArchiveException::writeOnly);
    }
    EXPECT_EQ(coil.serializeqv(ar), 1);
}

}  // namespace
