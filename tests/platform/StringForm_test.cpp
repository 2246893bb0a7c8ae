// The self-delimiting string form: the wide tag, the four length forms, the
// UTF-16 payload, narrow strings on load, and lengths that cannot be trusted.
#include <fluxgrid/platform/Archive.h>

#include "support/ByteBuilder.h"
#include "support/Harness.h"

#include <atomic>
#include <cstdlib>
#include <new>
#include <string>
#include <vector>

// ---------------------------------------------------------------------------
// Allocation probe. The global allocation functions of this test program are
// replaced by thin wrappers around malloc that, while armed, remember the
// largest single request. The library's own allocations (it is loaded into
// this program) pass through them too, so a test can tell whether a string
// load asked for the memory its length prefix announced.
namespace {
std::atomic<bool> g_probeArmed{false};
std::atomic<std::size_t> g_largestRequest{0};

void* probedAllocate(std::size_t size) {
    if (g_probeArmed.load(std::memory_order_relaxed)) {
        std::size_t seen = g_largestRequest.load(std::memory_order_relaxed);
        while (size > seen && !g_largestRequest.compare_exchange_weak(seen, size)) {
        }
    }
    return std::malloc(size == 0 ? 1 : size);
}
}  // namespace

void* operator new(std::size_t size) {
    if (void* p = probedAllocate(size)) {
        return p;
    }
    throw std::bad_alloc();
}
void* operator new[](std::size_t size) {
    return ::operator new(size);
}
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    return probedAllocate(size);
}
void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return probedAllocate(size);
}
void operator delete(void* p) noexcept {
    std::free(p);
}
void operator delete[](void* p) noexcept {
    std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
    std::free(p);
}
void operator delete(void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
    std::free(p);
}

namespace {

using fluxgrid::test::ByteBuilder;
using fluxgrid::test::loadFromBytes;
using fluxgrid::test::storeToBytes;
using fluxgrid::test::TrickleFile;

/// Arms the probe for its lifetime; `largest()` is the biggest request since.
class AllocationProbe {
  public:
    AllocationProbe() {
        g_largestRequest.store(0);
        g_probeArmed.store(true);
    }
    ~AllocationProbe() { g_probeArmed.store(false); }
    std::size_t largest() const { return g_largestRequest.load(); }
};

// A string of `length` code units whose units differ in both bytes, so that
// a payload written in the wrong byte order or shifted by one shows.
std::u16string patternUnits(std::size_t length) {
    std::u16string units(length, u'\0');
    for (std::size_t i = 0; i < length; ++i) {
        units[i] = static_cast<char16_t>(0x0141 + (i * 0x0103) % 0xD000);
    }
    return units;
}

ByteBuilder& payload(ByteBuilder& bytes, const std::u16string& units) {
    for (char16_t unit : units) {
        bytes.u16(unit);
    }
    return bytes;
}

std::vector<BYTE> storeString(const CString& text) {
    return storeToBytes([&](CArchive& ar) { ar << text; });
}

struct Loaded {
    CString text;
    std::size_t taken = 0;
};

Loaded loadString(const std::vector<BYTE>& bytes) {
    Loaded result;
    result.taken = loadFromBytes(bytes, [&](CArchive& ar) { ar >> result.text; });
    return result;
}

// Loads a string from `bytes` over a memory file and returns the cause of the
// archive exception that the load raised.
int causeOfFailedLoad(const std::vector<BYTE>& bytes) {
    try {
        loadString(bytes);
    } catch (const CArchiveException& e) {
        EXPECT_TRUE(e.m_strFileName.IsEmpty());
        return e.m_cause;
    }
    ADD_FAILURE() << "the load raised no archive exception";
    return CArchiveException::none;
}

// ---- Wide strings at the length boundaries, both directions ---------------

TEST(StringForm, EmptyStringIsFFFEFF00) {
    const std::vector<BYTE> expected = {0xFF, 0xFE, 0xFF, 0x00};
    EXPECT_BYTES_EQ(expected, storeString(CString()));
    const Loaded loaded = loadString(expected);
    EXPECT_TRUE(loaded.text.IsEmpty());
    EXPECT_EQ(loaded.taken, 4u);
}

TEST(StringForm, ShortWideStringHasOneByteLength) {
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0x03);
    bytes.u8(0x41).u8(0x00).u8(0xAC).u8(0x20).u8(0x3D).u8(0xD8);
    const CString text(std::u16string{u'A', 0x20AC, 0xD83D});
    EXPECT_BYTES_EQ(bytes.bytes(), storeString(text));
    EXPECT_EQ(loadString(bytes.bytes()).text, text);
}

TEST(StringForm, Length254HasOneByteLengthFE) {
    const std::u16string units = patternUnits(254);
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0xFE);
    payload(bytes, units);
    ASSERT_EQ(bytes.size(), 4u + 508u);
    EXPECT_BYTES_EQ(bytes.bytes(), storeString(CString(units)));
    const Loaded loaded = loadString(bytes.bytes());
    EXPECT_EQ(loaded.text.str(), units);
    EXPECT_EQ(loaded.taken, bytes.size());
}

TEST(StringForm, Length255HasFFFF00BehindTheWideTag) {
    const std::u16string units = patternUnits(255);
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0xFF).u8(0xFF).u8(0x00);
    payload(bytes, units);
    ASSERT_EQ(bytes.size(), 6u + 510u);
    EXPECT_BYTES_EQ(bytes.bytes(), storeString(CString(units)));
    const Loaded loaded = loadString(bytes.bytes());
    EXPECT_EQ(loaded.text.str(), units);
    EXPECT_EQ(loaded.taken, bytes.size());
}

TEST(StringForm, LengthFFFDIsTheLargestMediumForm) {
    const std::u16string units = patternUnits(0xFFFD);
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0xFF).u8(0xFD).u8(0xFF);
    payload(bytes, units);
    ASSERT_EQ(bytes.size(), 6u + 2u * 0xFFFD);
    EXPECT_BYTES_EQ(bytes.bytes(), storeString(CString(units)));
    const Loaded loaded = loadString(bytes.bytes());
    EXPECT_EQ(loaded.text.GetLength(), 0xFFFD);
    EXPECT_EQ(loaded.text.str(), units);
    EXPECT_EQ(loaded.taken, bytes.size());
}

TEST(StringForm, LengthFFFEIsTheSmallestLongForm) {
    const std::u16string units = patternUnits(0xFFFE);
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF);
    bytes.u8(0xFF).u8(0xFF).u8(0xFF);
    bytes.u8(0xFE).u8(0xFF).u8(0x00).u8(0x00);
    payload(bytes, units);
    ASSERT_EQ(bytes.size(), 10u + 2u * 0xFFFE);
    EXPECT_BYTES_EQ(bytes.bytes(), storeString(CString(units)));
    const Loaded loaded = loadString(bytes.bytes());
    EXPECT_EQ(loaded.text.GetLength(), 0xFFFE);
    EXPECT_EQ(loaded.text.str(), units);
    EXPECT_EQ(loaded.taken, bytes.size());
}

TEST(StringForm, ZeroUnitInsideWidePayloadIsKept) {
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0x04);
    bytes.u8(0x4D).u8(0x00);  // M
    bytes.u8(0x00).u8(0x00);  // zero unit
    bytes.u8(0x45).u8(0x00);  // E
    bytes.u8(0x00).u8(0x00);  // zero unit at the end
    const CString text(std::u16string{u'M', u'\0', u'E', u'\0'});
    EXPECT_BYTES_EQ(bytes.bytes(), storeString(text));
    const Loaded loaded = loadString(bytes.bytes());
    EXPECT_EQ(loaded.text.GetLength(), 4);
    EXPECT_EQ(loaded.text.GetAt(1), u'\0');
    EXPECT_EQ(loaded.text.GetAt(3), u'\0');
    EXPECT_EQ(loaded.text, text);
}

TEST(StringForm, LoadReplacesWhatTheTargetHeld) {
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0x01).u8(0x5A).u8(0x00);
    CString text(u"a much longer earlier value");
    loadFromBytes(bytes.bytes(), [&](CArchive& ar) { ar >> text; });
    EXPECT_EQ(text, u"Z");
}

TEST(StringForm, StringsFollowEachOtherWithoutGap) {
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0x01).u8(0x61).u8(0x00);
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0x00);
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0x02).u8(0x62).u8(0x00).u8(0x63).u8(0x00);
    const std::vector<BYTE> stored =
        storeToBytes([](CArchive& ar) { ar << CString(u"a") << CString() << CString(u"bc"); });
    EXPECT_BYTES_EQ(bytes.bytes(), stored);
    CString a, empty, bc;
    const std::size_t taken =
        loadFromBytes(bytes.bytes(), [&](CArchive& ar) { ar >> a >> empty >> bc; });
    EXPECT_EQ(a, u"a");
    EXPECT_TRUE(empty.IsEmpty());
    EXPECT_EQ(bc, u"bc");
    EXPECT_EQ(taken, bytes.size());
}

// ---- The length prefix on its own -----------------------------------------

TEST(StringForm, WriteLengthWithoutUnicodeFlagHasNoTag) {
    const std::vector<BYTE> stored = storeToBytes([](CArchive& ar) {
        AfxWriteStringLength(ar, 0x10, FALSE);
        AfxWriteStringLength(ar, 0x1234, FALSE);
    });
    const std::vector<BYTE> expected = {0x10, 0xFF, 0x34, 0x12};
    EXPECT_BYTES_EQ(expected, stored);
}

TEST(StringForm, WriteLengthLongestLongFormIsFFFFFFFE) {
    const std::vector<BYTE> stored =
        storeToBytes([](CArchive& ar) { AfxWriteStringLength(ar, 0xFFFFFFFEull, TRUE); });
    const std::vector<BYTE> expected = {0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0xFF, 0xFF};
    EXPECT_BYTES_EQ(expected, stored);
}

TEST(StringForm, WriteLengthHugeFormHasSevenFFThenEightBytes) {
    const std::vector<BYTE> stored =
        storeToBytes([](CArchive& ar) { AfxWriteStringLength(ar, 0xFFFFFFFFull, TRUE); });
    const std::vector<BYTE> expected = {0xFF, 0xFE, 0xFF,                          // wide tag
                                        0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF,  // huge mark
                                        0xFF, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0x00};
    EXPECT_BYTES_EQ(expected, stored);
}

struct PrefixCase {
    const char* name;
    std::vector<BYTE> bytes;
    UINT_PTR length;
    int charSize;
};

class ReadStringLength : public testing::TestWithParam<PrefixCase> {};

TEST_P(ReadStringLength, DecodesLengthAndCharacterSize) {
    const PrefixCase& c = GetParam();
    UINT_PTR length = 0;
    int charSize = 0;
    const std::size_t taken =
        loadFromBytes(c.bytes, [&](CArchive& ar) { length = AfxReadStringLength(ar, charSize); });
    EXPECT_EQ(length, c.length);
    EXPECT_EQ(charSize, c.charSize);
    EXPECT_EQ(taken, c.bytes.size());
}

INSTANTIATE_TEST_SUITE_P(
    StringForm, ReadStringLength,
    testing::Values(PrefixCase{"NarrowShortZero", {0x00}, 0, 1},
                    PrefixCase{"NarrowShortFE", {0xFE}, 0xFE, 1},
                    PrefixCase{"NarrowMedium00FF", {0xFF, 0xFF, 0x00}, 0xFF, 1},
                    PrefixCase{"NarrowMediumFFFD", {0xFF, 0xFD, 0xFF}, 0xFFFD, 1},
                    PrefixCase{
                        "NarrowLong", {0xFF, 0xFF, 0xFF, 0x10, 0x00, 0x01, 0x00}, 0x10010, 1},
                    PrefixCase{"NarrowHuge",
                               {0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 1, 2, 3, 4, 5, 6, 7, 8},
                               0x0807060504030201ull,
                               1},
                    PrefixCase{"WideShortZero", {0xFF, 0xFE, 0xFF, 0x00}, 0, 2},
                    PrefixCase{"WideShortFE", {0xFF, 0xFE, 0xFF, 0xFE}, 0xFE, 2},
                    PrefixCase{"WideMedium00FF", {0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0x00}, 0xFF, 2},
                    PrefixCase{"WideMediumFFFD", {0xFF, 0xFE, 0xFF, 0xFF, 0xFD, 0xFF}, 0xFFFD, 2},
                    PrefixCase{"WideLongFFFE",
                               {0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0x00, 0x00},
                               0xFFFE,
                               2},
                    PrefixCase{"WideLongFFFFFFFE",
                               {0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0xFF, 0xFF},
                               0xFFFFFFFEull,
                               2},
                    PrefixCase{"WideHuge",
                               {0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x00,
                                0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00},
                               0x0000000100000000ull,
                               2}),
    [](const testing::TestParamInfo<PrefixCase>& info) { return std::string(info.param.name); });

// ---- Narrow strings on load -----------------------------------------------

TEST(StringForm, NarrowShortStringLoads) {
    ByteBuilder bytes;
    bytes.u8(0x05).u8('H').u8('e').u8('l').u8('l').u8('o');
    const Loaded loaded = loadString(bytes.bytes());
    EXPECT_EQ(loaded.text, u"Hello");
    EXPECT_EQ(loaded.text.GetLength(), 5);
    EXPECT_EQ(loaded.taken, 6u);
}

TEST(StringForm, NarrowEmptyStringIsOneZeroByte) {
    const std::vector<BYTE> bytes = {0x00, 0x77};
    const Loaded loaded = loadString(bytes);
    EXPECT_TRUE(loaded.text.IsEmpty());
    EXPECT_EQ(loaded.taken, 1u);
}

TEST(StringForm, NarrowLength254HasOneByteLength) {
    ByteBuilder bytes;
    bytes.u8(0xFE);
    std::u16string expected;
    for (int i = 0; i < 254; ++i) {
        const BYTE b = static_cast<BYTE>('a' + i % 26);
        bytes.u8(b);
        expected.push_back(static_cast<char16_t>(b));
    }
    const Loaded loaded = loadString(bytes.bytes());
    EXPECT_EQ(loaded.text.str(), expected);
    EXPECT_EQ(loaded.taken, 255u);
}

TEST(StringForm, NarrowMediumFormIsFFThenWord) {
    // 300 narrow bytes: FF, then 300 = 0x012C as a little-endian word.
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0x2C).u8(0x01);
    std::u16string expected;
    for (int i = 0; i < 300; ++i) {
        const BYTE b = static_cast<BYTE>('A' + i % 26);
        bytes.u8(b);
        expected.push_back(static_cast<char16_t>(b));
    }
    const Loaded loaded = loadString(bytes.bytes());
    EXPECT_EQ(loaded.text.GetLength(), 300);
    EXPECT_EQ(loaded.text.str(), expected);
    EXPECT_EQ(loaded.taken, 303u);
}

TEST(StringForm, NarrowLength255UsesMediumForm) {
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFF).u8(0x00);
    for (int i = 0; i < 255; ++i) {
        bytes.u8('z');
    }
    const Loaded loaded = loadString(bytes.bytes());
    EXPECT_EQ(loaded.text.str(), std::u16string(255, u'z'));
    EXPECT_EQ(loaded.taken, 258u);
}

TEST(StringForm, NarrowMagicSpellingLoadsAsTheSameText) {
    ByteBuilder bytes;
    bytes.u8(0x09);
    for (char c : std::string("MEGCOILQV")) {
        bytes.u8(static_cast<BYTE>(c));
    }
    EXPECT_EQ(loadString(bytes.bytes()).text, u"MEGCOILQV");
}

TEST(StringForm, NarrowBytesConvertFromWindows1252) {
    // Every byte value once. 00-7F and A0-FF keep their value; 80-9F take the
    // code page's characters, and its five undefined bytes keep their value.
    const char16_t high[32] = {
        0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,  // 80-87
        0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0x008D, 0x017D, 0x008F,  // 88-8F
        0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,  // 90-97
        0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178,  // 98-9F
    };
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0x00).u8(0x01);  // 256 bytes, medium form
    std::u16string expected;
    for (int b = 0; b < 256; ++b) {
        bytes.u8(static_cast<BYTE>(b));
        expected.push_back(b >= 0x80 && b < 0xA0 ? high[b - 0x80] : static_cast<char16_t>(b));
    }
    const Loaded loaded = loadString(bytes.bytes());
    ASSERT_EQ(loaded.text.GetLength(), 256);
    for (int b = 0; b < 256; ++b) {
        EXPECT_EQ(static_cast<unsigned>(loaded.text.GetAt(b)),
                  static_cast<unsigned>(expected[static_cast<std::size_t>(b)]))
            << "byte " << std::hex << b;
    }
}

TEST(StringForm, NarrowEuroSignByte80IsU20AC) {
    const std::vector<BYTE> bytes = {0x01, 0x80};
    EXPECT_EQ(static_cast<unsigned>(loadString(bytes).text.GetAt(0)), 0x20ACu);
}

TEST(StringForm, NarrowUndefinedBytesMapToSameCodePoints) {
    const std::vector<BYTE> bytes = {0x05, 0x81, 0x8D, 0x8F, 0x90, 0x9D};
    const Loaded loaded = loadString(bytes);
    EXPECT_EQ(loaded.text.str(), (std::u16string{0x0081, 0x008D, 0x008F, 0x0090, 0x009D}));
}

TEST(StringForm, NarrowZeroByteInsidePayloadIsKept) {
    const std::vector<BYTE> bytes = {0x03, 'a', 0x00, 'b'};
    const Loaded loaded = loadString(bytes);
    EXPECT_EQ(loaded.text.str(), (std::u16string{u'a', u'\0', u'b'}));
}

TEST(StringForm, NarrowStringIsStoredBackWide) {
    const std::vector<BYTE> narrow = {0x02, 0x80, 'x'};
    const CString text = loadString(narrow).text;
    const std::vector<BYTE> expected = {0xFF, 0xFE, 0xFF, 0x02, 0xAC, 0x20, 0x78, 0x00};
    EXPECT_BYTES_EQ(expected, storeString(text));
}

// ---- Lengths that cannot be trusted ---------------------------------------

std::vector<BYTE> padTo(ByteBuilder bytes, std::size_t size) {
    while (bytes.size() < size) {
        bytes.u8(0x41);
    }
    return bytes.bytes();
}

TEST(StringForm, ProbeSeesTheMemoryThatAGenuineLongStringTakes) {
    // The probe reaches into the library: a string that does arrive whole
    // shows up with at least its own size, so the bounds below can fail.
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0xFF).u8(0xFF).u8(0xFF).u8(0x00).u8(0x00).u8(0x01).u8(
        0x00);  // 0x10000 units, long form
    payload(bytes, patternUnits(0x10000));
    AllocationProbe probe;
    const Loaded loaded = loadString(bytes.bytes());
    EXPECT_EQ(loaded.text.GetLength(), 0x10000);
    EXPECT_GE(probe.largest(), std::size_t{2} * 0x10000);
}

TEST(StringForm, AnnouncedFourGigabyteWideStringInSmallFileRaisesEndOfFile) {
    // Long form announcing FFFFFFFE code units, about 8 GiB, in a file of 100 bytes.
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0xFF).u8(0xFF).u8(0xFF).u8(0xFE).u8(0xFF).u8(0xFF).u8(0xFF);
    const std::vector<BYTE> file = padTo(bytes, 100);
    AllocationProbe probe;
    EXPECT_EQ(causeOfFailedLoad(file), CArchiveException::endOfFile);
    // Memory grows with what arrives: nothing near the announced size is asked for.
    EXPECT_LT(probe.largest(), std::size_t{1} << 20);
}

TEST(StringForm, AnnouncedFourGigabyteNarrowStringInSmallFileRaisesEndOfFile) {
    ByteBuilder bytes;
    // Narrow long form: FF, the word FFFF, then FFFFFFFE bytes, about 4 GiB.
    bytes.u8(0xFF).u8(0xFF).u8(0xFF).u8(0xFE).u8(0xFF).u8(0xFF).u8(0xFF);
    const std::vector<BYTE> file = padTo(bytes, 100);
    AllocationProbe probe;
    EXPECT_EQ(causeOfFailedLoad(file), CArchiveException::endOfFile);
    EXPECT_LT(probe.largest(), std::size_t{1} << 20);
}

TEST(StringForm, AnnouncedHugeWideStringInSmallFileRaisesEndOfFile) {
    // Huge form announcing 2^62 code units.
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF);
    for (int i = 0; i < 7; ++i) {
        bytes.u8(0xFF);
    }
    bytes.u8(0x00).u8(0x00).u8(0x00).u8(0x00).u8(0x00).u8(0x00).u8(0x00).u8(0x40);
    const std::vector<BYTE> file = padTo(bytes, 100);
    AllocationProbe probe;
    EXPECT_EQ(causeOfFailedLoad(file), CArchiveException::endOfFile);
    EXPECT_LT(probe.largest(), std::size_t{1} << 20);
}

TEST(StringForm, AnnouncedHugeStringOfAllOnesRaisesEndOfFile) {
    // The largest length there is: the unit count times two would overflow.
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF);
    for (int i = 0; i < 15; ++i) {
        bytes.u8(0xFF);
    }
    const std::vector<BYTE> file = padTo(bytes, 100);
    AllocationProbe probe;
    EXPECT_EQ(causeOfFailedLoad(file), CArchiveException::endOfFile);
    EXPECT_LT(probe.largest(), std::size_t{1} << 20);
}

TEST(StringForm, AnnouncedFourGigabyteStringOverTrickleFileRaisesEndOfFile) {
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0xFF).u8(0xFF).u8(0xFF).u8(0xFE).u8(0xFF).u8(0xFF).u8(0xFF);
    TrickleFile file(padTo(bytes, 100), 3);
    AllocationProbe probe;
    CString text;
    try {
        CArchive ar(&file, CArchive::load);
        ar >> text;
        ADD_FAILURE() << "the load raised no exception";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
    }
    EXPECT_LT(probe.largest(), std::size_t{1} << 20);
}

TEST(StringForm, ShortWidePayloadRaisesEndOfFileWithoutFileName) {
    // Five units announced, four present.
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0x05);
    for (int i = 0; i < 4; ++i) {
        bytes.u16(u'x');
    }
    EXPECT_EQ(causeOfFailedLoad(bytes.bytes()), CArchiveException::endOfFile);
}

TEST(StringForm, OddByteCountInWidePayloadRaisesEndOfFile) {
    // Two units announced, three bytes present.
    const std::vector<BYTE> bytes = {0xFF, 0xFE, 0xFF, 0x02, 0x41, 0x00, 0x42};
    EXPECT_EQ(causeOfFailedLoad(bytes), CArchiveException::endOfFile);
}

TEST(StringForm, ShortNarrowPayloadRaisesEndOfFile) {
    const std::vector<BYTE> bytes = {0x05, 'a', 'b'};
    EXPECT_EQ(causeOfFailedLoad(bytes), CArchiveException::endOfFile);
}

TEST(StringForm, TruncatedLengthPrefixRaisesEndOfFile) {
    const std::vector<std::vector<BYTE>> prefixes = {
        {},
        {0xFF},
        {0xFF, 0xFE},
        {0xFF, 0xFE, 0xFF},
        {0xFF, 0xFE, 0xFF, 0xFF, 0xFF},
        {0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0xFF},
        {0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x01},
    };
    for (const auto& prefix : prefixes) {
        CString text;
        try {
            loadFromBytes(prefix, [&](CArchive& ar) { ar >> text; });
            ADD_FAILURE() << "no exception for a prefix of " << prefix.size() << " bytes";
        } catch (const CArchiveException& e) {
            EXPECT_EQ(e.m_cause, CArchiveException::endOfFile) << prefix.size() << " bytes";
        }
    }
}

TEST(StringForm, EveryTruncationOfAWideStringRaisesEndOfFile) {
    ByteBuilder whole;
    whole.u8(0xFF).u8(0xFE).u8(0xFF).u8(0xFF).u8(0x00).u8(0x01);  // 256 units, medium form
    payload(whole, patternUnits(256));
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const std::vector<BYTE> prefix(whole.bytes().begin(),
                                       whole.bytes().begin() + static_cast<std::ptrdiff_t>(size));
        CString text;
        try {
            loadFromBytes(prefix, [&](CArchive& ar) { ar >> text; });
            ADD_FAILURE() << "no exception for a prefix of " << size << " bytes";
        } catch (const CArchiveException& e) {
            EXPECT_EQ(e.m_cause, CArchiveException::endOfFile) << size << " bytes";
        }
    }
}

// ---- Strings over files that deliver bytes in small pieces ---------------

class StringFormTrickle : public testing::TestWithParam<UINT> {};

TEST_P(StringFormTrickle, WideStringsLoadAsOverMemory) {
    const std::u16string longUnits = patternUnits(5000);  // larger than the archive's buffer
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0x03).u16(u'a').u16(u'b').u16(u'c');
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0xFF).u8(0x88).u8(0x13);  // 5000 = 0x1388
    payload(bytes, longUnits);
    bytes.u8(0x02).u8('O').u8('K');  // narrow
    TrickleFile file(bytes.bytes(), GetParam());
    CString first, second, third;
    {
        CArchive ar(&file, CArchive::load);
        ar >> first >> second >> third;
    }
    EXPECT_EQ(first, u"abc");
    EXPECT_EQ(second.str(), longUnits);
    EXPECT_EQ(third, u"OK");
    EXPECT_EQ(file.GetPosition(), bytes.size());
}

TEST_P(StringFormTrickle, ShortPayloadRaisesEndOfFile) {
    ByteBuilder bytes;
    bytes.u8(0xFF).u8(0xFE).u8(0xFF).u8(0x10).u16(u'a').u16(u'b');
    TrickleFile file(bytes.bytes(), GetParam());
    CArchive ar(&file, CArchive::load);
    CString text;
    try {
        ar >> text;
        ADD_FAILURE() << "no exception";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
    }
}

INSTANTIATE_TEST_SUITE_P(Pieces, StringFormTrickle, testing::Values(1u, 3u, 4096u));

}  // namespace
