// Every kind of the library's table is loadable, storable and fuzzed: the
// table is walked, never restated, so a kind added to it is held to all of
// this at once.
#include <fluxgrid/frame/FileKinds.h>
#include <fluxgrid/io/FileObjects.h>
#include <fluxgrid/io/Files.h>

#include <gtest/gtest.h>

#include <filesystem>
#include <set>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace {

namespace fs = std::filesystem;
using fluxgrid::FileKind;
using fluxgrid::fileKindInfo;
using fluxgrid::FileObjectOf;
using fluxgrid::kFileKinds;

// The fuzz corpora beside the sources; the io tests run in tests/io.
const fs::path kCorpora = "../../fuzz/corpus";

// Releases the entries that a head localization's lists hold, as a host
// must; nothing for the other kinds.
template <class T>
void release(T& object) {
    if constexpr (std::is_same_v<T, CHeadLocalizationqv>) {
        object.cleanFiducialPA();
        object.cleanFiducialPARaw();
        object.cleanFiducialPt();
    }
}

TEST(FileKinds, EveryKindOfTheTableHoldsItsOwnClassAndBackAgain) {
    std::set<std::string> classes;
    fluxgrid::forEachFileKind([&]<FileKind Kind>() {
        using Object = typename FileObjectOf<Kind>::type;
        EXPECT_EQ(fluxgrid::kFileKindOf<Object>, Kind);
        EXPECT_EQ(fileKindInfo(Kind).kind, Kind);
        classes.insert(typeid(Object).name());
    });
    EXPECT_EQ(classes.size(), kFileKinds.size());
}

TEST(FileKinds, EveryKindStoresAsItsNewestVersionAndLoadsBackIntoItsClass) {
    int walked = 0;
    fluxgrid::forEachFileKind([&]<FileKind Kind>() {
        ++walked;
        using Object = typename FileObjectOf<Kind>::type;
        const fluxgrid::FileKindInfo& info = fileKindInfo(Kind);
        Object object;
        const auto stored = fluxgrid::storeBytes(object);
        ASSERT_TRUE(stored.ok()) << info.word << ": " << stored.error().describe();
        const auto header = fluxgrid::readHeader(*stored);
        ASSERT_TRUE(header.ok()) << info.word;
        EXPECT_EQ(header->kind, Kind) << info.word;
        EXPECT_EQ(header->version, info.written) << info.word;

        auto loaded = fluxgrid::loadBytes(*stored, std::string(info.word));
        ASSERT_TRUE(loaded.ok()) << info.word << ": " << loaded.error().describe();
        EXPECT_EQ(loaded->kind, Kind) << info.word;
        EXPECT_EQ(loaded->version, info.written) << info.word;
        EXPECT_EQ(loaded->consumed, stored->size()) << info.word;
        Object* back = loaded->template get<Object>();
        ASSERT_NE(back, nullptr) << info.word;
        const auto again = fluxgrid::storeBytes(*back);
        ASSERT_TRUE(again.ok()) << info.word;
        EXPECT_EQ(*again, *stored) << info.word;
        release(*back);
        release(object);
    });
    EXPECT_EQ(walked, static_cast<int>(kFileKinds.size()));
}

TEST(FileKinds, EveryKindHasAFuzzCorpusNamedByItsWord) {
    for (const fluxgrid::FileKindInfo& info : kFileKinds) {
        const fs::path corpus = kCorpora / std::string(info.word);
        ASSERT_TRUE(fs::is_directory(corpus)) << corpus;
        EXPECT_FALSE(fs::is_empty(corpus)) << corpus;
    }
}

}  // namespace
