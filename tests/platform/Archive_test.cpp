// The archive's primitives, its direction checks, its end of file, and its
// buffering over every kind of file behind it.
#include <fluxgrid/platform/Archive.h>

#include "support/ByteBuilder.h"
#include "support/Harness.h"
#include "support/ScratchDir.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

using fluxgrid::test::bitsOf;
using fluxgrid::test::ByteBuilder;
using fluxgrid::test::loadFromBytes;
using fluxgrid::test::ScratchDir;
using fluxgrid::test::storeToBytes;
using fluxgrid::test::TrickleFile;

double fromBits(std::uint64_t bits) {
    return std::bit_cast<double>(bits);
}

// ---- Widths and byte order --------------------------------------------------

TEST(ArchivePrimitives, IntIsFourBytesLittleEndian) {
    const std::vector<BYTE> expected = {0x78, 0x56, 0x34, 0x12};
    EXPECT_BYTES_EQ(expected, storeToBytes([](CArchive& ar) { ar << 0x12345678; }));
    int value = 0;
    EXPECT_EQ(loadFromBytes(expected, [&](CArchive& ar) { ar >> value; }), 4u);
    EXPECT_EQ(value, 0x12345678);
}

TEST(ArchivePrimitives, NegativeIntIsTwosComplement) {
    const std::vector<BYTE> expected = {0xFE, 0xFF, 0xFF, 0xFF, 0x00, 0x00, 0x00, 0x80};
    EXPECT_BYTES_EQ(
        expected, storeToBytes([](CArchive& ar) { ar << -2 << std::numeric_limits<int>::min(); }));
    int a = 0, b = 0;
    loadFromBytes(expected, [&](CArchive& ar) { ar >> a >> b; });
    EXPECT_EQ(a, -2);
    EXPECT_EQ(b, std::numeric_limits<int>::min());
}

TEST(ArchivePrimitives, UintIsFourBytesLittleEndian) {
    const std::vector<BYTE> expected = {0xEF, 0xBE, 0xAD, 0xDE};
    EXPECT_BYTES_EQ(expected, storeToBytes([](CArchive& ar) { ar << UINT{0xDEADBEEF}; }));
    UINT value = 0;
    EXPECT_EQ(loadFromBytes(expected, [&](CArchive& ar) { ar >> value; }), 4u);
    EXPECT_EQ(value, 0xDEADBEEFu);
}

TEST(ArchivePrimitives, LonglongIsEightBytesLittleEndian) {
    const std::vector<BYTE> expected = {0x10, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE};
    const LONGLONG original = static_cast<LONGLONG>(0xFEDCBA9876543210ull);
    EXPECT_BYTES_EQ(expected, storeToBytes([&](CArchive& ar) { ar << original; }));
    LONGLONG value = 0;
    EXPECT_EQ(loadFromBytes(expected, [&](CArchive& ar) { ar >> value; }), 8u);
    EXPECT_EQ(value, original);
}

TEST(ArchivePrimitives, DoubleIsEightBytesIeeeLittleEndian) {
    // 1.5 is 3FF8 0000 0000 0000.
    const std::vector<BYTE> expected = {0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0xF8, 0x3F};
    EXPECT_BYTES_EQ(expected, storeToBytes([](CArchive& ar) { ar << 1.5; }));
    double value = 0;
    EXPECT_EQ(loadFromBytes(expected, [&](CArchive& ar) { ar >> value; }), 8u);
    EXPECT_BITS_EQ(1.5, value);
}

TEST(ArchivePrimitives, BoolIsOneByteOneOrZero) {
    const std::vector<BYTE> expected = {0x01, 0x00};
    EXPECT_BYTES_EQ(expected, storeToBytes([](CArchive& ar) { ar << true << false; }));
    bool a = false, b = true;
    EXPECT_EQ(loadFromBytes(expected, [&](CArchive& ar) { ar >> a >> b; }), 2u);
    EXPECT_TRUE(a);
    EXPECT_FALSE(b);
}

TEST(ArchivePrimitives, BoolLoadTakesAnyNonzeroByteAsTrue) {
    const std::vector<BYTE> bytes = {0x00, 0x01, 0x02, 0x7F, 0x80, 0xFF};
    bool values[6] = {true, false, false, false, false, false};
    loadFromBytes(bytes, [&](CArchive& ar) {
        for (bool& v : values) {
            ar >> v;
        }
    });
    EXPECT_FALSE(values[0]);
    for (int i = 1; i < 6; ++i) {
        EXPECT_TRUE(values[i]) << "byte " << static_cast<int>(bytes[static_cast<std::size_t>(i)]);
    }
}

TEST(ArchivePrimitives, ValuesFollowEachOtherWithoutAlignment) {
    ByteBuilder expected;
    expected.boolean(true).i32(-7).u32(7).boolean(false).i64(-1).f64(-2.5).boolean(true).i32(9);
    ASSERT_EQ(expected.size(), 1u + 4u + 4u + 1u + 8u + 8u + 1u + 4u);
    const std::vector<BYTE> stored = storeToBytes([](CArchive& ar) {
        ar << true << -7 << UINT{7} << false << LONGLONG{-1} << -2.5 << true << 9;
    });
    EXPECT_BYTES_EQ(expected.bytes(), stored);

    bool b1 = false, b2 = true, b3 = false;
    int i1 = 0, i2 = 0;
    UINT u = 0;
    LONGLONG ll = 0;
    double d = 0;
    const std::size_t taken = loadFromBytes(
        expected.bytes(), [&](CArchive& ar) { ar >> b1 >> i1 >> u >> b2 >> ll >> d >> b3 >> i2; });
    EXPECT_EQ(taken, expected.size());
    EXPECT_TRUE(b1);
    EXPECT_EQ(i1, -7);
    EXPECT_EQ(u, 7u);
    EXPECT_FALSE(b2);
    EXPECT_EQ(ll, -1);
    EXPECT_BITS_EQ(-2.5, d);
    EXPECT_TRUE(b3);
    EXPECT_EQ(i2, 9);
}

// ---- Doubles bit for bit --------------------------------------------------

class DoubleBits : public testing::TestWithParam<std::uint64_t> {};

TEST_P(DoubleBits, PassUnchangedBothWays) {
    const std::uint64_t bits = GetParam();
    ByteBuilder expected;
    expected.u64(bits);
    EXPECT_BYTES_EQ(expected.bytes(), storeToBytes([&](CArchive& ar) { ar << fromBits(bits); }));
    double value = 0;
    loadFromBytes(expected.bytes(), [&](CArchive& ar) { ar >> value; });
    EXPECT_EQ(bitsOf(value), bits);
}

INSTANTIATE_TEST_SUITE_P(ArchivePrimitives, DoubleBits,
                         testing::Values(0x7FF8000000000000ull,  // quiet NaN
                                         0x7FF0000000000001ull,  // signalling NaN, payload 1
                                         0x7FF4DEADBEEF0001ull,  // signalling NaN with payload
                                         0xFFF8123456789ABCull,  // negative quiet NaN, payload
                                         0x7FF0000000000000ull,  // +infinity
                                         0xFFF0000000000000ull,  // -infinity
                                         0x8000000000000000ull,  // -0.0
                                         0x0000000000000000ull,  // +0.0
                                         0x0000000000000001ull,  // smallest subnormal
                                         0x7FEFFFFFFFFFFFFFull   // largest finite
                                         ));

TEST(ArchivePrimitives, NegativeZeroKeepsItsSign) {
    double value = 1.0;
    loadFromBytes(storeToBytes([](CArchive& ar) { ar << -0.0; }),
                  [&](CArchive& ar) { ar >> value; });
    EXPECT_TRUE(std::signbit(value));
    EXPECT_BITS_EQ(-0.0, value);
}

// ---- Direction and end of file -------------------------------------------

TEST(ArchiveDirection, ModeConstantsAndQueries) {
    EXPECT_EQ(static_cast<UINT>(CArchive::store), 0u);
    EXPECT_EQ(static_cast<UINT>(CArchive::load), 1u);
    CMemFile file;
    CArchive storing(&file, CArchive::store);
    EXPECT_TRUE(storing.IsStoring());
    EXPECT_FALSE(storing.IsLoading());
    EXPECT_EQ(storing.GetFile(), &file);
    CMemFile other;
    CArchive loading(&other, CArchive::load);
    EXPECT_TRUE(loading.IsLoading());
    EXPECT_FALSE(loading.IsStoring());
    EXPECT_EQ(loading.GetFile(), &other);
}

// Runs `action` and returns the archive exception it raised.
template <class Action>
CArchiveException archiveFailure(Action action) {
    try {
        action();
    } catch (const CArchiveException& e) {
        return e;
    }
    ADD_FAILURE() << "no archive exception";
    return CArchiveException(CArchiveException::none);
}

TEST(ArchiveDirection, StoreOnLoadingArchiveRaisesReadOnlyWithFileName) {
    ScratchDir dir;
    const std::string path = dir.write("loading.bin", std::vector<BYTE>(64, 0x11));
    CFile file(path.c_str(), CFile::modeRead);
    CArchive ar(&file, CArchive::load);
    const std::vector<std::function<void()>> stores = {
        [&] { ar << 1; },
        [&] { ar << UINT{1}; },
        [&] { ar << LONGLONG{1}; },
        [&] { ar << 1.0; },
        [&] { ar << true; },
        [&] { ar << CString(u"x"); },
        [&] {
            const BYTE b = 0;
            ar.Write(&b, 1);
        },
    };
    for (std::size_t i = 0; i < stores.size(); ++i) {
        const CArchiveException e = archiveFailure(stores[i]);
        EXPECT_EQ(e.m_cause, CArchiveException::readOnly) << "store " << i;
        EXPECT_EQ(e.m_cause, 2);
        EXPECT_EQ(e.m_strFileName, CString(path)) << "store " << i;
    }
}

TEST(ArchiveDirection, LoadOnStoringArchiveRaisesWriteOnlyWithFileName) {
    ScratchDir dir;
    const std::string path = dir.file("storing.bin");
    CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
    CArchive ar(&file, CArchive::store);
    int i = 0;
    UINT u = 0;
    LONGLONG ll = 0;
    double d = 0;
    bool b = false;
    CString s;
    BYTE raw[4];
    const std::vector<std::function<void()>> loads = {
        [&] { ar >> i; }, [&] { ar >> u; }, [&] { ar >> ll; },        [&] { ar >> d; },
        [&] { ar >> b; }, [&] { ar >> s; }, [&] { ar.Read(raw, 4); },
    };
    for (std::size_t k = 0; k < loads.size(); ++k) {
        const CArchiveException e = archiveFailure(loads[k]);
        EXPECT_EQ(e.m_cause, CArchiveException::writeOnly) << "load " << k;
        EXPECT_EQ(e.m_cause, 4);
        EXPECT_EQ(e.m_strFileName, CString(path)) << "load " << k;
    }
}

TEST(ArchiveDirection, StoreOnLoadingArchiveLeavesTheFileAlone) {
    const std::vector<BYTE> bytes = {1, 2, 3, 4};
    CMemFile file(bytes.data(), 4);
    {
        CArchive ar(&file, CArchive::load);
        EXPECT_THROW(ar << 5, CArchiveException);
    }
    EXPECT_EQ(file.Data(), bytes);
}

TEST(ArchiveEndOfFile, LoadPastEndRaisesEndOfFile) {
    const std::vector<BYTE> bytes = {0x01, 0x02, 0x03};
    int value = 0;
    const CArchiveException e =
        archiveFailure([&] { loadFromBytes(bytes, [&](CArchive& ar) { ar >> value; }); });
    EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
    EXPECT_EQ(e.m_cause, 3);
}

TEST(ArchiveEndOfFile, EveryPrimitivePastEndRaisesEndOfFile) {
    const std::vector<BYTE> seven(7, 0xAB);
    const std::vector<std::function<void(CArchive&)>> loads = {
        [](CArchive& ar) {
            LONGLONG v;
            ar >> v;
        },
        [](CArchive& ar) {
            double v;
            ar >> v;
        },
        [](CArchive& ar) {
            int a, b;
            ar >> a >> b;
        },
        [](CArchive& ar) {
            UINT a, b;
            ar >> a >> b;
        },
        [](CArchive& ar) {
            bool v;
            for (int k = 0; k < 8; ++k) {
                ar >> v;
            }
        },
    };
    for (std::size_t k = 0; k < loads.size(); ++k) {
        const CArchiveException e = archiveFailure([&] { loadFromBytes(seven, loads[k]); });
        EXPECT_EQ(e.m_cause, CArchiveException::endOfFile) << "load " << k;
    }
}

TEST(ArchiveEndOfFile, EmptyFileRaisesEndOfFileOnFirstByte) {
    bool value = false;
    const CArchiveException e =
        archiveFailure([&] { loadFromBytes({}, [&](CArchive& ar) { ar >> value; }); });
    EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
}

TEST(ArchiveEndOfFile, PrimitivePastEndOfDiskFileCarriesFileName) {
    ScratchDir dir;
    const std::string path = dir.write("short.bin", {0x01, 0x02});
    CFile file(path.c_str(), CFile::modeRead);
    CArchive ar(&file, CArchive::load);
    int value = 0;
    const CArchiveException e = archiveFailure([&] { ar >> value; });
    EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
    EXPECT_EQ(e.m_strFileName, CString(path));
}

TEST(ArchiveEndOfFile, ShortStringPayloadOfDiskFileCarriesNoFileName) {
    ScratchDir dir;
    const std::string path = dir.write("string.bin", {0xFF, 0xFE, 0xFF, 0x03, 0x41, 0x00});
    CFile file(path.c_str(), CFile::modeRead);
    CArchive ar(&file, CArchive::load);
    CString text;
    const CArchiveException e = archiveFailure([&] { ar >> text; });
    EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
    EXPECT_TRUE(e.m_strFileName.IsEmpty());
}

// ---- The same bytes over every kind of file -------------------------------

enum class Medium { Memory, Trickle1, Trickle3, Disk };

std::string mediumName(const testing::TestParamInfo<Medium>& info) {
    switch (info.param) {
        case Medium::Memory:
            return "Memory";
        case Medium::Trickle1:
            return "Trickle1";
        case Medium::Trickle3:
            return "Trickle3";
        case Medium::Disk:
            return "Disk";
    }
    return "Unknown";
}

class ArchiveOverMedium : public testing::TestWithParam<Medium> {
  protected:
    /// A file to load from that holds `bytes`, positioned at its start.
    std::unique_ptr<CFile> source(const std::vector<BYTE>& bytes) {
        switch (GetParam()) {
            case Medium::Memory:
                return std::make_unique<CMemFile>(bytes.data(), static_cast<UINT>(bytes.size()));
            case Medium::Trickle1:
                return std::make_unique<TrickleFile>(bytes, 1);
            case Medium::Trickle3:
                return std::make_unique<TrickleFile>(bytes, 3);
            case Medium::Disk:
                return std::make_unique<CFile>(m_dir.write("source.bin", bytes).c_str(),
                                               CFile::modeRead);
        }
        return nullptr;
    }

    /// An empty file to store into.
    std::unique_ptr<CFile> sink() {
        switch (GetParam()) {
            case Medium::Memory:
                return std::make_unique<CMemFile>();
            case Medium::Trickle1:
                return std::make_unique<TrickleFile>(std::vector<BYTE>{}, 1);
            case Medium::Trickle3:
                return std::make_unique<TrickleFile>(std::vector<BYTE>{}, 3);
            case Medium::Disk:
                return std::make_unique<CFile>(m_dir.file("sink.bin").c_str(),
                                               CFile::modeCreate | CFile::modeWrite);
        }
        return nullptr;
    }

    /// Everything written into the sink; closes a disk file first.
    std::vector<BYTE> sinkBytes(CFile& file) {
        switch (GetParam()) {
            case Medium::Memory:
                return static_cast<CMemFile&>(file).Data();
            case Medium::Trickle1:
            case Medium::Trickle3:
                return static_cast<TrickleFile&>(file).bytes();
            case Medium::Disk:
                file.Close();
                return m_dir.read("sink.bin");
        }
        return {};
    }

    ScratchDir m_dir;
};

// A run of values several buffers long, with odd sizes in front so that values
// straddle the buffer's boundaries.
struct Sample {
    bool flag = true;
    int first = -123456;
    std::vector<double> doubles;
    CString label;
    UINT mask = 0xA5A5F00Fu;
    LONGLONG count = -9876543210123LL;
    std::vector<int> ints;
    CString tail = CString(u"Gr\u00FC\u00DFe");
    bool last = false;

    Sample() {
        for (int k = 0; k < 700; ++k) {
            doubles.push_back(k * 0.25 - 3.0);
        }
        doubles[13] = fromBits(0x7FF4DEADBEEF0001ull);
        doubles[511] = -0.0;
        doubles[512] = fromBits(0xFFF0000000000000ull);
        std::u16string units;
        for (int k = 0; k < 300; ++k) {
            units.push_back(static_cast<char16_t>(0x0400 + k));
        }
        label = CString(units);
        for (int k = 0; k < 600; ++k) {
            ints.push_back(k * k - 5000);
        }
    }

    ByteBuilder golden() const {
        ByteBuilder b;
        b.boolean(flag).i32(first);
        for (double d : doubles) {
            b.f64(d);
        }
        b.wide(label.str());
        b.u32(mask).i64(count);
        for (int v : ints) {
            b.i32(v);
        }
        b.wide(tail.str()).boolean(last);
        return b;
    }

    void store(CArchive& ar) const {
        ar << flag << first;
        for (double d : doubles) {
            ar << d;
        }
        ar << label << mask << count;
        for (int v : ints) {
            ar << v;
        }
        ar << tail << last;
    }

    void load(CArchive& ar) {
        ar >> flag >> first;
        for (double& d : doubles) {
            ar >> d;
        }
        ar >> label >> mask >> count;
        for (int& v : ints) {
            ar >> v;
        }
        ar >> tail >> last;
    }
};

void expectSameSample(const Sample& expected, const Sample& actual) {
    EXPECT_EQ(actual.flag, expected.flag);
    EXPECT_EQ(actual.first, expected.first);
    ASSERT_EQ(actual.doubles.size(), expected.doubles.size());
    for (std::size_t k = 0; k < expected.doubles.size(); ++k) {
        EXPECT_EQ(bitsOf(actual.doubles[k]), bitsOf(expected.doubles[k])) << "double " << k;
    }
    EXPECT_EQ(actual.label, expected.label);
    EXPECT_EQ(actual.mask, expected.mask);
    EXPECT_EQ(actual.count, expected.count);
    EXPECT_EQ(actual.ints, expected.ints);
    EXPECT_EQ(actual.tail, expected.tail);
    EXPECT_EQ(actual.last, expected.last);
}

// A sample whose every value differs from the default one.
Sample blankSample() {
    Sample s;
    s.flag = false;
    s.first = 0;
    std::fill(s.doubles.begin(), s.doubles.end(), 99.0);
    s.label = CString();
    s.mask = 0;
    s.count = 0;
    std::fill(s.ints.begin(), s.ints.end(), 0);
    s.tail = CString();
    s.last = true;
    return s;
}

TEST_P(ArchiveOverMedium, LoadAcrossBufferBoundariesGivesEveryValue) {
    const Sample expected;
    const ByteBuilder golden = expected.golden();
    ASSERT_GT(golden.size(), 2u * 4096u);
    auto file = source(golden.bytes());
    Sample loaded = blankSample();
    {
        CArchive ar(file.get(), CArchive::load);
        loaded.load(ar);
    }
    expectSameSample(expected, loaded);
    EXPECT_EQ(file->GetPosition(), golden.size());
}

TEST_P(ArchiveOverMedium, StoreAcrossBufferBoundariesGivesGoldenBytes) {
    const Sample sample;
    auto file = sink();
    {
        CArchive ar(file.get(), CArchive::store);
        sample.store(ar);
    }
    EXPECT_BYTES_EQ(sample.golden().bytes(), sinkBytes(*file));
}

TEST_P(ArchiveOverMedium, ReadReturnsTheCountTaken) {
    std::vector<BYTE> bytes(10);
    for (std::size_t k = 0; k < bytes.size(); ++k) {
        bytes[k] = static_cast<BYTE>(0xA0 + k);
    }
    auto file = source(bytes);
    CArchive ar(file.get(), CArchive::load);
    BYTE out[100] = {};
    EXPECT_EQ(ar.Read(out, 4), 4u);
    EXPECT_EQ(out[0], 0xA0);
    EXPECT_EQ(out[3], 0xA3);
    EXPECT_EQ(ar.Read(out, 100), 6u);
    EXPECT_EQ(out[0], 0xA4);
    EXPECT_EQ(out[5], 0xA9);
    EXPECT_EQ(ar.Read(out, 100), 0u);
    EXPECT_EQ(ar.Read(out, 0), 0u);
}

TEST_P(ArchiveOverMedium, ReadOfManyBuffersTakesEveryByte) {
    std::vector<BYTE> bytes(10000);
    for (std::size_t k = 0; k < bytes.size(); ++k) {
        bytes[k] = static_cast<BYTE>(k * 7 + k / 256);
    }
    auto file = source(bytes);
    std::vector<BYTE> out(bytes.size() + 50);
    {
        CArchive ar(file.get(), CArchive::load);
        int lead = 0;
        ar >> lead;  // takes a primitive first, so the buffer holds some bytes
        EXPECT_EQ(ar.Read(out.data() + 4, 5000), 5000u);
        EXPECT_EQ(ar.Read(out.data() + 5004, 5000), 4996u);
        EXPECT_EQ(ar.Read(out.data(), 10), 0u);
        std::memcpy(out.data(), &lead, 4);
    }
    out.resize(bytes.size());
    EXPECT_BYTES_EQ(bytes, out);
}

TEST_P(ArchiveOverMedium, ReadLargerThanBufferAtOnce) {
    std::vector<BYTE> bytes(9000);
    for (std::size_t k = 0; k < bytes.size(); ++k) {
        bytes[k] = static_cast<BYTE>(k % 251);
    }
    auto file = source(bytes);
    std::vector<BYTE> out(bytes.size());
    CArchive ar(file.get(), CArchive::load);
    EXPECT_EQ(ar.Read(out.data(), 9000), 9000u);
    EXPECT_BYTES_EQ(bytes, out);
}

TEST_P(ArchiveOverMedium, PositionAfterLoadArchiveClosesIsBehindWhatWasTaken) {
    const ByteBuilder golden = Sample().golden();
    auto file = source(golden.bytes());
    {
        CArchive ar(file.get(), CArchive::load);
        bool flag = false;
        int first = 0;
        double d = 0;
        ar >> flag >> first >> d;
        ar.Close();
        EXPECT_EQ(file->GetPosition(), 13u);
    }
    EXPECT_EQ(file->GetPosition(), 13u);
    // A second archive goes on from there.
    {
        CArchive ar(file.get(), CArchive::load);
        double d = 0;
        ar >> d;
        EXPECT_BITS_EQ(-2.75, d);
    }
    EXPECT_EQ(file->GetPosition(), 21u);
}

TEST_P(ArchiveOverMedium, PositionAfterDestructorIsBehindWhatWasTaken) {
    const ByteBuilder golden = Sample().golden();
    auto file = source(golden.bytes());
    {
        CArchive ar(file.get(), CArchive::load);
        bool flag = false;
        int first = 0;
        ar >> flag >> first;
    }
    EXPECT_EQ(file->GetPosition(), 5u);
}

TEST_P(ArchiveOverMedium, PositionAfterEndOfFileIsBehindWhatWasTaken) {
    const std::vector<BYTE> bytes = {1, 0, 0, 0, 2, 0};
    auto file = source(bytes);
    int a = 0, b = 0;
    {
        CArchive ar(file.get(), CArchive::load);
        ar >> a;
        EXPECT_THROW(ar >> b, CArchiveException);
    }
    EXPECT_EQ(a, 1);
    EXPECT_EQ(file->GetPosition(), 4u);
}

TEST_P(ArchiveOverMedium, EndOfFileRaisesEndOfFile) {
    const std::vector<BYTE> bytes = {1, 0, 0, 0, 2, 0};
    auto file = source(bytes);
    CArchive ar(file.get(), CArchive::load);
    int a = 0;
    double d = 0;
    ar >> a;
    const CArchiveException e = archiveFailure([&] { ar >> d; });
    EXPECT_EQ(e.m_cause, CArchiveException::endOfFile);
}

TEST_P(ArchiveOverMedium, LargeWriteKeepsOrderWithBufferedValues) {
    std::vector<BYTE> block(10000);
    for (std::size_t k = 0; k < block.size(); ++k) {
        block[k] = static_cast<BYTE>(k % 253);
    }
    ByteBuilder expected;
    expected.i32(1).raw(block).i32(2).raw({0xEE, 0xDD}).i32(3);
    auto file = sink();
    {
        CArchive ar(file.get(), CArchive::store);
        ar << 1;
        ar.Write(block.data(), static_cast<UINT>(block.size()));
        ar << 2;
        const BYTE two[2] = {0xEE, 0xDD};
        ar.Write(two, 2);
        ar << 3;
    }
    EXPECT_BYTES_EQ(expected.bytes(), sinkBytes(*file));
}

TEST_P(ArchiveOverMedium, StoringDestructorFlushes) {
    auto file = sink();
    {
        CArchive ar(file.get(), CArchive::store);
        ar << 0x01020304 << true;
    }
    const std::vector<BYTE> expected = {0x04, 0x03, 0x02, 0x01, 0x01};
    EXPECT_BYTES_EQ(expected, sinkBytes(*file));
}

INSTANTIATE_TEST_SUITE_P(AllMedia, ArchiveOverMedium,
                         testing::Values(Medium::Memory, Medium::Trickle1, Medium::Trickle3,
                                         Medium::Disk),
                         mediumName);

// ---- Buffering of a storing archive ---------------------------------------

TEST(ArchiveBuffering, StoredValuesWaitInTheBufferUntilFlush) {
    CMemFile file;
    CArchive ar(&file, CArchive::store);
    ar << 7 << 2.0;
    EXPECT_EQ(file.GetLength(), 0u);
    ar.Flush();
    ByteBuilder expected;
    expected.i32(7).f64(2.0);
    EXPECT_BYTES_EQ(expected.bytes(), file.Data());
    ar << 8;
    ar.Flush();
    expected.i32(8);
    EXPECT_BYTES_EQ(expected.bytes(), file.Data());
}

TEST(ArchiveBuffering, FlushAddsNoBytes) {
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        ar.Flush();
        ar << 5;
        ar.Flush();
        ar.Flush();
    }
    const std::vector<BYTE> expected = {5, 0, 0, 0};
    EXPECT_BYTES_EQ(expected, file.Data());
}

TEST(ArchiveBuffering, StoringDestructorFlushesWhatWasBuffered) {
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        ar << LONGLONG{-2};
        EXPECT_EQ(file.GetLength(), 0u);
    }
    const std::vector<BYTE> expected = {0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_BYTES_EQ(expected, file.Data());
}

TEST(ArchiveBuffering, CloseFlushesOnceAndDestructorAddsNothing) {
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        ar << 1 << 2;
        ar.Close();
        EXPECT_EQ(file.GetLength(), 8u);
        ar.Close();
        EXPECT_EQ(file.GetLength(), 8u);
    }
    EXPECT_EQ(file.GetLength(), 8u);
}

TEST(ArchiveBuffering, EmptyStoringArchiveWritesNothing) {
    CMemFile file;
    { CArchive ar(&file, CArchive::store); }
    EXPECT_EQ(file.GetLength(), 0u);
}

TEST(ArchiveBuffering, SmallBufferSizeStillGivesSameBytes) {
    const Sample sample;
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store, 1);
        sample.store(ar);
    }
    EXPECT_BYTES_EQ(sample.golden().bytes(), file.Data());
    TrickleFile trickle(file.Data(), 5);
    Sample loaded = blankSample();
    {
        CArchive ar(&trickle, CArchive::load, 1);
        loaded.load(ar);
    }
    expectSameSample(sample, loaded);
}

TEST(ArchiveBuffering, BufferLargerThanTheArchivesOwnRoomGivesTheSameBytes) {
    const Sample sample;
    constexpr int kLargeBuffer = 64 * 1024;
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store, kLargeBuffer);
        sample.store(ar);
    }
    EXPECT_BYTES_EQ(sample.golden().bytes(), file.Data());
    TrickleFile trickle(file.Data(), 3);
    Sample loaded = blankSample();
    {
        CArchive ar(&trickle, CArchive::load, kLargeBuffer);
        loaded.load(ar);
    }
    expectSameSample(sample, loaded);
}

TEST(ArchiveBuffering, MemoryFileLoadsStartAtItsPosition) {
    const std::vector<BYTE> bytes = {9, 9, 9, 9, 0x2A, 0, 0, 0};
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    file.Seek(4, CFile::begin);
    int value = 0;
    {
        CArchive ar(&file, CArchive::load);
        ar >> value;
    }
    EXPECT_EQ(value, 42);
    EXPECT_EQ(file.GetPosition(), 8u);
}

TEST(ArchiveBuffering, StoreThenLoadThroughOneMemoryFile) {
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        ar << 11 << CString(u"MEGCOILQV") << 2.5;
    }
    file.SeekToBegin();
    int i = 0;
    CString s;
    double d = 0;
    {
        CArchive ar(&file, CArchive::load);
        ar >> i >> s >> d;
    }
    EXPECT_EQ(i, 11);
    EXPECT_EQ(s, u"MEGCOILQV");
    EXPECT_BITS_EQ(2.5, d);
    EXPECT_EQ(file.GetPosition(), file.GetLength());
}

// ---- Strings from views, and windows for fixed blocks ----------------------

TEST(ArchiveStrings, WriteStringGivesTheSameBytesAsACString) {
    const std::u16string units{u'M', 0x00E9, u'\0', 0x20AC};
    const std::vector<BYTE> fromView =
        storeToBytes([&](CArchive& ar) { ar.WriteString(std::u16string_view(units)); });
    const std::vector<BYTE> fromString = storeToBytes([&](CArchive& ar) { ar << CString(units); });
    ByteBuilder expected;
    expected.u8(0xFF).u8(0xFE).u8(0xFF).u8(0x04);
    expected.u8(0x4D).u8(0x00).u8(0xE9).u8(0x00).u8(0x00).u8(0x00).u8(0xAC).u8(0x20);
    EXPECT_BYTES_EQ(expected.bytes(), fromView);
    EXPECT_BYTES_EQ(expected.bytes(), fromString);
}

TEST(ArchiveStrings, OneByteLengthEndsAt254UnitsAndTheWordLengthStartsAt255) {
    for (const std::size_t units : {std::size_t{254}, std::size_t{255}}) {
        const std::u16string text(units, u'q');
        const std::vector<BYTE> stored = storeToBytes([&](CArchive& ar) { ar << CString(text); });
        ByteBuilder expected;
        expected.u8(0xFF).u8(0xFE).u8(0xFF);
        if (units == 254) {
            expected.u8(0xFE);
        } else {
            expected.u8(0xFF).u8(0xFF).u8(0x00);
        }
        for (std::size_t i = 0; i < units; ++i) {
            expected.u8(0x71).u8(0x00);
        }
        EXPECT_BYTES_EQ(expected.bytes(), stored) << units << " units";
    }
}

TEST(ArchiveStrings, ShortStringStoredThroughATinyBufferGivesTheSameBytes) {
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store, 1);
        ar << CString(u"MEGSENSORQV");
    }
    ByteBuilder expected;
    expected.u8(0xFF).u8(0xFE).u8(0xFF).u8(0x0B);
    for (char16_t unit : std::u16string(u"MEGSENSORQV")) {
        expected.u8(static_cast<std::uint8_t>(unit)).u8(0x00);
    }
    EXPECT_BYTES_EQ(expected.bytes(), file.Data());
}

TEST(ArchiveStrings, LoadedStringReplacesALongerTextWhole) {
    const std::vector<BYTE> bytes = {0xFF, 0xFE, 0xFF, 0x02, 0x41, 0x00, 0x42, 0x00};
    CString text(u"a much longer text that was there before");
    loadFromBytes(bytes, [&](CArchive& ar) { ar >> text; });
    EXPECT_EQ(text, u"AB");
    EXPECT_EQ(text.GetLength(), 2);
}

TEST(ArchiveStrings, Char16PointerStoresTheWideForm) {
    const std::vector<BYTE> stored = storeToBytes([](CArchive& ar) { ar << u"AB"; });
    const std::vector<BYTE> expected = {0xFF, 0xFE, 0xFF, 0x02, 0x41, 0x00, 0x42, 0x00};
    EXPECT_BYTES_EQ(expected, stored);
}

TEST(ArchiveStrings, ReadStringPayloadAfterLengthPrefix) {
    const std::vector<BYTE> bytes = {0xFF, 0xFE, 0xFF, 0x02, 0x41, 0x00,
                                     0x42, 0x00, 0x03, 0x80, 0x61, 0x62};
    CString wide, narrow;
    const std::size_t taken = loadFromBytes(bytes, [&](CArchive& ar) {
        int charSize = 0;
        UINT_PTR length = AfxReadStringLength(ar, charSize);
        EXPECT_EQ(charSize, 2);
        wide = ar.ReadStringPayload(length, charSize);
        length = AfxReadStringLength(ar, charSize);
        EXPECT_EQ(charSize, 1);
        narrow = ar.ReadStringPayload(length, charSize);
    });
    EXPECT_EQ(wide, u"AB");
    EXPECT_EQ(narrow.str(), (std::u16string{0x20AC, u'a', u'b'}));
    EXPECT_EQ(taken, bytes.size());
}

TEST(ArchiveWindows, TakeWindowHandsOutTheNextBytesOfALoad) {
    const std::vector<BYTE> bytes = {1, 2, 3, 4, 5, 6, 7, 8};
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    {
        CArchive ar(&file, CArchive::load);
        const BYTE* first = ar.TakeWindow(3);
        ASSERT_NE(first, nullptr);
        EXPECT_EQ(first[0], 1);
        EXPECT_EQ(first[2], 3);
        // Not enough left: nothing is taken.
        EXPECT_EQ(ar.TakeWindow(6), nullptr);
        BYTE next = 0;
        EXPECT_EQ(ar.Read(&next, 1), 1u);
        EXPECT_EQ(next, 4);
    }
    EXPECT_EQ(file.GetPosition(), 4u);
}

TEST(ArchiveWindows, TakeWindowOnStoringArchiveGivesNothing) {
    CMemFile file;
    CArchive ar(&file, CArchive::store);
    EXPECT_EQ(ar.TakeWindow(1), nullptr);
}

TEST(ArchiveWindows, PutWindowBytesLandInOrder) {
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        ar << 1;
        BYTE* room = ar.PutWindow(3);
        ASSERT_NE(room, nullptr);
        room[0] = 0xA1;
        room[1] = 0xA2;
        room[2] = 0xA3;
        ar << 2;
    }
    ByteBuilder expected;
    expected.i32(1).u8(0xA1).u8(0xA2).u8(0xA3).i32(2);
    EXPECT_BYTES_EQ(expected.bytes(), file.Data());
}

TEST(ArchiveWindows, PutWindowAcrossManyBuffers) {
    CMemFile file;
    ByteBuilder expected;
    {
        CArchive ar(&file, CArchive::store);
        for (int k = 0; k < 500; ++k) {
            BYTE* room = ar.PutWindow(37);
            ASSERT_NE(room, nullptr);
            for (int j = 0; j < 37; ++j) {
                room[j] = static_cast<BYTE>(k + j);
                expected.u8(static_cast<BYTE>(k + j));
            }
            ar << true;
            expected.u8(1);
        }
    }
    EXPECT_BYTES_EQ(expected.bytes(), file.Data());
}

TEST(ArchiveWindows, PutWindowLargerThanBufferGivesNothing) {
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        EXPECT_EQ(ar.PutWindow(4097), nullptr);
    }
    EXPECT_EQ(file.GetLength(), 0u);
}

TEST(ArchiveWindows, PutWindowOnLoadingArchiveRaisesReadOnly) {
    CMemFile file;
    CArchive ar(&file, CArchive::load);
    const CArchiveException e = archiveFailure([&] { ar.PutWindow(4); });
    EXPECT_EQ(e.m_cause, CArchiveException::readOnly);
}

}  // namespace
