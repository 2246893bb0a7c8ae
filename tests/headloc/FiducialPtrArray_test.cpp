#include <fluxgrid/headloc/FiducialPtrArray.h>

#include "headloc/HeadLocTestSupport.h"
#include "support/Harness.h"

namespace {

using namespace fluxgrid::test;

TEST(FiducialPtrArray, ANewListIsEmpty) {
    const CFiducialPtrArray list;
    EXPECT_EQ(0, list.GetSize());
    EXPECT_EQ(0, list.GetCount());
    EXPECT_TRUE(list.IsEmpty());
}

TEST(FiducialPtrArray, AddAppendsEachKindAndReturnsItsIndex) {
    CFiducialPtrArray list;
    EXPECT_EQ(0, list.Add(static_cast<CFiducialqv*>(markedObject(1))));
    EXPECT_EQ(1, list.Add(markedRecord(2)));
    EXPECT_EQ(2, list.Add(nullptr));
    EXPECT_EQ(3, list.Add(static_cast<CFiducialqv*>(nullptr)));
    EXPECT_EQ(4, list.Add(static_cast<HEAD_LOCATION_TRIAL*>(nullptr)));
    EXPECT_EQ(5, list.GetSize());
}

TEST(FiducialPtrArray, AnObjectStandsForItselfAndIsNoRecord) {
    CFiducialPtrArray list;
    CFiducialqv* object = markedObject(1);
    list.Add(object);
    EXPECT_EQ(object, list.GetFiducialAt(0));
    EXPECT_EQ(nullptr, list.GetRecordAt(0));
}

TEST(FiducialPtrArray, ARecordStandsForItsTrialFiducial) {
    CFiducialPtrArray list;
    HEAD_LOCATION_TRIAL* record = markedRecord(3);
    list.Add(record);
    EXPECT_EQ(record, list.GetRecordAt(0));
    EXPECT_EQ(&record->trialFiducial, list.GetFiducialAt(0));
}

TEST(FiducialPtrArray, ANullElementStandsForNothing) {
    CFiducialPtrArray list;
    list.Add(nullptr);
    list.Add(static_cast<CFiducialqv*>(nullptr));
    list.Add(static_cast<HEAD_LOCATION_TRIAL*>(nullptr));
    for (INT_PTR i = 0; i < 3; ++i) {
        EXPECT_EQ(nullptr, list.GetFiducialAt(i)) << i;
        EXPECT_EQ(nullptr, list.GetRecordAt(i)) << i;
    }
}

TEST(FiducialPtrArray, AnIndexOutOfBoundsRaisesInvalidArgument) {
    CFiducialPtrArray list;
    EXPECT_THROW(list.GetFiducialAt(0), CInvalidArgException);
    EXPECT_THROW(list.GetRecordAt(0), CInvalidArgException);
    EXPECT_THROW(list.ReleaseAt(0), CInvalidArgException);
    list.Add(markedRecord(1));
    list.Add(nullptr);
    EXPECT_THROW(list.GetFiducialAt(2), CInvalidArgException);
    EXPECT_THROW(list.GetFiducialAt(-1), CInvalidArgException);
    EXPECT_THROW(list.GetRecordAt(2), CInvalidArgException);
    EXPECT_THROW(list.GetRecordAt(-1), CInvalidArgException);
    EXPECT_THROW(list.ReleaseAt(2), CInvalidArgException);
    EXPECT_THROW(list.ReleaseAt(-1), CInvalidArgException);
    EXPECT_EQ(2, list.GetSize());
}

TEST(FiducialPtrArray, ReleaseAtReleasesTheElementAndLeavesANullInItsPlace) {
    const int before = CountedFiducial::alive();
    CFiducialPtrArray list;
    list.Add(static_cast<CFiducialqv*>(markedObject(1)));
    list.Add(markedRecord(2));
    list.Add(static_cast<CFiducialqv*>(markedObject(3)));
    EXPECT_EQ(before + 2, CountedFiducial::alive());
    list.ReleaseAt(0);
    list.ReleaseAt(1);
    EXPECT_EQ(before + 1, CountedFiducial::alive());
    EXPECT_EQ(3, list.GetSize());
    EXPECT_EQ(nullptr, list.GetFiducialAt(0));
    EXPECT_EQ(nullptr, list.GetFiducialAt(1));
    EXPECT_EQ(nullptr, list.GetRecordAt(1));
    expectSet(markedSet(3), *list.GetFiducialAt(2));
}

TEST(FiducialPtrArray, SetSizeZeroReleasesEveryElement) {
    const int before = CountedFiducial::alive();
    CFiducialPtrArray list;
    list.Add(static_cast<CFiducialqv*>(markedObject(1)));
    list.Add(markedRecord(2));
    list.Add(static_cast<CFiducialqv*>(markedObject(3)));
    list.SetSize(0);
    EXPECT_EQ(0, list.GetSize());
    EXPECT_EQ(before, CountedFiducial::alive());
}

TEST(FiducialPtrArray, SetSizeReleasesWhatItDropsAndAddsNullElements) {
    const int before = CountedFiducial::alive();
    CFiducialPtrArray list;
    list.Add(static_cast<CFiducialqv*>(markedObject(1)));
    list.Add(static_cast<CFiducialqv*>(markedObject(2)));
    list.SetSize(1);
    EXPECT_EQ(before + 1, CountedFiducial::alive());
    list.SetSize(3);
    EXPECT_EQ(3, list.GetSize());
    expectSet(markedSet(1), *list.GetFiducialAt(0));
    EXPECT_EQ(nullptr, list.GetFiducialAt(1));
    EXPECT_EQ(nullptr, list.GetFiducialAt(2));
    EXPECT_THROW(list.SetSize(-1), CInvalidArgException);
    EXPECT_EQ(3, list.GetSize());
}

TEST(FiducialPtrArray, RemoveAllReleasesEveryElement) {
    const int before = CountedFiducial::alive();
    CFiducialPtrArray list;
    list.Add(static_cast<CFiducialqv*>(markedObject(1)));
    list.Add(nullptr);
    list.Add(markedRecord(2));
    list.RemoveAll();
    EXPECT_TRUE(list.IsEmpty());
    EXPECT_EQ(before, CountedFiducial::alive());
}

TEST(FiducialPtrArray, TheDestructorReleasesWhatIsLeft) {
    const int before = CountedFiducial::alive();
    {
        CFiducialPtrArray list;
        list.Add(static_cast<CFiducialqv*>(markedObject(1)));
        list.Add(markedRecord(2));
        list.Add(static_cast<CFiducialqv*>(markedObject(3)));
        EXPECT_EQ(before + 2, CountedFiducial::alive());
    }
    EXPECT_EQ(before, CountedFiducial::alive());
}

TEST(FiducialPtrArray, ElementsKeepTheirPlaceWhileTheListGrows) {
    CFiducialPtrArray list;
    HEAD_LOCATION_TRIAL* first = markedRecord(1);
    list.Add(first);
    for (int i = 0; i < 100; ++i) {
        list.Add(nullptr);
    }
    EXPECT_EQ(first, list.GetRecordAt(0));
    EXPECT_EQ(1.5 + 1, list.GetRecordAt(0)->trialValue1);
}

}  // namespace
