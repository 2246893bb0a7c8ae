#include <fluxgrid/records/FiduciaryPt.h>

#include "support/Harness.h"
#include "support/RecordBuilders.h"
#include "support/Truncation.h"

#include <type_traits>
#include <typeinfo>

namespace {

using namespace fluxgrid::test;

int loadPoint(CFiduciaryPtqv& point, const std::vector<BYTE>& bytes, std::size_t* taken = nullptr) {
    int result = -1;
    const std::size_t used =
        loadFromBytes(bytes, [&](CArchive& ar) { result = point.serialize(ar); });
    if (taken != nullptr) {
        *taken = used;
    }
    return result;
}

TEST(FiduciaryPt, DefaultConstructionZeroesEveryNumberAndLeavesTheNameEmpty) {
    const CFiduciaryPtqv point;
    expectPoint(PointValues{}, point);
    EXPECT_TRUE(point.ptName.IsEmpty());
}

TEST(FiduciaryPt, SetFidPtPositionWritesElementsFourFiveAndSixOnly) {
    CFiduciaryPtqv point;
    EXPECT_EQ(1, point.setFidPtPosition(1.5, -2.5, 3.5));
    PointValues expected;
    expected.values[4] = 1.5;
    expected.values[5] = -2.5;
    expected.values[6] = 3.5;
    expectPoint(expected, point);
}

TEST(FiduciaryPt, CopyConstructionTakesEveryFieldBitForBit) {
    CFiduciaryPtqv source;
    fillPoint(source, markedPoint(3));
    const CFiduciaryPtqv copy(source);
    expectPoint(markedPoint(3), copy);
}

TEST(FiduciaryPt, AssignmentTakesEveryFieldBitForBit) {
    CFiduciaryPtqv source;
    fillPoint(source, markedPoint(4));
    CFiduciaryPtqv target;
    fillPoint(target, markedPoint(9));
    target = source;
    expectPoint(markedPoint(4), target);
}

TEST(FiduciaryPt, AssignmentThroughALayerKeepsTheTargetsClass) {
    CFiduciaryPtqv source;
    fillPoint(source, markedPoint(5));
    CFiduciaryPt9File target;
    static_cast<CFiduciaryPt&>(target) = source;
    const CFiduciaryPt& asBase = target;
    EXPECT_EQ(typeid(CFiduciaryPt9File), typeid(asBase));
    expectPoint(markedPoint(5), target);
}

TEST(FiduciaryPt, EveryLayerHasAVirtualDestructorAndTheBaseClassData) {
    EXPECT_TRUE(std::has_virtual_destructor_v<CFiduciaryPt>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CFiduciaryPt02Prcs>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CFiduciaryPt9File>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CFiduciaryPtqv>);
    EXPECT_EQ(sizeof(CFiduciaryPt), sizeof(CFiduciaryPtqv));
}

TEST(FiduciaryPt, DestroyingThroughTheBaseClassDestroysTheWholeRecord) {
    CFiduciaryPt* point = new CFiduciaryPtqv();
    point->ptName = CString("A name long enough to take memory of its own");
    const CFiduciaryPt& ref = *point;
    EXPECT_EQ(typeid(CFiduciaryPtqv), typeid(ref));
    delete point;  // the sanitizer build reports the name's buffer if it leaks
}

TEST(FiduciaryPt, StoreWritesTheRecordFieldByField) {
    CFiduciaryPtqv point;
    fillPoint(point, markedPoint(2));
    int result = -1;
    const std::vector<BYTE> bytes =
        storeToBytes([&](CArchive& ar) { result = point.serialize(ar); });
    ByteBuilder expected;
    appendPoint(expected, markedPoint(2));
    EXPECT_EQ(1, result);
    EXPECT_BYTES_EQ(expected.bytes(), bytes);
}

TEST(FiduciaryPt, AnEmptyPointTakes238Bytes) {
    CFiduciaryPtqv point;
    const std::vector<BYTE> bytes = storeToBytes([&](CArchive& ar) { point.serialize(ar); });
    ByteBuilder expected;
    expected.wide(u"FIDUCIARYPTQV").i32(20261122);
    ASSERT_EQ(34u, expected.size());
    for (int i = 0; i < 16 + 2 + 4; ++i) {
        expected.f64(0.0);
    }
    expected.i32(0).i32(0).i32(0).f64(0.0).i32(0).wide(u"");
    EXPECT_EQ(kEmptyPointBytes, expected.size());
    EXPECT_BYTES_EQ(expected.bytes(), bytes);
}

TEST(FiduciaryPt, LoadReadsEveryFieldAndTheWholeRecord) {
    ByteBuilder golden;
    appendPoint(golden, markedPoint(7));
    CFiduciaryPtqv point;
    std::size_t taken = 0;
    EXPECT_EQ(1, loadPoint(point, golden.bytes(), &taken));
    EXPECT_EQ(golden.size(), taken);
    expectPoint(markedPoint(7), point);
}

TEST(FiduciaryPt, LoadDeliveredInSmallPiecesReadsTheSame) {
    ByteBuilder golden;
    appendPoint(golden, markedPoint(8));
    TrickleFile file(golden.bytes(), 3);
    CFiduciaryPtqv point;
    int result = -1;
    {
        CArchive ar(&file, CArchive::load, 64);
        result = point.serialize(ar);
    }
    EXPECT_EQ(1, result);
    expectPoint(markedPoint(8), point);
}

TEST(FiduciaryPt, AnotherMagicGivesZeroWithoutAMessageAndLeavesThePointAlone) {
    ByteBuilder golden;
    golden.wide(u"FIDUCIARYPTQW").i32(20261122);
    MessageBoxRecorder boxes;
    CFiduciaryPtqv point;
    fillPoint(point, markedPoint(1));
    std::size_t taken = 0;
    EXPECT_EQ(0, loadPoint(point, golden.bytes(), &taken));
    EXPECT_EQ(30u, taken);  // just behind the string
    EXPECT_TRUE(boxes.boxes().empty());
    expectPoint(markedPoint(1), point);
}

TEST(FiduciaryPt, AMagicInOtherLetterCaseIsRefused) {
    ByteBuilder golden;
    golden.wide(u"FiduciaryPtQV").i32(20261122);
    MessageBoxRecorder boxes;
    CFiduciaryPtqv point;
    EXPECT_EQ(0, loadPoint(point, golden.bytes()));
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST(FiduciaryPt, AnotherVersionGivesZeroWithoutAMessageAndLeavesThePointAlone) {
    ByteBuilder golden;
    appendPoint(golden, markedPoint(6));
    std::vector<BYTE> bytes = golden.bytes();
    ASSERT_EQ(0x02, bytes[30]);  // version 20261122 is 02 29 35 01
    bytes[30] = 0x03;            // 20261123
    MessageBoxRecorder boxes;
    CFiduciaryPtqv point;
    fillPoint(point, markedPoint(1));
    std::size_t taken = 0;
    EXPECT_EQ(0, loadPoint(point, bytes, &taken));
    EXPECT_EQ(34u, taken);  // just behind the version
    EXPECT_TRUE(boxes.boxes().empty());
    expectPoint(markedPoint(1), point);
}

TEST(FiduciaryPt, ANarrowMagicWithTheSameLettersMatches) {
    ByteBuilder golden;
    golden.narrow("FIDUCIARYPTQV").i32(20261122);
    ByteBuilder body;
    appendPoint(body, markedPoint(2));
    const std::vector<BYTE> tail(body.bytes().begin() + 34, body.bytes().end());
    golden.raw(tail);
    CFiduciaryPtqv point;
    EXPECT_EQ(1, loadPoint(point, golden.bytes()));
    expectPoint(markedPoint(2), point);
}

TEST(FiduciaryPt, EveryShorterPrefixRaisesEndOfFile) {
    ByteBuilder golden;
    appendPoint(golden, markedPoint(3));
    MessageBoxRecorder boxes;
    expectEveryTruncationRaisesEndOfFile(golden.bytes(), [](CArchive& ar) {
        CFiduciaryPtqv point;
        point.serialize(ar);
    });
    EXPECT_TRUE(boxes.boxes().empty());
}

}  // namespace
