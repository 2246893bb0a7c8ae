// What the SQUID record "MSQUIDQV" and the OPM record "MEGOPMQV" do alike,
// run over both kinds: the file entry against the hand-built records, the
// truncation sweeps, the words of a refused record, the reset of the
// gradiometer block and the gain chain. What only one kind does is tested
// in MegSquid_test.cpp and MegOpm_test.cpp.
#include <fluxgrid/sensor/MegOpm.h>
#include <fluxgrid/sensor/MegSquid.h>

#include "support/ByteBuilder.h"
#include "support/HardwareRecords.h"
#include "support/Harness.h"
#include "support/Truncation.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

// The two kinds, at namespace scope so that the names of the typed tests
// read "<SquidRecordKind>" and "<OpmRecordKind>".
//
// The SQUID record: files gradAuxNo and squidAuxNo, nests 24 coils.
struct SquidRecordKind {
    using Record = CMegSquidqv;
    static constexpr const char16_t* kOtherMagic = u"MEGOPMQV";
    static constexpr bool kCarriesGradAuxNo = true;
    // The bytes before the first nested record.
    static constexpr std::size_t kHeadSize = 202;
    // How the loads through small pieces are made.
    static constexpr UINT kLoadPiece = 7;
    static constexpr int kLoadBuffer = 64;
    static constexpr UINT kCutPiece = 5;
    static constexpr std::size_t kCutStride = 97;

    static void fill(Record& r, int seed) { fluxgrid::test::fillSquid(r, seed); }
    static std::vector<BYTE> golden(const Record& r) {
        return fluxgrid::test::squidRecord20190201(r);
    }
    static void expectFiledFieldsEq(const Record& e, const Record& a) {
        fluxgrid::test::expectSquidFiledFieldsEq(e, a);
    }
    static int& total(Record& r) { return r.totalCoils; }
    static int& current(Record& r) { return r.currentCoilID; }
    static CBscMagSns& firstDewarElement(Record& r) { return r.coilDewar[0]; }
};

// The OPM record: neither resets, files nor copies gradAuxNo, nests 24
// vapor cells.
struct OpmRecordKind {
    using Record = CMegOpmqv;
    static constexpr const char16_t* kOtherMagic = u"MSQUIDQV";
    static constexpr bool kCarriesGradAuxNo = false;
    static constexpr std::size_t kHeadSize = 194;
    static constexpr UINT kLoadPiece = 3;
    static constexpr int kLoadBuffer = 32;
    static constexpr UINT kCutPiece = 3;
    static constexpr std::size_t kCutStride = 89;

    static void fill(Record& r, int seed) { fluxgrid::test::fillOpm(r, seed); }
    static std::vector<BYTE> golden(const Record& r) {
        return fluxgrid::test::opmRecord20190201(r);
    }
    static void expectFiledFieldsEq(const Record& e, const Record& a) {
        fluxgrid::test::expectOpmFiledFieldsEq(e, a);
    }
    static int& total(Record& r) { return r.totalVapors; }
    static int& current(Record& r) { return r.currentVaporID; }
    static CBscMagSns& firstDewarElement(Record& r) { return r.vaporDewar[0]; }
};

namespace {

using fluxgrid::test::ByteBuilder;
using fluxgrid::test::loadFromBytes;
using fluxgrid::test::MessageBoxRecorder;
using fluxgrid::test::storeToBytes;
using fluxgrid::test::TrickleFile;

constexpr const char* kNotMegFile = "The opened file is not MEG file or corrupted!";
// Both kinds show the SQUID record's words for a wrong version.
constexpr const char* kWrongSquidFormat = "Wrong MSQUID file format!!?";

template <class Kind>
class HardwareRecord : public ::testing::Test {
  protected:
    using Record = typename Kind::Record;

    static std::vector<BYTE> storeRecord(Record& record) {
        return storeToBytes([&](CArchive& ar) { EXPECT_EQ(record.serialize(ar), 1); });
    }
};

using Kinds = ::testing::Types<SquidRecordKind, OpmRecordKind>;
TYPED_TEST_SUITE(HardwareRecord, Kinds);

TYPED_TEST(HardwareRecord, ResetSensorsGivesTheBlockDefaultsAndKeepsTheName) {
    using Kind = TypeParam;
    typename Kind::Record record;
    Kind::fill(record, 1);
    record.gradAuxNo = 515;
    record.hardwareName = CString("Helmet");

    EXPECT_EQ(record.resetSensors(), 1);

    EXPECT_EQ(record.hardwareName, "Helmet");
    EXPECT_EQ(record.gradAuxNo, Kind::kCarriesGradAuxNo ? 0 : 515);
    EXPECT_EQ(Kind::total(record), 0);
    EXPECT_EQ(Kind::current(record), 0);
    fluxgrid::test::expectBlockDefaults(record);
}

TYPED_TEST(HardwareRecord, InitSensorInfoStoresTheGainChainAndTouchesNoCountAndNoElement) {
    using Kind = TypeParam;
    typename Kind::Record record;
    Kind::fill(record, 2);
    const typename Kind::Record before(record);

    EXPECT_EQ(record.initSensorInfo(17, 2, 0.1, 0.2, 0.3, 4.5), 1);

    EXPECT_EQ(record.hardwareNo, 17);
    EXPECT_EQ(record.gradOrderNo, 2);
    EXPECT_BITS_EQ(0.1, record.properGain);
    EXPECT_BITS_EQ(0.2, record.secondGain);
    EXPECT_BITS_EQ(0.3, record.thirdGain);
    EXPECT_BITS_EQ(4.5, record.gainOffset);
    EXPECT_BITS_EQ((0.1 * 0.2) * 0.3, record.totalGain);
    EXPECT_EQ(record.gradAuxNo, before.gradAuxNo);
    // Everything else, the counts and all 24 elements among it, as it was.
    typename Kind::Record expected(before);
    expected.hardwareNo = 17;
    expected.gradOrderNo = 2;
    expected.properGain = 0.1;
    expected.secondGain = 0.2;
    expected.thirdGain = 0.3;
    expected.gainOffset = 4.5;
    expected.totalGain = (0.1 * 0.2) * 0.3;
    Kind::expectFiledFieldsEq(expected, record);
}

TYPED_TEST(HardwareRecord, StoreGivesTheHandBuiltRecordByteForByte) {
    using Kind = TypeParam;
    typename Kind::Record record;
    Kind::fill(record, 3);

    const auto bytes = TestFixture::storeRecord(record);

    EXPECT_BYTES_EQ(Kind::golden(record), bytes);
}

TYPED_TEST(HardwareRecord, LoadOfTheHandBuiltRecordGivesEveryFiledField) {
    using Kind = TypeParam;
    typename Kind::Record expected;
    Kind::fill(expected, 5);
    const auto bytes = Kind::golden(expected);

    typename Kind::Record record;
    record.gradAuxNo = 9090;
    MessageBoxRecorder boxes;
    const std::size_t taken =
        loadFromBytes(bytes, [&](CArchive& ar) { EXPECT_EQ(record.serialize(ar), 1); });

    EXPECT_EQ(taken, bytes.size());
    EXPECT_TRUE(boxes.boxes().empty());
    Kind::expectFiledFieldsEq(expected, record);
    // Only the kind that files gradAuxNo takes it from the file.
    EXPECT_EQ(record.gradAuxNo, Kind::kCarriesGradAuxNo ? expected.gradAuxNo : 9090);
    // A load replaces all 24 names, the dewar names included.
    EXPECT_EQ(Kind::firstDewarElement(record).coilName, "Dw0");
}

TYPED_TEST(HardwareRecord, LoadThroughAFileThatDeliversSmallPiecesGivesEveryField) {
    using Kind = TypeParam;
    typename Kind::Record expected;
    Kind::fill(expected, 6);
    TrickleFile file(Kind::golden(expected), Kind::kLoadPiece);

    typename Kind::Record record;
    {
        CArchive ar(&file, CArchive::load, Kind::kLoadBuffer);
        EXPECT_EQ(record.serialize(ar), 1);
    }

    EXPECT_EQ(file.GetPosition(), file.GetLength());
    Kind::expectFiledFieldsEq(expected, record);
}

TYPED_TEST(HardwareRecord, AnotherVersionShowsTheMsquidWordsAndLeavesTheRecord) {
    using Kind = TypeParam;
    for (int version : {20190202, 20190131, 20211230, 0}) {
        SCOPED_TRACE("version " + std::to_string(version));
        typename Kind::Record written;
        Kind::fill(written, 14);
        std::vector<BYTE> bytes = Kind::golden(written);
        bytes[20] = static_cast<BYTE>(version);
        bytes[21] = static_cast<BYTE>(version >> 8);
        bytes[22] = static_cast<BYTE>(version >> 16);
        bytes[23] = static_cast<BYTE>(version >> 24);

        typename Kind::Record record;
        Kind::fill(record, 15);
        const typename Kind::Record before(record);
        MessageBoxRecorder boxes;
        int result = -1;
        const std::size_t taken =
            loadFromBytes(bytes, [&](CArchive& ar) { result = record.serialize(ar); });

        EXPECT_EQ(result, 0);
        EXPECT_EQ(taken, 24u);  // just behind the version word
        ASSERT_EQ(boxes.boxes().size(), 1u);
        EXPECT_EQ(boxes.boxes()[0].text, kWrongSquidFormat);
        EXPECT_EQ(boxes.boxes()[0].type, MB_OK);
        EXPECT_EQ(boxes.boxes()[0].helpId, 0u);
        Kind::expectFiledFieldsEq(before, record);
        EXPECT_EQ(record.hardwareName, before.hardwareName);
    }
}

TYPED_TEST(HardwareRecord, TheOtherKindsMagicIsRefusedAsNotAMegFile) {
    using Kind = TypeParam;
    ByteBuilder bytes;
    bytes.wide(Kind::kOtherMagic).i32(20190201).i32(1);

    typename Kind::Record record;
    Kind::fill(record, 16);
    const typename Kind::Record before(record);
    MessageBoxRecorder boxes;
    int result = -1;
    const std::size_t taken =
        loadFromBytes(bytes.bytes(), [&](CArchive& ar) { result = record.serialize(ar); });

    EXPECT_EQ(result, 0);
    EXPECT_EQ(taken, 20u);  // just behind the string
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text, kNotMegFile);
    EXPECT_EQ(boxes.boxes()[0].type, MB_OK);
    EXPECT_EQ(boxes.boxes()[0].helpId, 0u);
    Kind::expectFiledFieldsEq(before, record);
}

TYPED_TEST(HardwareRecord, EveryShorterPrefixRaisesEndOfFile) {
    using Kind = TypeParam;
    typename Kind::Record written;
    Kind::fill(written, 21);
    const auto bytes = Kind::golden(written);
    MessageBoxRecorder boxes;

    fluxgrid::test::expectEveryTruncationRaisesEndOfFile(bytes, [](CArchive& ar) {
        typename Kind::Record record;
        record.serialize(ar);
    });

    EXPECT_TRUE(boxes.boxes().empty());
}

TYPED_TEST(HardwareRecord, PrefixesDeliveredInSmallPiecesRaiseEndOfFile) {
    using Kind = TypeParam;
    typename Kind::Record written;
    Kind::fill(written, 22);
    const auto bytes = Kind::golden(written);
    MessageBoxRecorder boxes;

    // Every prefix up to the first element's pair block, then a stride
    // through the rest: reads cross the buffer's edge at every field of the
    // block.
    fluxgrid::test::expectEveryTruncationRaisesEndOfFile(
        bytes,
        [](CArchive& ar) {
            typename Kind::Record record;
            record.serialize(ar);
        },
        {.lengths = fluxgrid::test::denseThenStridedPrefixes(bytes.size(), Kind::kHeadSize + 400,
                                                             Kind::kCutStride),
         .piece = Kind::kCutPiece,
         .bufferSize = 16});

    EXPECT_TRUE(boxes.boxes().empty());
}

}  // namespace
