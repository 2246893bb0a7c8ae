#include <fluxgrid/platform/CString.h>
#include <fluxgrid/platform/Exceptions.h>

#include <gtest/gtest.h>

#include <sstream>
#include <string>

namespace {

// The code units of a string, for exact comparison with what a test expects.
std::u16string unitsOf(const CString& text) {
    std::u16string out;
    for (int i = 0; i < text.GetLength(); ++i) {
        out.push_back(text.GetAt(i));
    }
    return out;
}

TEST(CString, DefaultIsEmptyWithLengthZero) {
    const CString text;
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(text.GetLength(), 0);
    EXPECT_EQ(text.GetString()[0], u'\0');
}

TEST(CString, FromUtf8CharPointerDecodesToUtf16) {
    // "Grüße €": ü and ß take two UTF-8 bytes, € three; each is one unit.
    const CString text(
        "Gr\xC3\xBC\xC3\x9F"
        "e \xE2\x82\xAC");
    EXPECT_EQ(text.GetLength(), 7);
    EXPECT_EQ(unitsOf(text), (std::u16string{u'G', u'r', 0x00FC, 0x00DF, u'e', u' ', 0x20AC}));
}

TEST(CString, FromUtf8StdStringDecodesToUtf16) {
    const std::string utf8 = "\xC3\xA9t\xC3\xA9";  // "été"
    const CString text(utf8);
    EXPECT_EQ(unitsOf(text), (std::u16string{0x00E9, u't', 0x00E9}));
}

TEST(CString, FromUtf8FourByteSequenceBecomesSurrogatePair) {
    const CString text(
        "a\xF0\x9F\x98\x80"
        "b");  // U+1F600 between two letters
    EXPECT_EQ(text.GetLength(), 4);
    EXPECT_EQ(unitsOf(text), (std::u16string{u'a', 0xD83D, 0xDE00, u'b'}));
}

TEST(CString, FromUtf8MalformedSequenceBecomesReplacementCharacter) {
    // A lead byte without its continuation, and a lone continuation byte.
    const CString text(
        "x\xC3"
        "y\x80z");
    EXPECT_EQ(unitsOf(text), (std::u16string{u'x', 0xFFFD, u'y', 0xFFFD, u'z'}));
}

TEST(CString, FromUtf8NullPointerIsEmpty) {
    const CString text(static_cast<const char*>(nullptr));
    EXPECT_TRUE(text.IsEmpty());
}

TEST(CString, FromChar16PointerTakesUnitsAsTheyAre) {
    const CString text(u"MEGCOILQV");
    EXPECT_EQ(text.GetLength(), 9);
    EXPECT_EQ(unitsOf(text), std::u16string(u"MEGCOILQV"));
}

TEST(CString, FromU16StringKeepsEmbeddedZeroUnits) {
    const std::u16string units{u'A', u'\0', u'B', u'\0'};
    const CString text(units);
    EXPECT_EQ(text.GetLength(), 4);
    EXPECT_EQ(text.GetAt(1), u'\0');
    EXPECT_EQ(text.GetAt(2), u'B');
    EXPECT_EQ(text.GetAt(3), u'\0');
    EXPECT_EQ(text.str(), units);
}

TEST(CString, FromPointerAndLengthKeepsEmbeddedZeroUnits) {
    const char16_t units[] = {u'x', u'\0', u'y'};
    const CString text(units, 3);
    EXPECT_EQ(text.GetLength(), 3);
    EXPECT_EQ(unitsOf(text), std::u16string(units, 3));
}

TEST(CString, FromWideUtf32ConvertsNonBmpToSurrogatePair) {
    // wchar_t is UTF-32 here: U+1D11E (musical G clef) becomes D834 DD1E.
    const CString text(L"G\U0001D11E\u00E9");
    EXPECT_EQ(text.GetLength(), 4);
    EXPECT_EQ(unitsOf(text), (std::u16string{u'G', 0xD834, 0xDD1E, 0x00E9}));
}

TEST(CString, FromWideHighestCodePointBecomesDbffDfff) {
    const wchar_t text[] = {static_cast<wchar_t>(0x10FFFF), 0};
    EXPECT_EQ(unitsOf(CString(text)), (std::u16string{0xDBFF, 0xDFFF}));
}

TEST(CString, GetLengthCountsCodeUnitsNotCharactersNorBytes) {
    // One character outside the BMP: 4 UTF-8 bytes, 2 code units.
    EXPECT_EQ(CString("\xF0\x9F\x98\x80").GetLength(), 2);
    // Two characters of two UTF-8 bytes each: 2 code units.
    EXPECT_EQ(CString("\xC3\xA4\xC3\xB6").GetLength(), 2);
}

TEST(CString, GetAtOutOfRangeThrowsInvalidArg) {
    const CString text(u"ab");
    EXPECT_THROW(text.GetAt(-1), CInvalidArgException);
    EXPECT_THROW(text.GetAt(2), CInvalidArgException);
}

TEST(CString, SetAtReplacesOneUnit) {
    CString text(u"abc");
    text.SetAt(1, u'\0');
    EXPECT_EQ(unitsOf(text), (std::u16string{u'a', u'\0', u'c'}));
    EXPECT_THROW(text.SetAt(3, u'x'), CInvalidArgException);
}

TEST(CString, GetStringIsZeroTerminatedUnits) {
    const CString text(u"\u00C5ngstr\u00F6m");
    const char16_t* units = text.GetString();
    EXPECT_EQ(std::u16string(units), u"\u00C5ngstr\u00F6m");
    EXPECT_EQ(units[text.GetLength()], u'\0');
}

TEST(CString, FormatDecimalInteger) {
    CString text;
    text.Format("%d", -2147483647 - 1);
    EXPECT_EQ(text, u"-2147483648");
}

TEST(CString, FormatUtf8StringArgument) {
    CString text;
    text.Format("[%s]",
                "\xE2\x82\xAC"
                "5");  // "€5"
    EXPECT_EQ(unitsOf(text), (std::u16string{u'[', 0x20AC, u'5', u']'}));
}

TEST(CString, FormatGeneralFloatingPoint) {
    CString text;
    text.Format("%g|%g|%g", 0.5, 1e-7, 123456789.0);
    EXPECT_EQ(text, u"0.5|1e-07|1.23457e+08");
}

TEST(CString, FormatMixedArgumentsAsInAMessage) {
    CString text;
    text.Format("Coil %d of %s: %g cm", 8, "MEGCOILQV", 2.25);
    EXPECT_EQ(text, "Coil 8 of MEGCOILQV: 2.25 cm");
}

TEST(CString, FormatReplacesEarlierContent) {
    CString text(u"old text that is longer");
    text.Format("%d", 7);
    EXPECT_EQ(text, u"7");
}

TEST(CString, FormatLongOutputIsComplete) {
    const std::string word(1000, 'q');
    CString text;
    text.Format("<%s>", word.c_str());
    EXPECT_EQ(text.GetLength(), 1002);
    EXPECT_EQ(text.GetAt(0), u'<');
    EXPECT_EQ(text.GetAt(500), u'q');
    EXPECT_EQ(text.GetAt(1001), u'>');
}

TEST(CString, FormatEmptyResultIsEmpty) {
    CString text(u"x");
    text.Format("%s", "");
    EXPECT_TRUE(text.IsEmpty());
}

TEST(CString, ToUtf8EncodesEveryPlane) {
    const CString text(std::u16string{u'A', 0x00E9, 0x20AC, 0xD83D, 0xDE00});
    EXPECT_EQ(text.ToUtf8(), "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
}

TEST(CString, ToUtf8LoneSurrogateBecomesReplacementCharacter) {
    const CString text(std::u16string{u'a', 0xD800, u'b', 0xDC00});
    EXPECT_EQ(text.ToUtf8(),
              "a\xEF\xBF\xBD"
              "b\xEF\xBF\xBD");
}

TEST(CString, ToUtf8KeepsEmbeddedZero) {
    const CString text(std::u16string{u'a', u'\0', u'b'});
    EXPECT_EQ(text.ToUtf8(), std::string("a\0b", 3));
}

TEST(CString, Utf8RoundTripIsExact) {
    const std::string utf8 =
        "Gr\xC3\xBC\xC3\x9F"
        "e \xE2\x82\xAC \xF0\x9F\x98\x80";
    EXPECT_EQ(CString(utf8).ToUtf8(), utf8);
}

TEST(CString, EqualityWithCString) {
    EXPECT_TRUE(CString(u"abc") == CString("abc"));
    EXPECT_FALSE(CString(u"abc") == CString("abd"));
    EXPECT_TRUE(CString(u"abc") != CString("ab"));
    EXPECT_FALSE(CString(u"abc") != CString(u"abc"));
}

TEST(CString, EqualityWithUtf8Pointer) {
    const CString text(u"\u00E9t\u00E9");
    EXPECT_TRUE(text == "\xC3\xA9t\xC3\xA9");
    EXPECT_FALSE(text == "ete");
    EXPECT_TRUE(text != "ete");
    EXPECT_TRUE("\xC3\xA9t\xC3\xA9" == text);
}

TEST(CString, EqualityWithChar16Pointer) {
    const CString text(u"MEGCOILQV");
    EXPECT_TRUE(text == u"MEGCOILQV");
    EXPECT_TRUE(text != u"MEGCOILqv");
    EXPECT_FALSE(text == u"MEGCOILQ");
    EXPECT_TRUE(u"MEGCOILQV" == text);
}

TEST(CString, ComparisonCountsLetterCase) {
    EXPECT_NE(CString(u"MEGCOILQV"), CString(u"megcoilqv"));
}

TEST(CString, EmbeddedZeroTakesPartInComparison) {
    const CString withZero(std::u16string{u'a', u'\0', u'b'});
    EXPECT_NE(withZero, CString(u"a"));
    EXPECT_TRUE(withZero != u"a");
    EXPECT_EQ(withZero, CString(std::u16string{u'a', u'\0', u'b'}));
    EXPECT_NE(withZero, CString(std::u16string{u'a', u'\0', u'c'}));
}

TEST(CString, OrderingIsByCodeUnits) {
    EXPECT_LT(CString(u"abc"), CString(u"abd"));
    EXPECT_LT(CString(u"ab"), CString(u"abc"));
    EXPECT_GT(CString(u"b"), CString(u"abc"));
    EXPECT_EQ(CString(u"abc").Compare(CString(u"abc")), 0);
    EXPECT_LT(CString(u"A").Compare(CString(u"a")), 0);
}

TEST(CString, StreamOutputIsUtf8) {
    std::ostringstream out;
    out << CString(u"Gr\u00FC\u00DFe \u20AC") << '|' << CString();
    EXPECT_EQ(out.str(),
              "Gr\xC3\xBC\xC3\x9F"
              "e \xE2\x82\xAC|");
}

TEST(CString, ConcatenationAppendsUnits) {
    CString text(u"MEG");
    text += CString(u"COIL");
    EXPECT_EQ(text, u"MEGCOIL");
    EXPECT_EQ(text + CString(u"QV"), u"MEGCOILQV");
    EXPECT_EQ(text, u"MEGCOIL");
}

TEST(CString, LeftMidRightTakeUnitRanges) {
    const CString text(u"HEADLOCATIONTRIAL");
    EXPECT_EQ(text.Left(4), u"HEAD");
    EXPECT_EQ(text.Mid(4, 8), u"LOCATION");
    EXPECT_EQ(text.Mid(12), u"TRIAL");
    EXPECT_EQ(text.Right(5), u"TRIAL");
    EXPECT_EQ(text.Left(100), text);
    EXPECT_EQ(text.Right(0), u"");
}

TEST(CString, FindReturnsUnitIndexOrMinusOne) {
    const CString text(u"MEGSENSORQV");
    EXPECT_EQ(text.Find(CString(u"SENSOR")), 3);
    EXPECT_EQ(text.Find(CString(u"QV"), 4), 9);
    EXPECT_EQ(text.Find(CString(u"COIL")), -1);
    EXPECT_EQ(text.Find(CString(u"M"), 1), -1);
}

TEST(CString, EmptyClearsText) {
    CString text(u"abc");
    text.Empty();
    EXPECT_TRUE(text.IsEmpty());
    EXPECT_EQ(text.GetLength(), 0);
}

TEST(CString, CopiesAreIndependent) {
    CString original(u"abc");
    CString copy = original;
    copy.SetAt(0, u'z');
    EXPECT_EQ(original, u"abc");
    EXPECT_EQ(copy, u"zbc");
}

}  // namespace
