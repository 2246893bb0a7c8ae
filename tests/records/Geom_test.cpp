#include <fluxgrid/records/Geom.h>

#include <gtest/gtest.h>

namespace {

void fill(CGeomqv& g, int base) {
    g.geomWordA = base + 1;
    g.geomWordB = base + 2;
    g.geomWordC = base + 3;
    g.geomFlag = base + 4;
    g.geomTextA = CString("text A");
    g.geomTextB = CString("text B");
    g.geomTextC = CString("text C");
    g.geomTextD = CString("text D");
    g.geomTailA = base + 5;
    g.geomTailB = base + 6;
    g.geomTailC = base + 7;
}

void expectAllFieldsEq(const CGeomqv& expected, const CGeomqv& actual) {
    EXPECT_EQ(expected.geomWordA, actual.geomWordA);
    EXPECT_EQ(expected.geomWordB, actual.geomWordB);
    EXPECT_EQ(expected.geomWordC, actual.geomWordC);
    EXPECT_EQ(expected.geomFlag, actual.geomFlag);
    EXPECT_EQ(expected.geomTextA, actual.geomTextA);
    EXPECT_EQ(expected.geomTextB, actual.geomTextB);
    EXPECT_EQ(expected.geomTextC, actual.geomTextC);
    EXPECT_EQ(expected.geomTextD, actual.geomTextD);
    EXPECT_EQ(expected.geomTailA, actual.geomTailA);
    EXPECT_EQ(expected.geomTailB, actual.geomTailB);
    EXPECT_EQ(expected.geomTailC, actual.geomTailC);
}

TEST(Geom, DefaultConstructorZeroesEveryWordAndLeavesTextsEmpty) {
    const CGeomqv g;
    EXPECT_EQ(g.geomWordA, 0);
    EXPECT_EQ(g.geomWordB, 0);
    EXPECT_EQ(g.geomWordC, 0);
    EXPECT_EQ(g.geomFlag, 0);
    EXPECT_TRUE(g.geomTextA.IsEmpty());
    EXPECT_TRUE(g.geomTextB.IsEmpty());
    EXPECT_TRUE(g.geomTextC.IsEmpty());
    EXPECT_TRUE(g.geomTextD.IsEmpty());
    EXPECT_EQ(g.geomTailA, 0);
    EXPECT_EQ(g.geomTailB, 0);
    EXPECT_EQ(g.geomTailC, 0);
}

TEST(Geom, WordsAreThirtyTwoBitIntegers) {
    static_assert(sizeof(CGeomqv::geomWordA) == 4);
    static_assert(sizeof(CGeomqv::geomFlag) == 4);
    static_assert(sizeof(CGeomqv::geomTailC) == 4);
    CGeomqv g;
    g.geomWordA = -1;
    EXPECT_EQ(g.geomWordA, -1);
}

TEST(Geom, CopyConstructorCopiesEveryField) {
    CGeomqv source;
    fill(source, 100);
    const CGeomqv copy(source);
    expectAllFieldsEq(source, copy);
}

TEST(Geom, AssignmentCopiesEveryFieldAndLeavesTheSourceAlone) {
    CGeomqv source;
    fill(source, 100);
    CGeomqv target;
    fill(target, 900);
    target.geomTextD = CString("other");
    target = source;
    expectAllFieldsEq(source, target);
    target.geomTextA = CString("changed");
    target.geomWordA = 5;
    EXPECT_EQ(source.geomTextA, "text A");
    EXPECT_EQ(source.geomWordA, 101);
}

}  // namespace
