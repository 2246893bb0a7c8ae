#include <fluxgrid/headloc/HeadLocalization.h>

#include "headloc/HeadLocTestSupport.h"
#include "headloc/TrialBlock.h"
#include "support/Harness.h"

#include <cstring>
#include <vector>

namespace {

using namespace fluxgrid::test;
using fluxgrid::headloc::TrialBlock;
using fluxgrid::headloc::TrialSource;

/// The fields and empty first three sections, then a fourth section that
/// announces `announced` steps and holds `count`, from `markedRecord(first)` on.
ByteBuilder stepsUpTo(int first, int count, int announced) {
    ByteBuilder b;
    appendFrameAndFields(b, kWritten, Fields());
    b.i64(0);
    b.i64(0);
    b.i64(0);
    b.i64(announced);
    for (int i = 0; i < count; ++i) {
        appendRecordEntry(b, first + i);
    }
    return b;
}

/// A file whose only entries are `count` steps in fiducialPA, holding
/// `markedRecord(first)` and on.
std::vector<BYTE> stepsFile(int first, int count) {
    ByteBuilder b = stepsUpTo(first, count, count);
    b.i64(0);
    appendMarkedTail(b);
    return b.bytes();
}

/// The blocks that exist beyond those that existed when it was made.
class NewBlocks {
  public:
    std::size_t count() const { return TrialBlock::living() - m_before; }

  private:
    std::size_t m_before = TrialBlock::living();
};

TEST(TrialBlock, TheEntriesOfALoadedSectionLieInOneBlockThatGoesWithThem) {
    const NewBlocks blocks;
    CHeadLocalizationqv hl;
    ASSERT_EQ(1, load(hl, stepsFile(0, 50)));
    ASSERT_EQ(50, hl.fiducialPA.GetSize());
    for (INT_PTR i = 0; i < 50; ++i) {
        expectRecord(hl.fiducialPA, i, static_cast<int>(i));
    }
    EXPECT_EQ(1u, blocks.count());
    hl.cleanFiducialPA();
    EXPECT_EQ(0u, blocks.count());
}

TEST(TrialBlock, EachSectionHasItsOwnBlockAndEachCleaningReleasesItsOwn) {
    const NewBlocks blocks;
    ByteBuilder b;
    appendFrameAndFields(b, kWritten, Fields());
    for (int section = 0; section < 4; ++section) {
        b.i64(2);
        appendRecordEntry(b, 10 * section);
        appendRecordEntry(b, 10 * section + 1);
    }
    b.i64(0);
    appendMarkedTail(b);
    CHeadLocalizationqv hl;
    ASSERT_EQ(1, load(hl, b.bytes()));
    EXPECT_EQ(4u, blocks.count());
    hl.cleanFiducialPA();
    EXPECT_EQ(3u, blocks.count());
    expectRecord(hl.fiducialPt, 1, 21);
    hl.cleanFiducialPt();
    EXPECT_EQ(0u, blocks.count());
}

TEST(TrialBlock, ReleasingOneEntryLeavesTheOthersAndTheBlockGoesWithTheLast) {
    const NewBlocks blocks;
    CHeadLocalizationqv hl;
    ASSERT_EQ(1, load(hl, stepsFile(0, 5)));
    hl.fiducialPA.ReleaseAt(2);
    EXPECT_EQ(nullptr, hl.fiducialPA.GetRecordAt(2));
    EXPECT_EQ(nullptr, hl.fiducialPA.GetFiducialAt(2));
    for (INT_PTR i : {0, 1, 3, 4}) {
        expectRecord(hl.fiducialPA, i, static_cast<int>(i));
    }
    for (INT_PTR i : {4, 0, 3}) {
        hl.fiducialPA.ReleaseAt(i);
        EXPECT_EQ(1u, blocks.count()) << "after releasing entry " << i;
    }
    expectRecord(hl.fiducialPA, 1, 1);
    hl.fiducialPA.ReleaseAt(1);
    EXPECT_EQ(0u, blocks.count());
    EXPECT_EQ(5, hl.fiducialPA.GetSize());
    EXPECT_EQ(0, hl.setHeadLocalizeTime(0));  // a null step
}

#if defined(__SANITIZE_ADDRESS__)
// Under the address sanitizer a released entry's room is marked unusable,
// though its block stays for the others.
TEST(TrialBlockDeathTest, ReadingAReleasedEntryIsCaughtByTheAddressSanitizer) {
    CHeadLocalizationqv hl;
    ASSERT_EQ(1, load(hl, stepsFile(0, 3)));
    const HEAD_LOCATION_TRIAL* released = hl.fiducialPA.GetRecordAt(1);
    hl.fiducialPA.ReleaseAt(1);
    expectRecord(hl.fiducialPA, 2, 2);
    EXPECT_DEATH(
        {
            volatile double value = released->trialValue1;
            (void)value;
        },
        "use-after-poison");
}
#endif

TEST(TrialBlock, ARecordAddedByAHostStandsBesideLoadedOnes) {
    const NewBlocks blocks;
    CHeadLocalizationqv hl;
    ASSERT_EQ(1, load(hl, stepsFile(0, 3)));
    hl.fiducialPA.Add(markedRecord(9));
    const int objectsBefore = CountedFiducial::alive();
    hl.fiducialPA.Add(static_cast<CFiducialqv*>(markedObject(8)));
    EXPECT_EQ(objectsBefore + 1, CountedFiducial::alive());
    expectRecord(hl.fiducialPA, 2, 2);
    expectRecord(hl.fiducialPA, 3, 9);
    EXPECT_EQ(1u, blocks.count());
    hl.cleanFiducialPA();
    EXPECT_EQ(objectsBefore, CountedFiducial::alive());
    EXPECT_EQ(0u, blocks.count());
}

TEST(TrialBlock, ReloadingAUsedObjectReplacesItsEntriesAndTheirBlock) {
    const NewBlocks blocks;
    CHeadLocalizationqv hl;
    ASSERT_EQ(1, load(hl, stepsFile(0, 10)));
    hl.cleanFiducialPA();
    ASSERT_EQ(1, load(hl, stepsFile(100, 7)));
    ASSERT_EQ(7, hl.fiducialPA.GetSize());
    for (INT_PTR i = 0; i < 7; ++i) {
        expectRecord(hl.fiducialPA, i, 100 + static_cast<int>(i));
    }
    EXPECT_EQ(1u, blocks.count());
}

TEST(TrialBlock, AnAssignedObjectSharesNoEntryWithItsSource) {
    const NewBlocks blocks;
    CHeadLocalizationqv target;
    target.fiducialPA.Add(markedRecord(77));
    {
        CHeadLocalizationqv source;
        ASSERT_EQ(1, load(source, stepsFile(0, 4)));
        target = source;
        EXPECT_EQ(1u, blocks.count());
    }
    // The source took its block with it; the target kept its own entry.
    EXPECT_EQ(0u, blocks.count());
    ASSERT_EQ(1, target.fiducialPA.GetSize());
    expectRecord(target.fiducialPA, 0, 77);
    expectSet(markedSet(14), target.fiducialCurrent);
}

TEST(TrialBlock, ARecordCopiedByValueOutlivesItsBlock) {
    CHeadLocalizationqv hl;
    ASSERT_EQ(1, load(hl, stepsFile(0, 4)));
    const HEAD_LOCATION_TRIAL copy = *hl.fiducialPA.GetRecordAt(3);
    hl.cleanFiducialPA();
    EXPECT_BITS_EQ(4.5, copy.trialValue1);
    EXPECT_EQ(43, copy.trialTag);
    expectSet(markedSet(3), copy.trialFiducial);
}

TEST(TrialBlock, AFileThatEndsInAnEntryKeepsTheEntriesBeforeIt) {
    const NewBlocks blocks;
    // Six entries announced, five whole, and the sixth cut in its set.
    ByteBuilder b = stepsUpTo(0, 5, 6);
    ByteBuilder sixth;
    appendRecordEntry(sixth, 5);
    std::vector<BYTE> half = sixth.bytes();
    half.resize(half.size() / 2);
    b.raw(half);
    const std::vector<BYTE>& bytes = b.bytes();
    CHeadLocalizationqv hl;
    try {
        load(hl, bytes);
        FAIL() << "the load did not raise";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(CArchiveException::endOfFile, e.m_cause);
    }
    ASSERT_EQ(5, hl.fiducialPA.GetSize());
    for (INT_PTR i = 0; i < 5; ++i) {
        expectRecord(hl.fiducialPA, i, static_cast<int>(i));
    }
    EXPECT_EQ(1u, blocks.count());
    hl.cleanFiducialPA();
    EXPECT_EQ(0u, blocks.count());
}

TEST(TrialBlock, AFileReadThroughABufferGrowsItsBlocksGeometrically) {
    // The archive sees 4096 bytes at a time, so the first block is sized
    // from those; each next one doubles, so 5000 entries take a handful of
    // blocks, not one per buffer.
    constexpr int kCount = 5000;
    const NewBlocks blocks;
    CHeadLocalizationqv hl;
    TrickleFile file(stepsFile(0, kCount), 4096);
    int result = 0;
    {
        CArchive ar(&file, CArchive::load);
        result = hl.serializeqv(ar);
    }
    ASSERT_EQ(1, result);
    ASSERT_EQ(kCount, hl.fiducialPA.GetSize());
    for (INT_PTR i = 0; i < kCount; i += 499) {
        expectRecord(hl.fiducialPA, i, static_cast<int>(i));
    }
    EXPECT_GT(blocks.count(), 1u);
    EXPECT_LE(blocks.count(), 8u);
    hl.cleanFiducialPA();
    EXPECT_EQ(0u, blocks.count());
}

TEST(TrialSource, ARecordComesZeroFilledWithADefaultConstructedSet) {
    TrialSource source;
    CTrialPtr record = source.next(1, 1);
    ASSERT_NE(nullptr, record);
    EXPECT_BITS_EQ(0.0, record->trialValue1);
    EXPECT_BITS_EQ(0.0, record->trialValue2);
    EXPECT_BITS_EQ(0.0, record->trialValue3);
    EXPECT_EQ(0, record->trialTag);
    const CFiducialqv fresh;
    for (int p = 0; p < 6; ++p) {
        EXPECT_EQ(0, std::memcmp(fresh.fidPts[p].ptValues, record->trialFiducial.fidPts[p].ptValues,
                                 sizeof(fresh.fidPts[p].ptValues)))
            << "point " << p;
    }
    EXPECT_EQ(0,
              std::memcmp(fresh.fidState, record->trialFiducial.fidState, sizeof(fresh.fidState)));
    EXPECT_BITS_EQ(fresh.fidExtra1, record->trialFiducial.fidExtra1);
    EXPECT_EQ(fresh.fidState5, record->trialFiducial.fidState5);
    EXPECT_BITS_EQ(fresh.fidExtra2, record->trialFiducial.fidExtra2);
}

TEST(TrialSource, BlocksDoubleWhenTheEstimateIsLow) {
    const NewBlocks blocks;
    std::vector<CTrialPtr> records;
    {
        TrialSource source;
        for (int i = 0; i < 100; ++i) {
            records.push_back(source.next(1000, 1));
            ASSERT_NE(nullptr, records.back());
        }
    }
    // Blocks of 1, 2, 4, ... 64 hold the first 127 records.
    EXPECT_EQ(7u, blocks.count());
    records.clear();
    EXPECT_EQ(0u, blocks.count());
}

TEST(TrialSource, ABlockNeverHoldsMoreThanWhatRemains) {
    const NewBlocks blocks;
    std::vector<CTrialPtr> records;
    TrialSource source;
    // Three remain at most, however many are expected: a fourth record
    // needs a block of its own.
    for (std::size_t left = 3; left > 0; --left) {
        records.push_back(source.next(left, 1000));
    }
    EXPECT_EQ(1u, blocks.count());
    records.push_back(source.next(1, 1000));
    EXPECT_EQ(2u, blocks.count());
}

TEST(TrialSource, AnOpenBlockStaysUntilItsSourceCloses) {
    const NewBlocks blocks;
    {
        TrialSource source;
        CTrialPtr record = source.next(10, 10);
        record.reset();
        EXPECT_EQ(1u, blocks.count());
    }
    EXPECT_EQ(0u, blocks.count());
}

TEST(TrialSource, AClosedBlockStaysUntilItsLastRecordGoes) {
    const NewBlocks blocks;
    CTrialPtr record;
    {
        TrialSource source;
        record = source.next(10, 10);
    }
    EXPECT_EQ(1u, blocks.count());
    record->trialTag = 5;
    EXPECT_EQ(5, record->trialTag);
    record.reset();
    EXPECT_EQ(0u, blocks.count());
}

TEST(FiducialPtrArrayStorage, AListLongEnoughForPagesOfItsOwnWorksAsAShortOne) {
    // 300,000 elements take more room than the heap gives for the list's
    // storage; it comes from the system instead.
    constexpr INT_PTR kCount = 300000;
    CFiducialPtrArray list;
    list.SetSize(kCount);
    ASSERT_EQ(kCount, list.GetSize());
    EXPECT_EQ(nullptr, list.GetFiducialAt(kCount - 1));
    HEAD_LOCATION_TRIAL* record = markedRecord(6);
    EXPECT_EQ(kCount, list.Add(record));
    EXPECT_EQ(record, list.GetRecordAt(kCount));
    list.SetSize(2);
    EXPECT_EQ(2, list.GetSize());
    list.Reserve(2 * kCount);
    EXPECT_EQ(2, list.Add(markedRecord(7)));
    expectRecord(list, 2, 7);
}

}  // namespace
