#include <fluxgrid/records/Fiducial.h>

#include "support/Harness.h"
#include "support/RecordBuilders.h"
#include "support/Truncation.h"

#include <type_traits>
#include <typeinfo>

namespace {

using namespace fluxgrid::test;

int loadSet(CFiducialqv& set, const std::vector<BYTE>& bytes, std::size_t* taken = nullptr) {
    int result = -1;
    const std::size_t used =
        loadFromBytes(bytes, [&](CArchive& ar) { result = set.serialize(ar); });
    if (taken != nullptr) {
        *taken = used;
    }
    return result;
}

TEST(Fiducial, DefaultConstructionZeroesEveryNumberAndEveryPoint) {
    const CFiducialqv set;
    expectSet(SetValues{}, set);
}

TEST(Fiducial, CopyingASetAndMovingAPointInTheCopyLeavesTheSourceAsItWas) {
    CFiducialqv source;
    fillSet(source, markedSet(1));
    CFiducialqv copy(source);
    copy.fidPts[2].setFidPtPosition(-1.0, -2.0, -3.0);
    expectSet(markedSet(1), source);
    EXPECT_BITS_EQ(-1.0, copy.fidPts[2].ptValues[4]);
    EXPECT_BITS_EQ(-2.0, copy.fidPts[2].ptValues[5]);
    EXPECT_BITS_EQ(-3.0, copy.fidPts[2].ptValues[6]);
}

TEST(Fiducial, AssigningASetToAFileLayerTargetKeepsItsClassAndTakesEveryField) {
    CFiducialqv source;
    fillSet(source, markedSet(2));
    CFiducial9File target;
    fillSet(target, markedSet(5));
    static_cast<CFiducial&>(target) = source;
    const CFiducial& asBase = target;
    EXPECT_EQ(typeid(CFiducial9File), typeid(asBase));
    // All six points, fidState, fidExtra1, fidState5 and fidExtra2.
    expectSet(markedSet(2), target);
}

TEST(Fiducial, AssignmentOfTheFinalClassTakesEveryField) {
    CFiducialqv source;
    fillSet(source, markedSet(3));
    CFiducialqv target;
    fillSet(target, markedSet(4));
    target = source;
    expectSet(markedSet(3), target);
}

TEST(Fiducial, SetFidPtPositionOnPointOneChangesNoOtherPoint) {
    CFiducialqv set;
    fillSet(set, markedSet(6));
    EXPECT_EQ(1, set.fidPts[1].setFidPtPosition(1.0, 2.0, 3.0));
    SetValues expected = markedSet(6);
    expected.points[1].values[4] = 1.0;
    expected.points[1].values[5] = 2.0;
    expected.points[1].values[6] = 3.0;
    expectSet(expected, set);
}

TEST(Fiducial, ResetAllFiducialPtZeroesTheSixPointsAndKeepsTheSetsNumbers) {
    CFiducialqv set;
    fillSet(set, markedSet(7));
    EXPECT_EQ(1, set.resetAllFiducialPt());
    SetValues expected = markedSet(7);
    for (PointValues& point : expected.points) {
        point = PointValues{};
    }
    expectSet(expected, set);
}

TEST(Fiducial, EveryLayerHasAVirtualDestructorAndTheBaseClassData) {
    EXPECT_TRUE(std::has_virtual_destructor_v<CFiducial>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CFiducial02Prcs>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CFiducial03Operator>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CFiducial9File>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CFiducialqv>);
    EXPECT_EQ(sizeof(CFiducial), sizeof(CFiducialqv));
}

TEST(Fiducial, StoreWritesTheSetAndItsSixPointRecordsInIndexOrder) {
    CFiducialqv set;
    fillSet(set, markedSet(2));
    int result = -1;
    const std::vector<BYTE> bytes = storeToBytes([&](CArchive& ar) { result = set.serialize(ar); });
    ByteBuilder expected;
    appendSet(expected, markedSet(2));
    EXPECT_EQ(1, result);
    EXPECT_BYTES_EQ(expected.bytes(), bytes);
}

TEST(Fiducial, AnEmptySetTakes1492Bytes) {
    CFiducialqv set;
    const std::vector<BYTE> bytes = storeToBytes([&](CArchive& ar) { set.serialize(ar); });
    ByteBuilder expected;
    expected.wide(u"FIDUCIALQV").i32(20261122);
    ASSERT_EQ(28u, expected.size());
    for (int p = 0; p < 6; ++p) {
        appendPoint(expected, PointValues{});
    }
    expected.i32(0).i32(0).i32(0).i32(0).f64(0.0).i32(0).f64(0.0);
    EXPECT_EQ(kEmptySetBytes, expected.size());
    EXPECT_BYTES_EQ(expected.bytes(), bytes);
}

TEST(Fiducial, LoadReadsEveryFieldOfTheSetAndItsPoints) {
    ByteBuilder golden;
    appendSet(golden, markedSet(8));
    CFiducialqv set;
    std::size_t taken = 0;
    EXPECT_EQ(1, loadSet(set, golden.bytes(), &taken));
    EXPECT_EQ(golden.size(), taken);
    expectSet(markedSet(8), set);
}

TEST(Fiducial, AnotherMagicGivesZeroWithoutAMessageAndLeavesTheSetAlone) {
    ByteBuilder golden;
    golden.wide(u"FIDUCIALQ").i32(20261122);
    MessageBoxRecorder boxes;
    CFiducialqv set;
    fillSet(set, markedSet(1));
    std::size_t taken = 0;
    EXPECT_EQ(0, loadSet(set, golden.bytes(), &taken));
    EXPECT_EQ(22u, taken);
    EXPECT_TRUE(boxes.boxes().empty());
    expectSet(markedSet(1), set);
}

TEST(Fiducial, AnotherVersionGivesZeroWithoutAMessageAndLeavesTheSetAlone) {
    ByteBuilder golden;
    golden.wide(u"FIDUCIALQV").i32(20261121);
    appendPoint(golden, markedPoint(3));
    MessageBoxRecorder boxes;
    CFiducialqv set;
    fillSet(set, markedSet(1));
    std::size_t taken = 0;
    EXPECT_EQ(0, loadSet(set, golden.bytes(), &taken));
    EXPECT_EQ(28u, taken);
    EXPECT_TRUE(boxes.boxes().empty());
    expectSet(markedSet(1), set);
}

TEST(Fiducial, ARefusedPointEndsTheSetWithZeroAndKeepsThePointsReadBefore) {
    const SetValues loaded = markedSet(3);
    ByteBuilder golden;
    golden.wide(u"FIDUCIALQV").i32(20261122);
    appendPoint(golden, loaded.points[0]);
    appendPoint(golden, loaded.points[1]);
    golden.wide(u"SPHEREQV").i32(20261122);
    MessageBoxRecorder boxes;
    CFiducialqv set;
    fillSet(set, markedSet(1));
    std::size_t taken = 0;
    EXPECT_EQ(0, loadSet(set, golden.bytes(), &taken));
    // Two points named with three units each, then the third one's magic.
    EXPECT_EQ(28u + 2 * (238 + 6) + 20, taken);
    EXPECT_TRUE(boxes.boxes().empty());
    SetValues expected = markedSet(1);
    expected.points[0] = loaded.points[0];
    expected.points[1] = loaded.points[1];
    expectSet(expected, set);
}

TEST(Fiducial, EveryShorterPrefixRaisesEndOfFile) {
    ByteBuilder golden;
    appendSet(golden, markedSet(4));
    MessageBoxRecorder boxes;
    expectEveryTruncationRaisesEndOfFile(golden.bytes(), [](CArchive& ar) {
        CFiducialqv set;
        set.serialize(ar);
    });
    EXPECT_TRUE(boxes.boxes().empty());
}

}  // namespace
