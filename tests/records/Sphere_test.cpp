#include <fluxgrid/records/Sphere.h>

#include "support/Harness.h"
#include "support/RecordBuilders.h"
#include "support/Truncation.h"

#include <type_traits>
#include <typeinfo>

namespace {

using namespace fluxgrid::test;

int loadSphere(CSphereqv& sphere, const std::vector<BYTE>& bytes, std::size_t* taken = nullptr) {
    int result = -1;
    const std::size_t used =
        loadFromBytes(bytes, [&](CArchive& ar) { result = sphere.serialize(ar); });
    if (taken != nullptr) {
        *taken = used;
    }
    return result;
}

TEST(Sphere, DefaultConstructionZeroesEveryNumberAndLeavesTheNameEmpty) {
    const CSphereqv sphere;
    expectSphere(SphereValues{}, sphere);
}

TEST(Sphere, ZeroSphereThenTheFirstThreeValuesAreZeroThreeTimes) {
    CSphereqv sphere;
    fillSphere(sphere, markedSphere(2));
    EXPECT_EQ(1, sphere.zeroSphere());
    EXPECT_BITS_EQ(0.0, sphere.sphereValues[0]);
    EXPECT_BITS_EQ(0.0, sphere.sphereValues[1]);
    EXPECT_BITS_EQ(0.0, sphere.sphereValues[2]);
}

TEST(Sphere, ZeroSphereClearsTheFourthValueAndKeepsTheNumbersAndTheName) {
    CSphereqv sphere;
    fillSphere(sphere, markedSphere(3));
    sphere.zeroSphere();
    SphereValues expected = markedSphere(3);
    for (double& value : expected.values) {
        value = 0.0;
    }
    expectSphere(expected, sphere);
}

TEST(Sphere, CopyAndAssignmentTakeEveryFieldBitForBit) {
    CSphereqv source;
    fillSphere(source, markedSphere(4));
    const CSphereqv copy(source);
    expectSphere(markedSphere(4), copy);
    CSphereqv target;
    fillSphere(target, markedSphere(5));
    target = source;
    expectSphere(markedSphere(4), target);
}

TEST(Sphere, AssignmentThroughTheBaseKeepsTheTargetsClass) {
    CSphereqv source;
    fillSphere(source, markedSphere(6));
    CSphere9File target;
    static_cast<CSphere&>(target) = source;
    const CSphere& asBase = target;
    EXPECT_EQ(typeid(CSphere9File), typeid(asBase));
    expectSphere(markedSphere(6), target);
}

TEST(Sphere, EveryLayerHasAVirtualDestructorAndTheBaseClassData) {
    EXPECT_TRUE(std::has_virtual_destructor_v<CSphere>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CSphere9File>);
    EXPECT_TRUE(std::has_virtual_destructor_v<CSphereqv>);
    EXPECT_EQ(sizeof(CSphere), sizeof(CSphereqv));
}

TEST(Sphere, StoreWritesTheRecordFieldByField) {
    CSphereqv sphere;
    fillSphere(sphere, markedSphere(1));
    int result = -1;
    const std::vector<BYTE> bytes =
        storeToBytes([&](CArchive& ar) { result = sphere.serialize(ar); });
    ByteBuilder expected;
    appendSphere(expected, markedSphere(1));
    EXPECT_EQ(1, result);
    EXPECT_BYTES_EQ(expected.bytes(), bytes);
}

TEST(Sphere, AnEmptySphereTakes68Bytes) {
    CSphereqv sphere;
    const std::vector<BYTE> bytes = storeToBytes([&](CArchive& ar) { sphere.serialize(ar); });
    ByteBuilder expected;
    expected.wide(u"SPHEREQV").i32(20261122);
    ASSERT_EQ(24u, expected.size());
    expected.f64(0.0).f64(0.0).f64(0.0).f64(0.0).i32(0).i32(0).wide(u"");
    EXPECT_EQ(kEmptySphereBytes, expected.size());
    EXPECT_BYTES_EQ(expected.bytes(), bytes);
}

TEST(Sphere, LoadReadsEveryField) {
    ByteBuilder golden;
    appendSphere(golden, markedSphere(7));
    CSphereqv sphere;
    std::size_t taken = 0;
    EXPECT_EQ(1, loadSphere(sphere, golden.bytes(), &taken));
    EXPECT_EQ(golden.size(), taken);
    expectSphere(markedSphere(7), sphere);
}

TEST(Sphere, AnotherMagicOrVersionGivesZeroWithoutAMessageAndLeavesTheSphereAlone) {
    MessageBoxRecorder boxes;
    CSphereqv sphere;
    fillSphere(sphere, markedSphere(1));
    ByteBuilder wrongMagic;
    wrongMagic.wide(u"SPHERE").i32(20261122);
    std::size_t taken = 0;
    EXPECT_EQ(0, loadSphere(sphere, wrongMagic.bytes(), &taken));
    EXPECT_EQ(16u, taken);
    ByteBuilder wrongVersion;
    wrongVersion.wide(u"SPHEREQV").i32(0).f64(1.0);
    EXPECT_EQ(0, loadSphere(sphere, wrongVersion.bytes(), &taken));
    EXPECT_EQ(24u, taken);
    EXPECT_TRUE(boxes.boxes().empty());
    expectSphere(markedSphere(1), sphere);
}

TEST(Sphere, EveryShorterPrefixRaisesEndOfFile) {
    ByteBuilder golden;
    appendSphere(golden, markedSphere(8));
    expectEveryTruncationRaisesEndOfFile(golden.bytes(), [](CArchive& ar) {
        CSphereqv sphere;
        sphere.serialize(ar);
    });
}

}  // namespace
