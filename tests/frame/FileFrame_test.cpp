// How every file kind opens: the wide magic, the version, and the message box
// for a file of the wrong kind.
#include <fluxgrid/frame/FileFrame.h>

#include "support/ByteBuilder.h"
#include "support/Harness.h"

#include <string>
#include <vector>

namespace {

using fluxgrid::test::ByteBuilder;
using fluxgrid::test::loadFromBytes;
using fluxgrid::test::MessageBoxRecorder;
using fluxgrid::test::storeToBytes;
using fluxgrid::test::TrickleFile;

namespace frame = fluxgrid::frame;

constexpr int kCoilVersion = 20211230;

// "MEGCOILQV" with version 20211230, byte by byte.
ByteBuilder coilHeader() {
    ByteBuilder b;
    b.u8(0xFF).u8(0xFE).u8(0xFF).u8(0x09);
    for (char c : std::string("MEGCOILQV")) {
        b.u8(static_cast<BYTE>(c)).u8(0x00);
    }
    b.u8(0x1E).u8(0x66).u8(0x34).u8(0x01);
    return b;
}

ByteBuilder narrowString(const std::string& text) {
    ByteBuilder b;
    b.u8(static_cast<BYTE>(text.size()));
    for (char c : text) {
        b.u8(static_cast<BYTE>(c));
    }
    return b;
}

struct MagicResult {
    bool matched = false;
    std::size_t taken = 0;
};

MagicResult loadCoilMagic(const std::vector<BYTE>& bytes) {
    MagicResult result;
    result.taken = loadFromBytes(bytes, [&](CArchive& ar) {
        result.matched = frame::loadMagic(ar, u"MEGCOILQV", frame::kNotMegFile);
    });
    return result;
}

TEST(FileFrame, SharedMessageTextsStandAsGiven) {
    EXPECT_STREQ(frame::kNotMegFile, "The opened file is not MEG file or corrupted!");
    EXPECT_STREQ(frame::kWrongFileFormat, "Wrong file format!!?");
}

TEST(FileFrame, VersionDateIsTheExpectedWord) {
    EXPECT_EQ(kCoilVersion, 0x0134661E);
}

TEST(FileFrame, StoreHeaderOfCoilGivesTagLengthTextAndVersion) {
    const std::vector<BYTE> stored =
        storeToBytes([](CArchive& ar) { frame::storeHeader(ar, u"MEGCOILQV", kCoilVersion); });
    const ByteBuilder expected = coilHeader();
    ASSERT_EQ(expected.size(), 4u + 18u + 4u);
    EXPECT_BYTES_EQ(expected.bytes(), stored);
}

TEST(FileFrame, StoreHeaderLengthIsTheBodyOffsetOfEachFileKind) {
    struct Kind {
        const char16_t* magic;
        int version;
        std::size_t bodyOffset;
    };
    const Kind kinds[] = {
        {u"MEGCOILQV", 20211230, 26},   {u"AMOPMQV", 20211230, 22},
        {u"MSQUIDQV", 20190201, 24},    {u"MEGOPMQV", 20190201, 24},
        {u"MEGSENSORQV", 20200210, 30}, {u"HEADLOCATIONTRIAL", 20160320, 42},
    };
    for (const Kind& kind : kinds) {
        const std::vector<BYTE> stored =
            storeToBytes([&](CArchive& ar) { frame::storeHeader(ar, kind.magic, kind.version); });
        EXPECT_EQ(stored.size(), kind.bodyOffset) << CString(kind.magic);

        const std::u16string magic(kind.magic);
        ByteBuilder expected;
        expected.u8(0xFF).u8(0xFE).u8(0xFF).u8(static_cast<BYTE>(magic.size()));
        for (char16_t unit : magic) {
            expected.u8(static_cast<BYTE>(unit)).u8(0x00);
        }
        expected.i32(kind.version);
        EXPECT_BYTES_EQ(expected.bytes(), stored) << CString(kind.magic);
    }
}

TEST(FileFrame, LoadMagicAcceptsTheRightMagicWithoutBox) {
    MessageBoxRecorder boxes;
    const MagicResult result = loadCoilMagic(coilHeader().bytes());
    EXPECT_TRUE(result.matched);
    EXPECT_EQ(result.taken, 22u);
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST(FileFrame, LoadMagicThenVersionReadsTheWholeHeader) {
    MessageBoxRecorder boxes;
    bool matched = false;
    int version = 0;
    const std::size_t taken = loadFromBytes(coilHeader().bytes(), [&](CArchive& ar) {
        matched = frame::loadMagic(ar, u"MEGCOILQV", frame::kNotMegFile);
        version = frame::loadVersion(ar);
    });
    EXPECT_TRUE(matched);
    EXPECT_EQ(version, kCoilVersion);
    EXPECT_EQ(taken, 26u);
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST(FileFrame, LoadMagicRefusesMagicDifferingOnlyInLetterCase) {
    ByteBuilder bytes;
    bytes.wide(u"MEGCOILqv").i32(kCoilVersion);
    MessageBoxRecorder boxes;
    const MagicResult result = loadCoilMagic(bytes.bytes());
    EXPECT_FALSE(result.matched);
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text, "The opened file is not MEG file or corrupted!");
    EXPECT_EQ(boxes.boxes()[0].type, MB_OK);
    EXPECT_EQ(boxes.boxes()[0].helpId, 0u);
    // Just behind the string: the version has not been taken.
    EXPECT_EQ(result.taken, 22u);
}

TEST(FileFrame, LoadMagicShowsTheGivenTextExactly) {
    ByteBuilder bytes;
    bytes.wide(u"megsensorqv");
    MessageBoxRecorder boxes;
    bool matched = true;
    loadFromBytes(bytes.bytes(), [&](CArchive& ar) {
        matched = frame::loadMagic(ar, u"MEGSENSORQV",
                                   "The opened file is not MEG sensor file or corrupted!");
    });
    EXPECT_FALSE(matched);
    EXPECT_EQ(boxes.texts(),
              std::vector<std::string>{"The opened file is not MEG sensor file or corrupted!"});
}

TEST(FileFrame, LoadMagicAfterRefusalLeavesVersionNext) {
    ByteBuilder bytes;
    bytes.wide(u"AMOPMQV").i32(20190121);
    MessageBoxRecorder boxes;
    bool matched = true;
    int next = 0;
    loadFromBytes(bytes.bytes(), [&](CArchive& ar) {
        matched = frame::loadMagic(ar, u"MEGCOILQV", frame::kNotMegFile);
        next = frame::loadVersion(ar);
    });
    EXPECT_FALSE(matched);
    EXPECT_EQ(next, 20190121);
    EXPECT_EQ(boxes.boxes().size(), 1u);
}

TEST(FileFrame, LoadMagicRefusesPrefixAndLongerMagic) {
    MessageBoxRecorder boxes;
    ByteBuilder shorter;
    shorter.wide(u"MEGCOILQ");
    EXPECT_FALSE(loadCoilMagic(shorter.bytes()).matched);
    ByteBuilder longer;
    longer.wide(u"MEGCOILQVX");
    EXPECT_FALSE(loadCoilMagic(longer.bytes()).matched);
    EXPECT_EQ(boxes.boxes().size(), 2u);
}

TEST(FileFrame, LoadMagicRefusesMagicWithTrailingZeroUnit) {
    ByteBuilder bytes;
    bytes.wide(std::u16string(u"MEGCOILQV") + u'\0');
    MessageBoxRecorder boxes;
    const MagicResult result = loadCoilMagic(bytes.bytes());
    EXPECT_FALSE(result.matched);
    EXPECT_EQ(result.taken, 24u);
    EXPECT_EQ(boxes.boxes().size(), 1u);
}

TEST(FileFrame, LoadMagicRefusesEmptyString) {
    const std::vector<BYTE> bytes = {0xFF, 0xFE, 0xFF, 0x00};
    MessageBoxRecorder boxes;
    const MagicResult result = loadCoilMagic(bytes);
    EXPECT_FALSE(result.matched);
    EXPECT_EQ(result.taken, 4u);
    EXPECT_EQ(boxes.boxes().size(), 1u);
}

TEST(FileFrame, NarrowStringWithTheSameLettersMatches) {
    ByteBuilder bytes = narrowString("MEGCOILQV");
    bytes.i32(kCoilVersion);
    MessageBoxRecorder boxes;
    bool matched = false;
    int version = 0;
    const std::size_t taken = loadFromBytes(bytes.bytes(), [&](CArchive& ar) {
        matched = frame::loadMagic(ar, u"MEGCOILQV", frame::kNotMegFile);
        version = frame::loadVersion(ar);
    });
    EXPECT_TRUE(matched);
    EXPECT_EQ(version, kCoilVersion);
    EXPECT_EQ(taken, 14u);
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST(FileFrame, FirstByteOtherThanFFIsReadAsNarrowStringOfThatLength) {
    // 0x05 announces five narrow bytes; they do not spell the magic.
    ByteBuilder bytes;
    bytes.u8(0x05).u8('H').u8('E').u8('L').u8('L').u8('O').u8(0x99).u8(0x98);
    MessageBoxRecorder boxes;
    const MagicResult result = loadCoilMagic(bytes.bytes());
    EXPECT_FALSE(result.matched);
    EXPECT_EQ(boxes.texts(), std::vector<std::string>{frame::kNotMegFile});
    EXPECT_EQ(result.taken, 6u);
}

TEST(FileFrame, FirstByteLongerThanFileRaisesEndOfFileWithoutBox) {
    // 0x40 announces 64 narrow bytes; only ten follow.
    ByteBuilder bytes;
    bytes.u8(0x40);
    for (int i = 0; i < 10; ++i) {
        bytes.u8('A');
    }
    MessageBoxRecorder boxes;
    try {
        loadCoilMagic(bytes.bytes());
        ADD_FAILURE() << "no exception";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
    }
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST(FileFrame, EmptyFileRaisesEndOfFileWithoutBox) {
    MessageBoxRecorder boxes;
    try {
        loadCoilMagic({});
        ADD_FAILURE() << "no exception";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
    }
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST(FileFrame, TruncatedMagicRaisesEndOfFileWithoutBox) {
    const std::vector<BYTE> whole = coilHeader().bytes();
    MessageBoxRecorder boxes;
    for (std::size_t size = 0; size < 22; ++size) {
        const std::vector<BYTE> prefix(whole.begin(),
                                       whole.begin() + static_cast<std::ptrdiff_t>(size));
        try {
            loadCoilMagic(prefix);
            ADD_FAILURE() << "no exception for a prefix of " << size << " bytes";
        } catch (const CArchiveException& e) {
            EXPECT_EQ(e.m_cause, CArchiveException::endOfFile) << size << " bytes";
        }
    }
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST(FileFrame, MagicWithoutVersionRaisesEndOfFileOnVersion) {
    const std::vector<BYTE> whole = coilHeader().bytes();
    for (std::size_t size = 22; size < 26; ++size) {
        const std::vector<BYTE> prefix(whole.begin(),
                                       whole.begin() + static_cast<std::ptrdiff_t>(size));
        MessageBoxRecorder boxes;
        bool matched = false;
        try {
            loadFromBytes(prefix, [&](CArchive& ar) {
                matched = frame::loadMagic(ar, u"MEGCOILQV", frame::kNotMegFile);
                frame::loadVersion(ar);
            });
            ADD_FAILURE() << "no exception for a prefix of " << size << " bytes";
        } catch (const CArchiveException& e) {
            EXPECT_EQ(e.m_cause, CArchiveException::endOfFile) << size << " bytes";
        }
        EXPECT_TRUE(matched);
        EXPECT_TRUE(boxes.boxes().empty());
    }
}

TEST(FileFrame, LoadVersionReadsAnyInt32) {
    ByteBuilder bytes;
    bytes.i32(20211231).i32(-1).i32(0);
    int a = 0, b = 0, c = 7;
    loadFromBytes(bytes.bytes(), [&](CArchive& ar) {
        a = frame::loadVersion(ar);
        b = frame::loadVersion(ar);
        c = frame::loadVersion(ar);
    });
    EXPECT_EQ(a, 20211231);
    EXPECT_EQ(b, -1);
    EXPECT_EQ(c, 0);
}

TEST(FileFrame, ReportBadVersionShowsTheTextOnceAsPlainBox) {
    MessageBoxRecorder boxes;
    frame::reportBadVersion(frame::kWrongFileFormat);
    ASSERT_EQ(boxes.boxes().size(), 1u);
    EXPECT_EQ(boxes.boxes()[0].text, "Wrong file format!!?");
    EXPECT_EQ(boxes.boxes()[0].type, MB_OK);
    EXPECT_EQ(boxes.boxes()[0].helpId, 0u);
}

TEST(FileFrame, ReportBadVersionKeepsOddSpelling) {
    MessageBoxRecorder boxes;
    frame::reportBadVersion("Wrong file format int CHeadLocalization09File!!?");
    EXPECT_EQ(boxes.texts(),
              std::vector<std::string>{"Wrong file format int CHeadLocalization09File!!?"});
}

TEST(FileFrame, HeaderLoadsOverFileDeliveringSingleBytes) {
    TrickleFile file(coilHeader().bytes(), 1);
    MessageBoxRecorder boxes;
    bool matched = false;
    int version = 0;
    {
        CArchive ar(&file, CArchive::load);
        matched = frame::loadMagic(ar, u"MEGCOILQV", frame::kNotMegFile);
        version = frame::loadVersion(ar);
    }
    EXPECT_TRUE(matched);
    EXPECT_EQ(version, kCoilVersion);
    EXPECT_EQ(file.GetPosition(), 26u);
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST(FileFrame, RefusedMagicOverTrickleFileLeavesPositionBehindString) {
    ByteBuilder bytes;
    bytes.wide(u"MEGCOILqv").i32(kCoilVersion).i32(1).i32(2);
    TrickleFile file(bytes.bytes(), 3);
    MessageBoxRecorder boxes;
    bool matched = true;
    {
        CArchive ar(&file, CArchive::load);
        matched = frame::loadMagic(ar, u"MEGCOILQV", frame::kNotMegFile);
    }
    EXPECT_FALSE(matched);
    EXPECT_EQ(file.GetPosition(), 22u);
    EXPECT_EQ(boxes.boxes().size(), 1u);
}

TEST(FileFrame, LongWideMagicIsComparedWhole) {
    // 70 code units: longer than any magic, compared as a whole string.
    const std::u16string longMagic(70, u'Q');
    std::u16string almost = longMagic;
    almost.back() = u'q';
    ByteBuilder bytes;
    bytes.wide(almost).wide(longMagic).i32(1);
    MessageBoxRecorder boxes;
    bool first = true;
    bool second = false;
    int version = 0;
    const std::size_t taken = loadFromBytes(bytes.bytes(), [&](CArchive& ar) {
        first = frame::loadMagic(ar, longMagic.c_str(), frame::kNotMegFile);
        second = frame::loadMagic(ar, longMagic.c_str(), frame::kNotMegFile);
        version = frame::loadVersion(ar);
    });
    EXPECT_FALSE(first);
    EXPECT_TRUE(second);
    EXPECT_EQ(version, 1);
    EXPECT_EQ(taken, bytes.size());
    EXPECT_EQ(boxes.boxes().size(), 1u);
}

TEST(FileFrame, ShortWrongMagicWithTruncatedPayloadRaisesEndOfFile) {
    // A wide string of ten units with four bytes of payload.
    const std::vector<BYTE> bytes = {0xFF, 0xFE, 0xFF, 0x0A, 0x41, 0x00, 0x42, 0x00};
    MessageBoxRecorder boxes;
    try {
        loadCoilMagic(bytes);
        ADD_FAILURE() << "no exception";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
    }
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST(FileFrame, WrongMagicOverTrickleFileShowsOneBox) {
    ByteBuilder bytes;
    bytes.wide(u"MEGCOILQW").i32(kCoilVersion);
    TrickleFile file(bytes.bytes(), 1);
    MessageBoxRecorder boxes;
    bool matched = true;
    {
        CArchive ar(&file, CArchive::load);
        matched = frame::loadMagic(ar, u"MEGCOILQV", frame::kNotMegFile);
    }
    EXPECT_FALSE(matched);
    EXPECT_EQ(boxes.texts(), std::vector<std::string>{frame::kNotMegFile});
    EXPECT_EQ(file.GetPosition(), 22u);
}

}  // namespace
