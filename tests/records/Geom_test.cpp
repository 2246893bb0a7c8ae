#include <fluxgrid/records/Geom.h>

#include "support/FieldFill.h"

#include <gtest/gtest.h>

namespace {

// Every field a distinct value from `base`; the first word is `base` + 1
// and the first text "text A".
void fill(CGeomqv& g, int base) {
    fluxgrid::test::fillFields(g, base);
    g.geomWordA = base + 1;
    g.geomTextA = CString("text A");
}

void expectAllFieldsEq(const CGeomqv& expected, const CGeomqv& actual) {
    fluxgrid::test::expectFieldsEq(expected, actual);
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
