// The framework's growable arrays of pointers and of strings.
#include <fluxgrid/platform/Arrays.h>

#include <gtest/gtest.h>

#include <cstdint>

namespace {

void* pointerTo(std::intptr_t n) {
    return reinterpret_cast<void*>(n);
}

TEST(CPtrArray, StartsEmpty) {
    const CPtrArray array;
    EXPECT_EQ(array.GetSize(), 0);
    EXPECT_EQ(array.GetCount(), 0);
    EXPECT_TRUE(array.IsEmpty());
    EXPECT_EQ(array.GetUpperBound(), -1);
}

TEST(CPtrArray, AddReturnsTheNewIndex) {
    CPtrArray array;
    int a = 0, b = 0, c = 0;
    EXPECT_EQ(array.Add(&a), 0);
    EXPECT_EQ(array.Add(&b), 1);
    EXPECT_EQ(array.Add(&c), 2);
    EXPECT_EQ(array.GetSize(), 3);
    EXPECT_EQ(array.GetCount(), 3);
    EXPECT_EQ(array.GetAt(0), &a);
    EXPECT_EQ(array.GetAt(1), &b);
    EXPECT_EQ(array.GetAt(2), &c);
}

TEST(CPtrArray, AddKeepsNullPointers) {
    CPtrArray array;
    EXPECT_EQ(array.Add(nullptr), 0);
    EXPECT_EQ(array.GetSize(), 1);
    EXPECT_EQ(array.GetAt(0), nullptr);
}

TEST(CPtrArray, SetAtReplacesOneElement) {
    CPtrArray array;
    array.Add(pointerTo(1));
    array.Add(pointerTo(2));
    array.SetAt(1, pointerTo(3));
    EXPECT_EQ(array.GetAt(0), pointerTo(1));
    EXPECT_EQ(array.GetAt(1), pointerTo(3));
    EXPECT_EQ(array.GetSize(), 2);
}

TEST(CPtrArray, SubscriptReadsAndWrites) {
    CPtrArray array;
    array.Add(pointerTo(10));
    array[0] = pointerTo(20);
    EXPECT_EQ(array[0], pointerTo(20));
    const CPtrArray& view = array;
    EXPECT_EQ(view[0], pointerTo(20));
}

TEST(CPtrArray, SetSizeGrowsWithNullsAndShrinks) {
    CPtrArray array;
    array.Add(pointerTo(5));
    array.SetSize(4);
    EXPECT_EQ(array.GetSize(), 4);
    EXPECT_EQ(array.GetAt(0), pointerTo(5));
    EXPECT_EQ(array.GetAt(1), nullptr);
    EXPECT_EQ(array.GetAt(3), nullptr);
    array.SetSize(1);
    EXPECT_EQ(array.GetSize(), 1);
    EXPECT_EQ(array.GetAt(0), pointerTo(5));
    array.SetSize(0);
    EXPECT_TRUE(array.IsEmpty());
}

TEST(CPtrArray, SetSizeNegativeThrowsInvalidArg) {
    CPtrArray array;
    EXPECT_THROW(array.SetSize(-1), CInvalidArgException);
}

TEST(CPtrArray, RemoveAllEmptiesAndAddStartsAgainAtZero) {
    CPtrArray array;
    array.Add(pointerTo(1));
    array.Add(pointerTo(2));
    array.RemoveAll();
    EXPECT_EQ(array.GetSize(), 0);
    EXPECT_EQ(array.Add(pointerTo(3)), 0);
}

TEST(CPtrArray, OwnsNothingItPointsTo) {
    int value = 42;
    {
        CPtrArray array;
        array.Add(&value);
        array.RemoveAll();
    }
    EXPECT_EQ(value, 42);
}

TEST(CPtrArray, NegativeIndexThrowsInvalidArg) {
    CPtrArray array;
    array.Add(pointerTo(1));
    EXPECT_THROW(array.GetAt(-1), CInvalidArgException);
    EXPECT_THROW(array.SetAt(-1, nullptr), CInvalidArgException);
    EXPECT_THROW(array[-1], CInvalidArgException);
    EXPECT_THROW(array.ElementAt(-1), CInvalidArgException);
    const CPtrArray& view = array;
    EXPECT_THROW(view[-1], CInvalidArgException);
}

TEST(CPtrArray, IndexAtOrPastSizeThrowsInvalidArg) {
    CPtrArray array;
    array.Add(pointerTo(1));
    array.Add(pointerTo(2));
    EXPECT_THROW(array.GetAt(2), CInvalidArgException);
    EXPECT_THROW(array.GetAt(1000), CInvalidArgException);
    EXPECT_THROW(array.SetAt(2, nullptr), CInvalidArgException);
    EXPECT_THROW(array[2], CInvalidArgException);
    const CPtrArray& view = array;
    EXPECT_THROW(view[2], CInvalidArgException);
    EXPECT_EQ(array.GetSize(), 2);
}

TEST(CPtrArray, AnyIndexOfEmptyArrayThrowsInvalidArg) {
    CPtrArray array;
    EXPECT_THROW(array.GetAt(0), CInvalidArgException);
    EXPECT_THROW(array[0], CInvalidArgException);
}

TEST(CPtrArray, OutOfBoundsIsCaughtAsCException) {
    CPtrArray array;
    EXPECT_THROW(array.GetAt(0), CException);
}

TEST(CPtrArray, RemoveAtAndInsertAt) {
    CPtrArray array;
    for (std::intptr_t k = 0; k < 5; ++k) {
        array.Add(pointerTo(k + 1));
    }
    array.RemoveAt(1, 2);
    ASSERT_EQ(array.GetSize(), 3);
    EXPECT_EQ(array[0], pointerTo(1));
    EXPECT_EQ(array[1], pointerTo(4));
    EXPECT_EQ(array[2], pointerTo(5));
    array.InsertAt(0, pointerTo(9));
    array.InsertAt(4, pointerTo(8));
    ASSERT_EQ(array.GetSize(), 5);
    EXPECT_EQ(array[0], pointerTo(9));
    EXPECT_EQ(array[4], pointerTo(8));
    EXPECT_THROW(array.RemoveAt(4, 2), CInvalidArgException);
    EXPECT_THROW(array.InsertAt(6, nullptr), CInvalidArgException);
}

TEST(CPtrArray, AddingOneMillionElementsKeepsEveryOne) {
    CPtrArray array;
    constexpr std::intptr_t count = 1000000;
    for (std::intptr_t k = 0; k < count; ++k) {
        ASSERT_EQ(array.Add(pointerTo(k)), k);
    }
    EXPECT_EQ(array.GetSize(), count);
    EXPECT_EQ(array.GetAt(0), pointerTo(0));
    EXPECT_EQ(array.GetAt(count / 2), pointerTo(count / 2));
    EXPECT_EQ(array.GetAt(count - 1), pointerTo(count - 1));
    EXPECT_THROW(array.GetAt(count), CInvalidArgException);
}

TEST(CStringArray, AddGetAtAndSize) {
    CStringArray array;
    EXPECT_EQ(array.GetSize(), 0);
    EXPECT_EQ(array.Add(CString(u"MEG001")), 0);
    EXPECT_EQ(array.Add(CString(u"MEG002")), 1);
    EXPECT_EQ(array.GetSize(), 2);
    EXPECT_EQ(array.GetCount(), 2);
    EXPECT_EQ(array.GetAt(0), u"MEG001");
    EXPECT_EQ(array.GetAt(1), u"MEG002");
}

TEST(CStringArray, ElementsAreCopies) {
    CStringArray array;
    CString name(u"Fp1");
    array.Add(name);
    name.SetAt(0, u'X');
    EXPECT_EQ(array.GetAt(0), u"Fp1");
}

TEST(CStringArray, SetAtAndSubscript) {
    CStringArray array;
    array.Add(CString(u"a"));
    array.Add(CString(u"b"));
    array.SetAt(0, CString(u"c"));
    array[1] = CString(u"d");
    EXPECT_EQ(array[0], u"c");
    EXPECT_EQ(array.GetAt(1), u"d");
    const CStringArray& view = array;
    EXPECT_EQ(view[1], u"d");
}

TEST(CStringArray, SetSizeGrowsWithEmptyStrings) {
    CStringArray array;
    array.Add(CString(u"kept"));
    array.SetSize(3);
    EXPECT_EQ(array.GetSize(), 3);
    EXPECT_EQ(array.GetAt(0), u"kept");
    EXPECT_TRUE(array.GetAt(1).IsEmpty());
    EXPECT_TRUE(array.GetAt(2).IsEmpty());
    array.SetSize(1);
    EXPECT_EQ(array.GetSize(), 1);
}

TEST(CStringArray, RemoveAllEmpties) {
    CStringArray array;
    array.Add(CString(u"a"));
    array.RemoveAll();
    EXPECT_EQ(array.GetSize(), 0);
    EXPECT_TRUE(array.IsEmpty());
}

TEST(CStringArray, OutOfBoundsThrowsInvalidArg) {
    CStringArray array;
    array.Add(CString(u"a"));
    EXPECT_THROW(array.GetAt(-1), CInvalidArgException);
    EXPECT_THROW(array.GetAt(1), CInvalidArgException);
    EXPECT_THROW(array.SetAt(-1, CString()), CInvalidArgException);
    EXPECT_THROW(array.SetAt(1, CString()), CInvalidArgException);
    EXPECT_THROW(array[1], CInvalidArgException);
    EXPECT_THROW(array[-1], CInvalidArgException);
    EXPECT_EQ(array.GetAt(0), u"a");
}

TEST(CStringArray, AddingOneMillionElementsKeepsEveryOne) {
    CStringArray array;
    constexpr INT_PTR count = 1000000;
    const CString text(u"Cz");
    for (INT_PTR k = 0; k < count; ++k) {
        ASSERT_EQ(array.Add(text), k);
    }
    EXPECT_EQ(array.GetSize(), count);
    EXPECT_EQ(array.GetAt(count - 1), u"Cz");
}

}  // namespace
