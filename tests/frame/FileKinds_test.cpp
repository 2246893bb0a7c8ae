// The kind table against the entries of the six final classes: every
// version the table accepts reaches its body, every other one meets the
// kind's bad-version box, and each entry accepts exactly its kind's magic
// and writes it with the written version.
#include <fluxgrid/element/MagCoil.h>
#include <fluxgrid/element/MagVapor.h>
#include <fluxgrid/frame/FileKinds.h>
#include <fluxgrid/headloc/HeadLocalization.h>
#include <fluxgrid/platform/Exceptions.h>
#include <fluxgrid/sensor/MEGSensor.h>
#include <fluxgrid/sensor/MegOpm.h>
#include <fluxgrid/sensor/MegSquid.h>

#include "support/ByteBuilder.h"
#include "support/Harness.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

using fluxgrid::FileKind;
using fluxgrid::FileKindInfo;
using fluxgrid::fileKindInfo;
using fluxgrid::kFileKinds;
using fluxgrid::test::ByteBuilder;
using fluxgrid::test::MessageBoxRecorder;
using fluxgrid::test::storeToBytes;

// The entry of each kind over a fresh object, in either direction.
int runEntry(FileKind kind, CArchive& ar) {
    switch (kind) {
        case FileKind::coil: {
            CMagCoilqv object;
            return object.serializeqv(ar);
        }
        case FileKind::vapor: {
            CMagVaporqv object;
            return object.serializeqv(ar);
        }
        case FileKind::squid: {
            CMegSquidqv object;
            return object.serialize(ar);
        }
        case FileKind::opm: {
            CMegOpmqv object;
            return object.serialize(ar);
        }
        case FileKind::sensor: {
            CMEGSensorqv object;
            return object.serializeqv(ar);
        }
        case FileKind::headloc: {
            CHeadLocalizationqv object;
            return object.serializeqv(ar);
        }
    }
    throw std::logic_error("no such kind");
}

// The words each entry shows for a wrong magic and for a wrong version.
struct Words {
    const char* word;
    const char16_t* expectedMagic;
    const char* badMagic;
    const char* badVersion;
};

Words wordsOf(FileKind kind) {
    constexpr const char* kNotMegFile = "The opened file is not MEG file or corrupted!";
    switch (kind) {
        case FileKind::coil:
            return {"coil", u"MEGCOILQV", kNotMegFile, "Wrong file format!!?"};
        case FileKind::vapor:
            return {"vapor", u"AMOPMQV", kNotMegFile, "Wrong AMOPM file format!!?"};
        case FileKind::squid:
            return {"squid", u"MSQUIDQV", kNotMegFile, "Wrong MSQUID file format!!?"};
        case FileKind::opm:
            return {"opm", u"MEGOPMQV", kNotMegFile, "Wrong MSQUID file format!!?"};
        case FileKind::sensor:
            return {"sensor", u"MEGSENSORQV",
                    "The opened file is not MEG sensor file or corrupted!", "Wrong file format!!?"};
        case FileKind::headloc:
            return {"headloc", u"HEADLOCATIONTRIAL",
                    "The opened file is not trial head localization!",
                    "Wrong file format int CHeadLocalization09File!!?"};
    }
    throw std::logic_error("no such kind");
}

std::vector<BYTE> frameOf(std::u16string_view magic, int version) {
    ByteBuilder bytes;
    bytes.wide(std::u16string(magic)).i32(version);
    return bytes.bytes();
}

// What a load of `bytes` through the entry of `kind` came to.
struct Outcome {
    bool endOfFile = false;
    int result = -1;
    std::vector<std::string> boxes;
};

Outcome load(FileKind kind, const std::vector<BYTE>& bytes) {
    MessageBoxRecorder recorder;
    Outcome outcome;
    CMemFile file(bytes.data(), static_cast<UINT>(bytes.size()));
    try {
        CArchive ar(&file, CArchive::load);
        outcome.result = runEntry(kind, ar);
    } catch (const CArchiveException& e) {
        outcome.endOfFile = e.m_cause == CArchiveException::endOfFile;
    }
    outcome.boxes = recorder.texts();
    return outcome;
}

std::string nameOf(const FileKindInfo& info) {
    return std::string(info.word);
}

TEST(FileKinds, TableIsInTheOrderOfTheEnumWithTheMagicsOfTheFiles) {
    for (std::size_t i = 0; i < kFileKinds.size(); ++i) {
        const FileKindInfo& info = kFileKinds[i];
        SCOPED_TRACE(nameOf(info));
        EXPECT_EQ(static_cast<std::size_t>(info.kind), i);
        EXPECT_EQ(&fileKindInfo(info.kind), &info);
        EXPECT_EQ(info.word, wordsOf(info.kind).word);
        EXPECT_EQ(info.magic, std::u16string_view(wordsOf(info.kind).expectedMagic));
        EXPECT_EQ(fluxgrid::fileKindOfMagic(info.magic), info.kind);
        EXPECT_TRUE(info.accepts(info.written));
        EXPECT_EQ(info.accepted.back(), info.written);
    }
}

TEST(FileKinds, MagicOfAKindIsFoundWithItsLetterCaseOnly) {
    EXPECT_EQ(fluxgrid::fileKindOfMagic(u"MEGSENSORQV"), FileKind::sensor);
    EXPECT_FALSE(fluxgrid::fileKindOfMagic(u"MEGSENSORQv").has_value());
    EXPECT_FALSE(fluxgrid::fileKindOfMagic(u"MEGSENSORQ").has_value());
    EXPECT_FALSE(fluxgrid::fileKindOfMagic(u"").has_value());
}

TEST(FileKinds, AcceptedVersionsReadAsAListInWords) {
    EXPECT_EQ(fluxgrid::acceptedVersionList(fileKindInfo(FileKind::coil)),
              "20080102, 20091117, 20140513 and 20211230");
    EXPECT_EQ(fluxgrid::acceptedVersionList(fileKindInfo(FileKind::vapor)),
              "20190121 and 20211230");
    EXPECT_EQ(fluxgrid::acceptedVersionList(fileKindInfo(FileKind::squid)), "20190201");
    EXPECT_EQ(fluxgrid::acceptedVersionList(fileKindInfo(FileKind::headloc)),
              "20090606, 20110217 and 20160320");
}

// A frame of an accepted version and nothing behind it: the entry goes on
// into the body, which ends at once, and no box is shown.
TEST(FileKinds, EveryAcceptedVersionReachesTheBodyWithoutABox) {
    for (const FileKindInfo& info : kFileKinds) {
        for (int version : info.accepted) {
            SCOPED_TRACE(nameOf(info) + " " + std::to_string(version));
            const Outcome outcome = load(info.kind, frameOf(info.magic, version));
            EXPECT_TRUE(outcome.endOfFile);
            EXPECT_TRUE(outcome.boxes.empty());
        }
    }
}

// Every version of another kind that this kind does not accept, and a few
// that no kind has: the entry shows the kind's bad-version words and reads
// nothing further.
TEST(FileKinds, EveryVersionNotAcceptedMeetsTheKindsBadVersionBox) {
    std::set<int> candidates = {0, -1, 1};
    for (const FileKindInfo& info : kFileKinds) {
        candidates.insert(info.accepted.begin(), info.accepted.end());
        candidates.insert(info.written + 1);
        candidates.insert(info.accepted.front() - 1);
    }
    for (const FileKindInfo& info : kFileKinds) {
        int refused = 0;
        for (int version : candidates) {
            if (info.accepts(version)) {
                continue;
            }
            ++refused;
            SCOPED_TRACE(nameOf(info) + " " + std::to_string(version));
            const Outcome outcome = load(info.kind, frameOf(info.magic, version));
            EXPECT_FALSE(outcome.endOfFile);
            EXPECT_EQ(outcome.boxes, std::vector<std::string>{wordsOf(info.kind).badVersion});
        }
        EXPECT_GE(refused, 5) << nameOf(info);
    }
}

TEST(FileKinds, SensorRefusesVersion20190201ThoughItHasABody) {
    const FileKindInfo& sensor = fileKindInfo(FileKind::sensor);
    EXPECT_FALSE(sensor.accepts(20190201));
    const Outcome outcome = load(FileKind::sensor, frameOf(sensor.magic, 20190201));
    EXPECT_FALSE(outcome.endOfFile);
    EXPECT_EQ(outcome.result, 0);
    EXPECT_EQ(outcome.boxes, std::vector<std::string>{"Wrong file format!!?"});
}

// Each entry takes its own kind's magic and shows its bad-magic words for
// the magic of every other kind.
TEST(FileKinds, EachEntryAcceptsTheMagicOfItsKindAndNoOther) {
    for (const FileKindInfo& entry : kFileKinds) {
        for (const FileKindInfo& frame : kFileKinds) {
            SCOPED_TRACE(nameOf(entry) + " given the magic of " + nameOf(frame));
            // Version 0 is accepted by no kind, so a magic that passes
            // shows the bad-version words instead.
            const Outcome outcome = load(entry.kind, frameOf(frame.magic, 0));
            EXPECT_FALSE(outcome.endOfFile);
            const Words words = wordsOf(entry.kind);
            EXPECT_EQ(outcome.boxes,
                      std::vector<std::string>{entry.kind == frame.kind ? words.badVersion
                                                                        : words.badMagic});
        }
    }
}

// A store of each final class opens with its kind's magic and the version
// the table says it writes, as the wide string form puts them down.
TEST(FileKinds, StoreOfEachFinalClassOpensWithItsMagicAndWrittenVersion) {
    for (const FileKindInfo& info : kFileKinds) {
        SCOPED_TRACE(nameOf(info));
        int result = -1;
        const std::vector<BYTE> stored =
            storeToBytes([&](CArchive& ar) { result = runEntry(info.kind, ar); });
        EXPECT_EQ(result, 1);

        ByteBuilder expected;
        expected.u8(0xFF).u8(0xFE).u8(0xFF).u8(static_cast<BYTE>(info.magic.size()));
        for (char16_t unit : info.magic) {
            expected.u16(static_cast<std::uint16_t>(unit));
        }
        expected.i32(info.written);
        ASSERT_GT(stored.size(), expected.size());
        const std::vector<BYTE> head(stored.begin(),
                                     stored.begin() + static_cast<std::ptrdiff_t>(expected.size()));
        EXPECT_BYTES_EQ(expected.bytes(), head);
    }
}

}  // namespace
