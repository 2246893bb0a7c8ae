#include <fluxgrid/headloc/HeadLocalization.h>

#include "headloc/HeadLocTestSupport.h"
#include "support/Harness.h"
#include "support/Truncation.h"

#include <string>
#include <vector>

namespace {

using namespace fluxgrid::test;

// ---------------------------------------------------------------------------
// Golden files, built field by field from the layout.

/// The entry of an object-kind element holding `markedSet(seed)`.
void appendObjectEntry(ByteBuilder& b, int seed) {
    b.i32(1);
    b.f64(0.0);
    b.f64(0.0);
    b.f64(0.0);
    b.i32(0);
    appendSet(b, markedSet(seed));
}

Fields markedFields() {
    Fields f;
    f.type = 2;
    f.param = 5;
    f.mode = 1;
    f.time = 7;
    f.averaged = 1;
    f.value = -3.5;
    f.text = u"trial text";
    return f;
}

/// A file with entries in all four sections, a null entry in section 2 and
/// labels. `section3Tag` is the presence tag of the entry of section 3;
/// without `nullInSection2` the null entry is left out.
std::vector<BYTE> richFile(int version, int section3Tag = 1, bool nullInSection2 = true) {
    ByteBuilder b;
    appendFrameAndFields(b, version, markedFields());
    b.i64(1);  // section 1: the first entry of fiducialPA
    appendRecordEntry(b, 4);
    b.i64(nullInSection2 ? 2 : 1);  // section 2
    appendRecordEntry(b, 2);
    if (nullInSection2) {
        appendAbsentEntry(b);
    }
    b.i64(1);  // section 3
    appendRecordEntry(b, 3, section3Tag);
    b.i64(2);  // section 4
    appendRecordEntry(b, 4);
    appendObjectEntry(b, 5);
    b.i64(3);  // labels
    b.wide(u"left");
    b.wide(u"");
    b.wide(u"right");
    appendMarkedTail(b);
    return b.bytes();
}

/// The object whose store gives `richFile(20160320)`.
void fillRichObject(CHeadLocalizationqv& hl) {
    const Fields f = markedFields();
    hl.headLocalType = f.type;
    hl.headLocalParam = f.param;
    hl.fidWorkMode = f.mode;
    hl.headLocalizeTime = f.time;
    hl.fiducialAveraged = f.averaged;
    hl.headLocalValue = f.value;
    hl.headLocalText = CString(f.text);
    hl.fiducialPtRaw.Add(markedRecord(50));  // never reaches the file
    hl.fiducialPARaw.Add(markedRecord(2));
    hl.fiducialPARaw.Add(nullptr);
    hl.fiducialPt.Add(markedRecord(3));
    hl.fiducialPA.Add(markedRecord(4));
    hl.fiducialPA.Add(static_cast<CFiducialqv*>(markedObject(5)));
    hl.headLocalLabels.Add(CString("left"));
    hl.headLocalLabels.Add(CString(""));
    hl.headLocalLabels.Add(CString("right"));
    fillSphere(hl.sensorLocation, markedSphere(1));
    fillSphere(hl.sensorRotation, markedSphere(2));
    fillSet(hl.fiducialFirst, markedSet(11));
    fillSet(hl.fiducialSecond, markedSet(12));
    fillSet(hl.fiducialThird, markedSet(13));
    fillSet(hl.fiducialCurrent, markedSet(14));
}

// ---------------------------------------------------------------------------
// Checks of a loaded object.

void expectObjectRecord(const CFiducialPtrArray& list, INT_PTR index, int seed) {
    SCOPED_TRACE("entry " + std::to_string(index));
    const HEAD_LOCATION_TRIAL* record = list.GetRecordAt(index);
    ASSERT_NE(nullptr, record);
    EXPECT_BITS_EQ(0.0, record->trialValue1);
    EXPECT_BITS_EQ(0.0, record->trialValue2);
    EXPECT_BITS_EQ(0.0, record->trialValue3);
    EXPECT_EQ(0, record->trialTag);
    expectSet(markedSet(seed), record->trialFiducial);
}

void expectMarkedTail(const CHeadLocalization& hl) {
    expectSphere(markedSphere(1), hl.sensorLocation);
    expectSphere(markedSphere(2), hl.sensorRotation);
    expectSet(markedSet(11), hl.fiducialFirst);
    expectSet(markedSet(12), hl.fiducialSecond);
    expectSet(markedSet(13), hl.fiducialThird);
    expectSet(markedSet(14), hl.fiducialCurrent);
}

void expectRichObject(const CHeadLocalization& hl) {
    const Fields f = markedFields();
    EXPECT_EQ(f.type, hl.headLocalType);
    EXPECT_EQ(f.param, hl.headLocalParam);
    EXPECT_EQ(f.mode, hl.fidWorkMode);
    EXPECT_EQ(f.time, hl.headLocalizeTime);
    EXPECT_EQ(f.averaged, hl.fiducialAveraged);
    EXPECT_BITS_EQ(f.value, hl.headLocalValue);
    EXPECT_EQ(CString(f.text), hl.headLocalText);
    ASSERT_EQ(1, hl.fiducialPtRaw.GetSize());
    expectRecord(hl.fiducialPtRaw, 0, 4);
    ASSERT_EQ(1, hl.fiducialPARaw.GetSize());  // the null entry is gone
    expectRecord(hl.fiducialPARaw, 0, 2);
    ASSERT_EQ(1, hl.fiducialPt.GetSize());
    expectRecord(hl.fiducialPt, 0, 3);
    ASSERT_EQ(2, hl.fiducialPA.GetSize());
    expectRecord(hl.fiducialPA, 0, 4);
    expectObjectRecord(hl.fiducialPA, 1, 5);
    ASSERT_EQ(3, hl.headLocalLabels.GetSize());
    EXPECT_EQ(CString("left"), hl.headLocalLabels[0]);
    EXPECT_EQ(CString(""), hl.headLocalLabels[1]);
    EXPECT_EQ(CString("right"), hl.headLocalLabels[2]);
    expectMarkedTail(hl);
}

std::vector<BYTE> store(CHeadLocalizationqv& hl, int* result) {
    return storeToBytes([&](CArchive& ar) { *result = hl.serializeqv(ar); });
}

// ---------------------------------------------------------------------------
// Storing

TEST(HeadLocalizationFile, AnEmptyObjectsFileHasItsFirstSphereRecordAtOffset114) {
    CHeadLocalizationqv hl;
    int result = -1;
    const std::vector<BYTE> bytes = store(hl, &result);

    ByteBuilder expected;
    appendFrameAndFields(expected, kWritten, Fields{});
    ASSERT_EQ(74u, expected.size());
    for (int count = 0; count < 5; ++count) {
        expected.i64(0);
    }
    ASSERT_EQ(114u, expected.size());
    appendSphere(expected, SphereValues{});
    appendSphere(expected, SphereValues{});
    for (int set = 0; set < 4; ++set) {
        appendSet(expected, SetValues{});
    }
    EXPECT_EQ(114u + 2 * kEmptySphereBytes + 4 * kEmptySetBytes, expected.size());
    EXPECT_EQ(1, result);
    EXPECT_BYTES_EQ(expected.bytes(), bytes);
}

TEST(HeadLocalizationFile, TheFrameIsTheMagicAndVersion20160320) {
    CHeadLocalizationqv hl;
    int result = -1;
    const std::vector<BYTE> bytes = store(hl, &result);
    const std::vector<BYTE> frame = {
        0xFF, 0xFE, 0xFF, 0x11,                          // wide tag, 17 units
        'H',  0,    'E',  0,    'A', 0, 'D', 0, 'L', 0,  // HEADL
        'O',  0,    'C',  0,    'A', 0, 'T', 0, 'I', 0,  // OCATI
        'O',  0,    'N',  0,    'T', 0, 'R', 0, 'I', 0,  // ONTRI
        'A',  0,    'L',  0,                             // AL
        0x40, 0x9F, 0x33, 0x01,                          // 20160320
    };
    ASSERT_GE(bytes.size(), frame.size());
    EXPECT_BYTES_EQ(frame, std::vector<BYTE>(bytes.begin(), bytes.begin() + 42));
}

TEST(HeadLocalizationFile, EntriesInAllFourSectionsAreWrittenAsTheLayoutSays) {
    CHeadLocalizationqv hl;
    fillRichObject(hl);
    int result = -1;
    const std::vector<BYTE> bytes = store(hl, &result);
    EXPECT_EQ(1, result);
    EXPECT_BYTES_EQ(richFile(kWritten), bytes);
    // A store changes nothing in the object.
    EXPECT_EQ(1, hl.fiducialPtRaw.GetSize());
    expectRecord(hl.fiducialPtRaw, 0, 50);
    EXPECT_EQ(2, hl.fiducialPARaw.GetSize());
    EXPECT_EQ(2, hl.fiducialPA.GetSize());
    EXPECT_EQ(7, hl.headLocalizeTime);
}

TEST(HeadLocalizationFile, OneRawEntryAndNoStepWritesCountOneAndThenRaises) {
    CHeadLocalizationqv hl;
    hl.fiducialPtRaw.Add(markedRecord(1));
    bool raised = false;
    const std::vector<BYTE> bytes = storeToBytes([&](CArchive& ar) {
        try {
            hl.serializeqv(ar);
        } catch (const CInvalidArgException&) {
            raised = true;
        }
    });
    EXPECT_TRUE(raised);
    ByteBuilder expected;
    appendFrameAndFields(expected, kWritten, Fields{});
    expected.i64(1);
    EXPECT_BYTES_EQ(expected.bytes(), bytes);
    ASSERT_EQ(1, hl.fiducialPtRaw.GetSize());
    expectRecord(hl.fiducialPtRaw, 0, 1);
    EXPECT_EQ(0, hl.fiducialPA.GetSize());
}

TEST(HeadLocalizationFile, TwoStepsAndNoRawEntryWriteSectionOneEmptyAndSectionFourOfTwo) {
    CHeadLocalizationqv hl;
    hl.fiducialPA.Add(markedRecord(1));
    hl.fiducialPA.Add(markedRecord(2));
    int result = -1;
    const std::vector<BYTE> bytes = store(hl, &result);
    ByteBuilder expected;
    appendFrameAndFields(expected, kWritten, Fields{});
    expected.i64(0);
    expected.i64(0);
    expected.i64(0);
    expected.i64(2);
    appendRecordEntry(expected, 1);
    appendRecordEntry(expected, 2);
    expected.i64(0);
    appendSphere(expected, SphereValues{});
    appendSphere(expected, SphereValues{});
    for (int set = 0; set < 4; ++set) {
        appendSet(expected, SetValues{});
    }
    EXPECT_EQ(1, result);
    EXPECT_BYTES_EQ(expected.bytes(), bytes);
}

// ---------------------------------------------------------------------------
// Loading

TEST(HeadLocalizationFile, AFileWithEntriesInAllFourSectionsLoadsFieldByField) {
    CHeadLocalizationqv hl;
    const std::vector<BYTE> bytes = richFile(kWritten);
    std::size_t taken = 0;
    EXPECT_EQ(1, load(hl, bytes, &taken));
    EXPECT_EQ(bytes.size(), taken);
    expectRichObject(hl);
}

class HeadLocalizationFileVersion : public ::testing::TestWithParam<int> {};

TEST_P(HeadLocalizationFileVersion, EachVersionLoadsByTheSameLayout) {
    CHeadLocalizationqv hl;
    const std::vector<BYTE> bytes = richFile(GetParam());
    std::size_t taken = 0;
    MessageBoxRecorder boxes;
    EXPECT_EQ(1, load(hl, bytes, &taken));
    EXPECT_EQ(bytes.size(), taken);
    EXPECT_TRUE(boxes.boxes().empty());
    expectRichObject(hl);
}

INSTANTIATE_TEST_SUITE_P(AcceptedVersions, HeadLocalizationFileVersion,
                         ::testing::Values(20090606, 20110217, 20160320));

TEST(HeadLocalizationFile, ATagOfSevenCountsAsPresent) {
    CHeadLocalizationqv hl;
    const std::vector<BYTE> bytes = richFile(kWritten, 7);
    std::size_t taken = 0;
    EXPECT_EQ(1, load(hl, bytes, &taken));
    EXPECT_EQ(bytes.size(), taken);
    // The entry of section 3 is there, and so is everything behind it.
    expectRichObject(hl);
}

TEST(HeadLocalizationFile, ASectionCountOfMinusOneReadsAsNoEntriesAndTheNextFieldFollows) {
    ByteBuilder b;
    appendFrameAndFields(b, kWritten, Fields{});
    b.i64(-1);  // section 1
    b.i64(1);   // section 2
    appendRecordEntry(b, 2);
    b.i64(-1);  // section 3
    b.i64(0);   // section 4
    b.i64(-1);  // labels
    appendMarkedTail(b);
    CHeadLocalizationqv hl;
    std::size_t taken = 0;
    EXPECT_EQ(1, load(hl, b.bytes(), &taken));
    EXPECT_EQ(b.size(), taken);
    EXPECT_EQ(0, hl.fiducialPtRaw.GetSize());
    ASSERT_EQ(1, hl.fiducialPARaw.GetSize());
    expectRecord(hl.fiducialPARaw, 0, 2);
    EXPECT_EQ(0, hl.fiducialPt.GetSize());
    EXPECT_EQ(0, hl.fiducialPA.GetSize());
    EXPECT_EQ(0, hl.headLocalLabels.GetSize());
    expectMarkedTail(hl);
}

TEST(HeadLocalizationFile, LoadingDeliveredInSmallPiecesReadsTheSame) {
    TrickleFile file(richFile(kWritten), 5);
    CHeadLocalizationqv hl;
    int result = -1;
    {
        CArchive ar(&file, CArchive::load, 64);
        result = hl.serializeqv(ar);
    }
    EXPECT_EQ(1, result);
    expectRichObject(hl);
}

TEST(HeadLocalizationFile, LoadingReplacesWhatTheThreeListsAndTheLabelsHeld) {
    const int before = CountedFiducial::alive();
    CHeadLocalizationqv hl;
    hl.fiducialPtRaw.Add(static_cast<CFiducialqv*>(markedObject(1)));
    hl.fiducialPARaw.Add(markedRecord(2));
    hl.fiducialPt.Add(static_cast<CFiducialqv*>(markedObject(3)));
    hl.headLocalLabels.Add(CString("old"));
    EXPECT_EQ(1, load(hl, richFile(kWritten)));
    EXPECT_EQ(before, CountedFiducial::alive());
    expectRichObject(hl);
}

TEST(HeadLocalizationFile, FieldsOutsideTheFileKeepTheirValues) {
    CHeadLocalizationqv hl;
    fillSphere(hl.sphereA, markedSphere(3));
    fillSphere(hl.spheresA[0], markedSphere(4));
    fillSphere(hl.sphereB, markedSphere(5));
    fillSphere(hl.spheresB[2], markedSphere(6));
    hl.headLocalSlot = 42.0;
    EXPECT_EQ(1, load(hl, richFile(kWritten)));
    expectSphere(markedSphere(3), hl.sphereA);
    expectSphere(markedSphere(4), hl.spheresA[0]);
    expectSphere(markedSphere(5), hl.sphereB);
    expectSphere(markedSphere(6), hl.spheresB[2]);
    EXPECT_BITS_EQ(42.0, hl.headLocalSlot);
}

TEST(HeadLocalizationFile, ABadMagicShowsItsMessageAndLeavesTheObjectUntouched) {
    for (const std::u16string& magic :
         {std::u16string(u"HEADLOCATIONTRIAX"), std::u16string(u"HeadLocationTrial")}) {
        ByteBuilder b;
        b.wide(magic).i32(kWritten);
        CHeadLocalizationqv hl;
        fillRichObject(hl);
        MessageBoxRecorder boxes;
        std::size_t taken = 0;
        EXPECT_EQ(0, load(hl, b.bytes(), &taken));
        EXPECT_EQ(38u, taken);
        ASSERT_EQ(1u, boxes.boxes().size());
        EXPECT_EQ("The opened file is not trial head localization!", boxes.boxes()[0].text);
        EXPECT_EQ(MB_OK, boxes.boxes()[0].type);
        EXPECT_EQ(0u, boxes.boxes()[0].helpId);
        EXPECT_EQ(7, hl.headLocalizeTime);
        EXPECT_EQ(1, hl.fiducialPtRaw.GetSize());
        EXPECT_EQ(2, hl.fiducialPARaw.GetSize());
        EXPECT_EQ(3, hl.headLocalLabels.GetSize());
    }
}

TEST(HeadLocalizationFile, AnUnknownVersionShowsItsMessageAndLeavesTheObjectUntouched) {
    for (int version : {20160321, 20090605, 0}) {
        SCOPED_TRACE(version);
        std::vector<BYTE> bytes = richFile(version);
        CHeadLocalizationqv hl;
        fillRichObject(hl);
        MessageBoxRecorder boxes;
        std::size_t taken = 0;
        EXPECT_EQ(0, load(hl, bytes, &taken));
        EXPECT_EQ(42u, taken);
        ASSERT_EQ(1u, boxes.boxes().size());
        EXPECT_EQ("Wrong file format int CHeadLocalization09File!!?", boxes.boxes()[0].text);
        EXPECT_EQ(MB_OK, boxes.boxes()[0].type);
        EXPECT_EQ(0u, boxes.boxes()[0].helpId);
        EXPECT_EQ(7, hl.headLocalizeTime);
        EXPECT_EQ(1, hl.fiducialPtRaw.GetSize());
        expectRecord(hl.fiducialPtRaw, 0, 50);
        EXPECT_EQ(3, hl.headLocalLabels.GetSize());
    }
}

TEST(HeadLocalizationFile, LoadingWithStepsInFiducialPARaisesAndEmptiesTheThreeLists) {
    CHeadLocalizationqv hl;
    fillRichObject(hl);
    EXPECT_THROW(load(hl, richFile(kWritten)), CInvalidArgException);
    EXPECT_EQ(0, hl.fiducialPtRaw.GetSize());
    EXPECT_EQ(0, hl.fiducialPARaw.GetSize());
    EXPECT_EQ(0, hl.fiducialPt.GetSize());
    EXPECT_EQ(2, hl.fiducialPA.GetSize());
    EXPECT_EQ(3, hl.headLocalLabels.GetSize());
    EXPECT_EQ(-1, hl.headLocalizeTime);
    EXPECT_EQ(2, hl.headLocalType);  // nothing was read
}

TEST(HeadLocalizationFile, ARefusedTailRecordEndsTheLoadWithZeroAndKeepsWhatWasRead) {
    ByteBuilder b;
    appendFrameAndFields(b, kWritten, markedFields());
    b.i64(0).i64(0).i64(0).i64(0).i64(0);
    appendSphere(b, markedSphere(1));
    appendSphere(b, markedSphere(2));
    appendSet(b, markedSet(11));
    b.wide(u"FIDUCIALQV").i32(20261121);  // fiducialSecond of another version
    CHeadLocalizationqv hl;
    fillSet(hl.fiducialSecond, markedSet(30));
    fillSet(hl.fiducialThird, markedSet(31));
    fillSet(hl.fiducialCurrent, markedSet(32));
    MessageBoxRecorder boxes;
    EXPECT_EQ(0, load(hl, b.bytes()));
    EXPECT_TRUE(boxes.boxes().empty());
    EXPECT_EQ(2, hl.headLocalType);
    expectSphere(markedSphere(1), hl.sensorLocation);
    expectSphere(markedSphere(2), hl.sensorRotation);
    expectSet(markedSet(11), hl.fiducialFirst);
    expectSet(markedSet(30), hl.fiducialSecond);
    expectSet(markedSet(31), hl.fiducialThird);
    expectSet(markedSet(32), hl.fiducialCurrent);
}

TEST(HeadLocalizationFile, ARefusedSphereRecordStopsBeforeTheRest) {
    ByteBuilder b;
    appendFrameAndFields(b, kWritten, Fields{});
    b.i64(0).i64(0).i64(0).i64(0).i64(0);
    b.wide(u"SPHEREQX");
    CHeadLocalizationqv hl;
    fillSphere(hl.sensorLocation, markedSphere(5));
    fillSphere(hl.sensorRotation, markedSphere(6));
    std::size_t taken = 0;
    EXPECT_EQ(0, load(hl, b.bytes(), &taken));
    EXPECT_EQ(b.size(), taken);
    expectSphere(markedSphere(5), hl.sensorLocation);
    expectSphere(markedSphere(6), hl.sensorRotation);
}

TEST(HeadLocalizationFile, ARefusedSetInsideAnEntryKeepsTheEntryAndReadingGoesOn) {
    ByteBuilder b;
    appendFrameAndFields(b, kWritten, Fields{});
    b.i64(0).i64(0).i64(0);
    b.i64(2);  // section 4
    b.i32(1).f64(1.25).f64(2.25).f64(3.25).i32(9);
    b.wide(u"NOTAFIDUCIAL");  // the nested set is refused right behind its magic
    appendRecordEntry(b, 6);
    b.i64(0);
    appendMarkedTail(b);
    CHeadLocalizationqv hl;
    MessageBoxRecorder boxes;
    EXPECT_EQ(1, load(hl, b.bytes()));
    EXPECT_TRUE(boxes.boxes().empty());
    ASSERT_EQ(2, hl.fiducialPA.GetSize());
    const HEAD_LOCATION_TRIAL* kept = hl.fiducialPA.GetRecordAt(0);
    ASSERT_NE(nullptr, kept);
    EXPECT_BITS_EQ(1.25, kept->trialValue1);
    EXPECT_BITS_EQ(2.25, kept->trialValue2);
    EXPECT_BITS_EQ(3.25, kept->trialValue3);
    EXPECT_EQ(9, kept->trialTag);
    expectSet(SetValues{}, kept->trialFiducial);
    expectRecord(hl.fiducialPA, 1, 6);
    expectMarkedTail(hl);
}

TEST(HeadLocalizationFile, EveryShorterPrefixOfAFileWithEntriesRaisesEndOfFile) {
    const std::vector<BYTE> bytes = richFile(kWritten);
    MessageBoxRecorder boxes;
    expectEveryTruncationRaisesEndOfFile(bytes, [](CArchive& ar) {
        CHeadLocalizationqv hl;
        hl.serializeqv(ar);
    });
    EXPECT_TRUE(boxes.boxes().empty());
}

TEST(HeadLocalizationFile, AnEndOfFileKeepsTheFieldsAndEntriesReadSoFar) {
    // Cut inside the entry of section 3.
    ByteBuilder head;
    appendFrameAndFields(head, kWritten, markedFields());
    head.i64(1);
    appendRecordEntry(head, 4);
    head.i64(2);
    appendRecordEntry(head, 2);
    appendAbsentEntry(head);
    head.i64(1);
    head.i32(1).f64(0.5);
    CHeadLocalizationqv hl;
    fillSphere(hl.sensorLocation, markedSphere(9));
    try {
        load(hl, head.bytes());
        ADD_FAILURE() << "the load ran past the end of the file";
    } catch (const CArchiveException& e) {
        EXPECT_EQ(CArchiveException::endOfFile, e.m_cause);
    }
    EXPECT_EQ(7, hl.headLocalizeTime);
    ASSERT_EQ(1, hl.fiducialPtRaw.GetSize());
    expectRecord(hl.fiducialPtRaw, 0, 4);
    ASSERT_EQ(1, hl.fiducialPARaw.GetSize());
    expectRecord(hl.fiducialPARaw, 0, 2);
    EXPECT_EQ(0, hl.fiducialPt.GetSize());
    expectSphere(markedSphere(9), hl.sensorLocation);
}

// ---------------------------------------------------------------------------
// Store, then load

TEST(HeadLocalizationFile, AFreshObjectComesBackWithItsDefaultsAndTheStoredTimeStep) {
    CHeadLocalizationqv fresh;
    int result = -1;
    const std::vector<BYTE> bytes = store(fresh, &result);
    CHeadLocalizationqv hl;
    hl.headLocalType = 0;
    hl.headLocalParam = 0;
    hl.fidWorkMode = 0;
    hl.headLocalValue = 0.0;
    hl.headLocalizeTime = 9;
    EXPECT_EQ(1, load(hl, bytes));
    EXPECT_EQ(1, hl.headLocalType);
    EXPECT_EQ(3, hl.headLocalParam);
    EXPECT_EQ(2, hl.fidWorkMode);
    EXPECT_BITS_EQ(10.0, hl.headLocalValue);
    EXPECT_EQ(0, hl.headLocalizeTime);  // as stored, not the -1 of the clean
    EXPECT_EQ(0, hl.fiducialPtRaw.GetSize());
    EXPECT_EQ(0, hl.fiducialPARaw.GetSize());
    EXPECT_EQ(0, hl.fiducialPt.GetSize());
    EXPECT_EQ(0, hl.fiducialPA.GetSize());
    EXPECT_EQ(0, hl.headLocalLabels.GetSize());
}

TEST(HeadLocalizationFile, SectionOneComesBackAsCopiesOfTheFirstStepsAndNullEntriesVanish) {
    const int before = CountedFiducial::alive();
    CHeadLocalizationqv source;
    source.headLocalizeTime = 5;
    source.fiducialPtRaw.Add(static_cast<CFiducialqv*>(markedObject(1)));
    source.fiducialPtRaw.Add(static_cast<CFiducialqv*>(markedObject(2)));
    source.fiducialPA.Add(markedRecord(3));
    source.fiducialPA.Add(nullptr);
    source.fiducialPA.Add(static_cast<CFiducialqv*>(markedObject(4)));
    source.fiducialPt.Add(nullptr);
    source.fiducialPt.Add(markedRecord(5));
    int result = -1;
    const std::vector<BYTE> bytes = store(source, &result);
    EXPECT_EQ(1, result);

    CHeadLocalizationqv hl;
    EXPECT_EQ(1, load(hl, bytes));
    EXPECT_EQ(5, hl.headLocalizeTime);
    ASSERT_EQ(1, hl.fiducialPtRaw.GetSize());  // entry 0 of fiducialPA; entry 1 was null
    expectRecord(hl.fiducialPtRaw, 0, 3);
    ASSERT_EQ(2, hl.fiducialPA.GetSize());
    expectRecord(hl.fiducialPA, 0, 3);
    expectObjectRecord(hl.fiducialPA, 1, 4);  // moved up behind the null entry
    ASSERT_EQ(1, hl.fiducialPt.GetSize());
    expectRecord(hl.fiducialPt, 0, 5);
    EXPECT_EQ(0, hl.fiducialPARaw.GetSize());

    // A loaded file can be stepped through and averaged.
    EXPECT_EQ(1, hl.setHeadLocalizeTime(1));
    expectSet(markedSet(4), hl.fiducialCurrent);
    hl.headLocalType = 2;
    EXPECT_EQ(&hl.fiducialCurrent, hl.getAverageFiducialPts());
    EXPECT_BITS_EQ((markedSet(4).points[2].values[6] + markedSet(3).points[2].values[6]) * 0.5,
                   hl.fiducialCurrent.fidPts[2].ptValues[6]);

    source.cleanFiducialPA();
    source.cleanFiducialPt();
    EXPECT_EQ(before, CountedFiducial::alive());
}

// Found by fuzzing the loader: a file whose first section holds more entries
// than its fourth loads in full, and its object then cannot be stored, since
// the first section is counted by fiducialPtRaw and filled from fiducialPA.
TEST(HeadLocalizationFile, AFileWhoseFirstSectionOutnumbersItsFourthLoadsButDoesNotStore) {
    ByteBuilder b;
    appendFrameAndFields(b, kWritten, markedFields());
    b.i64(2);  // section 1
    appendRecordEntry(b, 1);
    appendRecordEntry(b, 2);
    b.i64(0);  // section 2
    b.i64(0);  // section 3
    b.i64(1);  // section 4
    appendRecordEntry(b, 3);
    b.i64(0);  // labels
    appendMarkedTail(b);

    CHeadLocalizationqv hl;
    std::size_t taken = 0;
    EXPECT_EQ(1, load(hl, b.bytes(), &taken));
    EXPECT_EQ(b.bytes().size(), taken);
    ASSERT_EQ(2, hl.fiducialPtRaw.GetSize());
    ASSERT_EQ(1, hl.fiducialPA.GetSize());

    bool raised = false;
    const std::vector<BYTE> bytes = storeToBytes([&](CArchive& ar) {
        try {
            hl.serializeqv(ar);
        } catch (const CInvalidArgException&) {
            raised = true;
        }
    });
    EXPECT_TRUE(raised);
    // The count and the one entry that fiducialPA has were written first.
    ByteBuilder expected;
    appendFrameAndFields(expected, kWritten, markedFields());
    expected.i64(2);
    appendRecordEntry(expected, 3);
    EXPECT_BYTES_EQ(expected.bytes(), bytes);
    hl.cleanFiducialPA();
    hl.cleanFiducialPARaw();
    hl.cleanFiducialPt();
}

TEST(HeadLocalizationFile, AStoredAndReloadedFileStoresTheSameBytesAgain) {
    CHeadLocalizationqv hl;
    EXPECT_EQ(1, load(hl, richFile(20090606)));
    int result = -1;
    const std::vector<BYTE> again = store(hl, &result);
    EXPECT_EQ(1, result);
    // The null entry of section 2 did not come back.
    EXPECT_BYTES_EQ(richFile(kWritten, 1, false), again);
}

}  // namespace
