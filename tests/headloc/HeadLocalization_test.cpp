#include <fluxgrid/headloc/HeadLocalization.h>

#include "headloc/HeadLocTestSupport.h"
#include "support/Harness.h"

#include <type_traits>

namespace {

using namespace fluxgrid::test;

void expectLocation(const CHeadLocalization& hl, double x, double y, double z) {
    double gx = -1.0;
    double gy = -1.0;
    double gz = -1.0;
    EXPECT_EQ(1, hl.getSensorLocation(gx, gy, gz));
    EXPECT_BITS_EQ(x, gx);
    EXPECT_BITS_EQ(y, gy);
    EXPECT_BITS_EQ(z, gz);
}

void expectRotation(const CHeadLocalization& hl, double x, double y, double z) {
    double gx = -1.0;
    double gy = -1.0;
    double gz = -1.0;
    EXPECT_EQ(1, hl.getSensorRotation(gx, gy, gz));
    EXPECT_BITS_EQ(x, gx);
    EXPECT_BITS_EQ(y, gy);
    EXPECT_BITS_EQ(z, gz);
}

/// Three entries whose point 0 has the x positions 10.0, 20.0 and 30.0.
void addThreeSteps(CHeadLocalization& hl) {
    for (int i = 0; i < 3; ++i) {
        auto* object = new CountedFiducial();
        fillSet(*object, markedSet(i));
        object->fidPts[0].ptValues[4] = 10.0 * (i + 1);
        hl.fiducialPA.Add(static_cast<CFiducialqv*>(object));
    }
}

TEST(HeadLocalization, ConstructionSetsTheDefaults) {
    const CHeadLocalizationqv hl;
    EXPECT_EQ(1, hl.headLocalType);
    EXPECT_EQ(3, hl.headLocalParam);
    EXPECT_EQ(2, hl.fidWorkMode);
    EXPECT_EQ(0, hl.headLocalizeTime);
    EXPECT_EQ(0, hl.fiducialAveraged);
    EXPECT_BITS_EQ(10.0, hl.headLocalValue);
    EXPECT_BITS_EQ(0.0, hl.headLocalSlot);
    EXPECT_TRUE(hl.headLocalText.IsEmpty());
    EXPECT_EQ(0, hl.headLocalLabels.GetSize());
    EXPECT_EQ(0, hl.fiducialPtRaw.GetSize());
    EXPECT_EQ(0, hl.fiducialPARaw.GetSize());
    EXPECT_EQ(0, hl.fiducialPt.GetSize());
    EXPECT_EQ(0, hl.fiducialPA.GetSize());
    expectLocation(hl, 0.0, 0.0, 0.0);
    expectRotation(hl, 0.0, 0.0, 0.0);
    // initDefaultHeadLocalParams is not called.
    expectSet(SetValues{}, hl.fiducialFirst);
    expectSet(SetValues{}, hl.fiducialCurrent);
}

TEST(HeadLocalization, NoLayerHasAVirtualDestructorAndNoneIsCopyable) {
    EXPECT_FALSE(std::has_virtual_destructor_v<CHeadLocalization>);
    EXPECT_FALSE(std::has_virtual_destructor_v<CHeadLocalizationqv>);
    EXPECT_FALSE(std::is_copy_constructible_v<CHeadLocalizationqv>);
    EXPECT_TRUE(std::is_copy_assignable_v<CHeadLocalizationqv>);
}

TEST(HeadLocalization, TheStandardCtfHeadCentreLiesAtNegativeYInTheInHouseFrame) {
    double x = 5.0;
    double y = 5.0;
    double z = 5.0;
    EXPECT_EQ(1, CHeadLocalization::getStdCTFheadCnt(x, y, z));
    EXPECT_BITS_EQ(0.0, x);
    EXPECT_BITS_EQ(-27.0, y);
    EXPECT_BITS_EQ(-0.0, z);
}

TEST(HeadLocalization, ResetSensorPosDirNameGivesOneAndChangesNothing) {
    CHeadLocalizationqv hl;
    hl.setSensorLocation(1.0, 2.0, 3.0);
    EXPECT_EQ(1, hl.resetSensorPosDirName());
    expectLocation(hl, 1.0, 2.0, 3.0);
}

TEST(HeadLocalization, InitDefaultHeadLocalParamsWritesTheSixDefaultPositions) {
    CHeadLocalizationqv hl;
    EXPECT_EQ(1, hl.initDefaultHeadLocalParams());
    const double expected[6][3] = {{0.0, -21.0, 8.0},  {8.0, -21.0, 0.0}, {-8.0, -21.0, 0.0},
                                   {0.0, -21.0, -8.0}, {0.0, -13.0, 0.0}, {0.0, 0.0, 0.0}};
    SetValues values;
    for (int p = 0; p < 6; ++p) {
        for (int k = 0; k < 3; ++k) {
            values.points[p].values[4 + k] = expected[p][k];
        }
    }
    expectSet(values, hl.fiducialFirst);
    expectSet(SetValues{}, hl.fiducialSecond);
    expectSet(SetValues{}, hl.fiducialThird);
}

TEST(HeadLocalization, InitSensorFiducial2HeadCenterGivesZero) {
    CHeadLocalizationqv hl;
    EXPECT_EQ(0, hl.initSensorFiducial2HeadCenter());
}

TEST(HeadLocalization, GetCurntFiducailPtsIsTheAddressOfTheActiveSet) {
    CHeadLocalizationqv hl;
    EXPECT_EQ(&hl.fiducialCurrent, hl.getCurntFiducailPts());
}

TEST(HeadLocalization, OnANewObjectTheAverageCopiesTheThirdSetAndLeavesAveragedAtZero) {
    CHeadLocalizationqv hl;
    fillSet(hl.fiducialFirst, markedSet(1));
    fillSet(hl.fiducialSecond, markedSet(2));
    fillSet(hl.fiducialThird, markedSet(3));
    EXPECT_EQ(&hl.fiducialCurrent, hl.getAverageFiducialPts());
    expectSet(markedSet(3), hl.fiducialCurrent);
    EXPECT_EQ(0, hl.fiducialAveraged);
}

TEST(HeadLocalization, TypeZeroCopiesTheFirstSet) {
    CHeadLocalizationqv hl;
    hl.headLocalType = 0;
    fillSet(hl.fiducialFirst, markedSet(1));
    fillSet(hl.fiducialThird, markedSet(3));
    EXPECT_EQ(&hl.fiducialCurrent, hl.getAverageFiducialPts());
    expectSet(markedSet(1), hl.fiducialCurrent);
    EXPECT_EQ(0, hl.fiducialAveraged);
}

TEST(HeadLocalization, SetFidWorkModeZeroLeavesTheAverageUnchangedAndThreeIsRefused) {
    CHeadLocalizationqv hl;
    fillSet(hl.fiducialThird, markedSet(3));
    EXPECT_EQ(1, hl.setFidWorkMode(0));
    EXPECT_EQ(0, hl.fidWorkMode);
    EXPECT_EQ(&hl.fiducialCurrent, hl.getAverageFiducialPts());
    expectSet(markedSet(3), hl.fiducialCurrent);
    EXPECT_EQ(0, hl.setFidWorkMode(3));
    EXPECT_EQ(0, hl.fidWorkMode);
}

TEST(HeadLocalization, SetFidWorkModeTakesZeroToTwoAndNothingElse) {
    CHeadLocalizationqv hl;
    EXPECT_EQ(1, hl.setFidWorkMode(1));
    EXPECT_EQ(1, hl.fidWorkMode);
    EXPECT_EQ(1, hl.setFidWorkMode(2));
    EXPECT_EQ(2, hl.fidWorkMode);
    EXPECT_EQ(0, hl.setFidWorkMode(-1));
    EXPECT_EQ(2, hl.fidWorkMode);
}

TEST(HeadLocalization, TypeTwoAveragesPointOneXOfTwoEntries) {
    CHeadLocalizationqv hl;
    hl.headLocalType = 2;
    hl.fiducialPA.Add(static_cast<CFiducialqv*>(objectWithPoint1X(2.0)));
    hl.fiducialPA.Add(static_cast<CFiducialqv*>(objectWithPoint1X(4.0)));
    EXPECT_EQ(&hl.fiducialCurrent, hl.getAverageFiducialPts());
    EXPECT_BITS_EQ(3.0, hl.fiducialCurrent.fidPts[1].ptValues[4]);
    EXPECT_EQ(1, hl.fiducialAveraged);
    hl.cleanFiducialPA();
}

TEST(HeadLocalization, TypeTwoIsTheMeanOfThreePointsOfTheFirstTwoEntriesAlone) {
    CHeadLocalizationqv hl;
    hl.headLocalType = 2;
    fillSet(hl.fiducialCurrent, markedSet(9));
    hl.fiducialPA.Add(static_cast<CFiducialqv*>(markedObject(1)));
    hl.fiducialPA.Add(markedRecord(2));  // a record serves as its set
    hl.fiducialPA.Add(static_cast<CFiducialqv*>(markedObject(3)));
    ASSERT_EQ(&hl.fiducialCurrent, hl.getAverageFiducialPts());
    const SetValues a = markedSet(1);
    const SetValues b = markedSet(2);
    // Points 3, 4 and 5 and every other element stay as the reset left them;
    // the set's own numbers are not part of the reset.
    SetValues expected = markedSet(9);
    for (PointValues& point : expected.points) {
        point = PointValues{};
    }
    for (int p = 0; p < 3; ++p) {
        for (int k = 4; k <= 6; ++k) {
            expected.points[p].values[k] = (b.points[p].values[k] + a.points[p].values[k]) * 0.5;
        }
    }
    expectSet(expected, hl.fiducialCurrent);
    EXPECT_EQ(1, hl.fiducialAveraged);
    hl.cleanFiducialPA();
}

TEST(HeadLocalization, TypeTwoWithFewerThanTwoEntriesRaisesAndLeavesTheActiveSetReset) {
    CHeadLocalizationqv hl;
    hl.headLocalType = 2;
    fillSet(hl.fiducialCurrent, markedSet(4));
    hl.fiducialPA.Add(static_cast<CFiducialqv*>(markedObject(1)));
    EXPECT_THROW(hl.getAverageFiducialPts(), CInvalidArgException);
    SetValues expected = markedSet(4);
    for (PointValues& point : expected.points) {
        point = PointValues{};
    }
    expectSet(expected, hl.fiducialCurrent);
    EXPECT_EQ(0, hl.fiducialAveraged);
    hl.cleanFiducialPA();
}

TEST(HeadLocalization, TypeTwoWithANullEntryGivesNullAndLeavesTheActiveSetReset) {
    for (int nullAt = 0; nullAt < 2; ++nullAt) {
        SCOPED_TRACE("null entry " + std::to_string(nullAt));
        CHeadLocalizationqv hl;
        hl.headLocalType = 2;
        fillSet(hl.fiducialCurrent, markedSet(4));
        for (int i = 0; i < 2; ++i) {
            if (i == nullAt) {
                hl.fiducialPA.Add(nullptr);
            } else {
                hl.fiducialPA.Add(static_cast<CFiducialqv*>(markedObject(i)));
            }
        }
        MessageBoxRecorder boxes;
        EXPECT_EQ(nullptr, hl.getAverageFiducialPts());
        EXPECT_TRUE(boxes.boxes().empty());
        SetValues expected = markedSet(4);
        for (PointValues& point : expected.points) {
            point = PointValues{};
        }
        expectSet(expected, hl.fiducialCurrent);
        EXPECT_EQ(0, hl.fiducialAveraged);
        hl.cleanFiducialPA();
    }
}

TEST(HeadLocalization, AnotherTypeShowsTheTypeErrorAndGivesNull) {
    for (int type : {3, -1}) {
        SCOPED_TRACE("type " + std::to_string(type));
        CHeadLocalizationqv hl;
        hl.headLocalType = type;
        fillSet(hl.fiducialCurrent, markedSet(4));
        fillSet(hl.fiducialThird, markedSet(3));
        MessageBoxRecorder boxes;
        EXPECT_EQ(nullptr, hl.getAverageFiducialPts());
        ASSERT_EQ(1u, boxes.boxes().size());
        EXPECT_EQ("head localization type error", boxes.boxes()[0].text);
        EXPECT_EQ(MB_OK, boxes.boxes()[0].type);
        EXPECT_EQ(0u, boxes.boxes()[0].helpId);
        expectSet(markedSet(4), hl.fiducialCurrent);
        EXPECT_EQ(0, hl.fiducialAveraged);
    }
}

TEST(HeadLocalization, SetActiveFiducialqvCopiesTheSetAndRefusesNull) {
    CHeadLocalizationqv hl;
    fillSet(hl.fiducialCurrent, markedSet(1));
    EXPECT_EQ(0, hl.setActiveFiducialqv(nullptr));
    expectSet(markedSet(1), hl.fiducialCurrent);
    CFiducialqv set;
    fillSet(set, markedSet(2));
    EXPECT_EQ(1, hl.setActiveFiducialqv(&set));
    expectSet(markedSet(2), hl.fiducialCurrent);
    expectSet(markedSet(2), set);
}

TEST(HeadLocalization, SetHeadLocalizeTimeClampsWithThreeEntries) {
    CHeadLocalizationqv hl;
    addThreeSteps(hl);
    EXPECT_EQ(1, hl.setHeadLocalizeTime(-5));
    EXPECT_EQ(0, hl.headLocalizeTime);
    EXPECT_BITS_EQ(10.0, hl.fiducialCurrent.fidPts[0].ptValues[4]);

    EXPECT_EQ(1, hl.setHeadLocalizeTime(1));
    EXPECT_BITS_EQ(20.0, hl.fiducialCurrent.fidPts[0].ptValues[4]);

    EXPECT_EQ(1, hl.setHeadLocalizeTime(2));
    EXPECT_EQ(2, hl.headLocalizeTime);
    EXPECT_BITS_EQ(30.0, hl.fiducialCurrent.fidPts[0].ptValues[4]);

    hl.setHeadLocalizeTime(0);
    EXPECT_EQ(1, hl.setHeadLocalizeTime(7));
    EXPECT_EQ(2, hl.headLocalizeTime);
    EXPECT_BITS_EQ(30.0, hl.fiducialCurrent.fidPts[0].ptValues[4]);

    hl.setHeadLocalizeTime(0);
    EXPECT_THROW(hl.setHeadLocalizeTime(3), CInvalidArgException);
    EXPECT_EQ(3, hl.headLocalizeTime);
    EXPECT_BITS_EQ(10.0, hl.fiducialCurrent.fidPts[0].ptValues[4]);
    hl.cleanFiducialPA();
}

TEST(HeadLocalization, SetHeadLocalizeTimeCopiesTheWholeEntry) {
    CHeadLocalizationqv hl;
    hl.fiducialPA.Add(static_cast<CFiducialqv*>(markedObject(5)));
    EXPECT_EQ(1, hl.setHeadLocalizeTime(0));
    expectSet(markedSet(5), hl.fiducialCurrent);
    hl.cleanFiducialPA();
}

TEST(HeadLocalization, SetHeadLocalizeTimeWithoutEntriesGivesZeroAndChangesNothing) {
    CHeadLocalizationqv hl;
    hl.headLocalizeTime = 4;
    fillSet(hl.fiducialCurrent, markedSet(1));
    EXPECT_EQ(0, hl.setHeadLocalizeTime(0));
    EXPECT_EQ(4, hl.headLocalizeTime);
    expectSet(markedSet(1), hl.fiducialCurrent);
}

TEST(HeadLocalization, SetHeadLocalizeTimeOnANullEntryGivesZeroWithTheStepMoved) {
    CHeadLocalizationqv hl;
    hl.fiducialPA.Add(static_cast<CFiducialqv*>(markedObject(1)));
    hl.fiducialPA.Add(nullptr);
    fillSet(hl.fiducialCurrent, markedSet(4));
    EXPECT_EQ(0, hl.setHeadLocalizeTime(1));
    EXPECT_EQ(1, hl.headLocalizeTime);
    expectSet(markedSet(4), hl.fiducialCurrent);
    hl.cleanFiducialPA();
}

TEST(HeadLocalization, SetHeadLocalizeTimeStepsThroughRecordsAsTheirSets) {
    CHeadLocalizationqv hl;
    hl.fiducialPA.Add(markedRecord(1));
    hl.fiducialPA.Add(markedRecord(2));
    EXPECT_EQ(1, hl.setHeadLocalizeTime(1));
    expectSet(markedSet(2), hl.fiducialCurrent);
    hl.cleanFiducialPA();
}

TEST(HeadLocalization, GetHeadLocalizeTimeCountsTheEntriesWhateverStepIsCurrent) {
    CHeadLocalizationqv hl;
    EXPECT_EQ(0, hl.getHeadLocalizeTime());
    addThreeSteps(hl);
    EXPECT_EQ(3, hl.getHeadLocalizeTime());
    hl.setHeadLocalizeTime(1);
    EXPECT_EQ(3, hl.getHeadLocalizeTime());
    hl.headLocalizeTime = -1;
    EXPECT_EQ(3, hl.getHeadLocalizeTime());
    hl.cleanFiducialPA();
}

TEST(HeadLocalization, SensorLocationAndRotationAreTheFirstThreeSphereValues) {
    CHeadLocalizationqv hl;
    hl.sensorLocation.sphereValues[3] = 9.0;
    EXPECT_EQ(1, hl.setSensorLocation(1.0, -2.0, 3.5));
    EXPECT_EQ(1, hl.setSensorRotation(-0.0, 45.0, 90.0));
    expectLocation(hl, 1.0, -2.0, 3.5);
    expectRotation(hl, -0.0, 45.0, 90.0);
    EXPECT_BITS_EQ(9.0, hl.sensorLocation.sphereValues[3]);
    EXPECT_BITS_EQ(3.5, hl.sensorLocation.sphereValues[2]);
    EXPECT_BITS_EQ(90.0, hl.sensorRotation.sphereValues[2]);
}

TEST(HeadLocalization, ResetSensorFdcPosDirZeroesLocationAndRotation) {
    CHeadLocalizationqv hl;
    hl.setSensorLocation(1.0, 2.0, 3.0);
    hl.setSensorRotation(4.0, 5.0, 6.0);
    EXPECT_EQ(1, hl.resetSensorFdcPosDir());
    expectLocation(hl, 0.0, 0.0, 0.0);
    expectRotation(hl, 0.0, 0.0, 0.0);
}

TEST(HeadLocalization, AssignmentFromAnObjectWithTenEntriesLeavesTheTargetsListsAsTheyWere) {
    CHeadLocalizationqv source;
    for (int i = 0; i < 10; ++i) {
        source.fiducialPA.Add(static_cast<CFiducialqv*>(markedObject(i)));
        source.fiducialPt.Add(markedRecord(i));
    }
    source.fiducialPtRaw.Add(markedRecord(20));
    source.fiducialPARaw.Add(static_cast<CFiducialqv*>(markedObject(21)));
    CHeadLocalizationqv target;
    CFiducialqv* kept = markedObject(30);
    target.fiducialPA.Add(kept);

    target = source;

    EXPECT_EQ(0, target.fiducialPtRaw.GetSize());
    EXPECT_EQ(0, target.fiducialPARaw.GetSize());
    EXPECT_EQ(0, target.fiducialPt.GetSize());
    ASSERT_EQ(1, target.fiducialPA.GetSize());
    EXPECT_EQ(kept, target.fiducialPA.GetFiducialAt(0));
    EXPECT_EQ(10, source.fiducialPA.GetSize());
    EXPECT_EQ(10, source.fiducialPt.GetSize());
    source.cleanFiducialPA();
    source.cleanFiducialPt();
    target.cleanFiducialPA();
}

TEST(HeadLocalization, AssignmentCopiesTheNamedFieldsAndLeavesTheRest) {
    CHeadLocalizationqv source;
    source.headLocalType = 0;
    source.headLocalParam = 8;
    source.fidWorkMode = 1;
    fillSet(source.fiducialFirst, markedSet(1));
    fillSet(source.fiducialSecond, markedSet(2));
    fillSet(source.fiducialThird, markedSet(3));
    fillSet(source.fiducialCurrent, markedSet(4));
    fillSphere(source.sensorLocation, markedSphere(1));
    fillSphere(source.sensorRotation, markedSphere(2));
    source.headLocalizeTime = 6;
    source.fiducialAveraged = 1;
    source.headLocalValue = 2.5;
    source.headLocalText = CString("source");
    source.headLocalLabels.Add(CString("source label"));
    fillSphere(source.sphereA, markedSphere(3));
    fillSphere(source.spheresA[1], markedSphere(3));
    fillSphere(source.sphereB, markedSphere(3));
    fillSphere(source.spheresB[2], markedSphere(3));
    source.headLocalSlot = 7.0;

    CHeadLocalizationqv target;
    target.headLocalizeTime = -1;
    target.headLocalText = CString("target");
    target.headLocalLabels.Add(CString("a"));
    target.headLocalLabels.Add(CString("b"));
    fillSphere(target.sphereA, markedSphere(5));

    target = source;

    EXPECT_EQ(0, target.headLocalType);
    EXPECT_EQ(8, target.headLocalParam);
    EXPECT_EQ(1, target.fidWorkMode);
    expectSet(markedSet(1), target.fiducialFirst);
    expectSet(markedSet(2), target.fiducialSecond);
    expectSet(markedSet(3), target.fiducialThird);
    expectSet(markedSet(4), target.fiducialCurrent);
    expectSphere(markedSphere(1), target.sensorLocation);
    expectSphere(markedSphere(2), target.sensorRotation);

    EXPECT_EQ(-1, target.headLocalizeTime);
    EXPECT_EQ(0, target.fiducialAveraged);
    EXPECT_BITS_EQ(10.0, target.headLocalValue);
    EXPECT_EQ(CString("target"), target.headLocalText);
    ASSERT_EQ(2, target.headLocalLabels.GetSize());
    EXPECT_EQ(CString("a"), target.headLocalLabels[0]);
    EXPECT_EQ(CString("b"), target.headLocalLabels[1]);
    expectSphere(markedSphere(5), target.sphereA);
    expectSphere(SphereValues{}, target.spheresA[1]);
    expectSphere(SphereValues{}, target.sphereB);
    expectSphere(SphereValues{}, target.spheresB[2]);
    EXPECT_BITS_EQ(0.0, target.headLocalSlot);
}

TEST(HeadLocalization, CleanFiducialPtOnAnObjectWhoseOnlyFilledListIsFiducialPtEmptiesIt) {
    CHeadLocalizationqv hl;
    hl.fiducialPt.Add(markedRecord(1));
    hl.fiducialPt.Add(nullptr);
    hl.fiducialPt.Add(markedRecord(2));
    EXPECT_EQ(1, hl.cleanFiducialPt());
    EXPECT_EQ(0, hl.fiducialPt.GetSize());
    EXPECT_EQ(-1, hl.headLocalizeTime);
}

TEST(HeadLocalization, CleanFiducialPtReleasesThreeListsAndEmptiesTheLabels) {
    const int before = CountedFiducial::alive();
    CHeadLocalizationqv hl;
    hl.fiducialPtRaw.Add(markedRecord(1));
    hl.fiducialPARaw.Add(markedRecord(2));
    hl.fiducialPARaw.Add(static_cast<CFiducialqv*>(markedObject(3)));
    hl.fiducialPt.Add(static_cast<CFiducialqv*>(markedObject(4)));
    hl.headLocalLabels.Add(CString("label"));
    hl.fiducialAveraged = 1;
    EXPECT_EQ(1, hl.cleanFiducialPt());
    EXPECT_EQ(before, CountedFiducial::alive());
    EXPECT_EQ(0, hl.fiducialPtRaw.GetSize());
    EXPECT_EQ(0, hl.fiducialPARaw.GetSize());
    EXPECT_EQ(0, hl.fiducialPt.GetSize());
    EXPECT_EQ(0, hl.headLocalLabels.GetSize());
    EXPECT_EQ(-1, hl.headLocalizeTime);
    EXPECT_EQ(1, hl.fiducialAveraged);
}

TEST(HeadLocalization, CleanFiducialPtWithEntriesInFiducialPARaisesAfterEmptyingThreeLists) {
    const int before = CountedFiducial::alive();
    CHeadLocalizationqv hl;
    hl.fiducialPtRaw.Add(markedRecord(1));
    hl.fiducialPARaw.Add(static_cast<CFiducialqv*>(markedObject(2)));
    hl.fiducialPt.Add(markedRecord(3));
    CFiducialqv* step = markedObject(4);
    hl.fiducialPA.Add(step);
    hl.headLocalLabels.Add(CString("kept"));
    EXPECT_THROW(hl.cleanFiducialPt(), CInvalidArgException);
    EXPECT_EQ(0, hl.fiducialPtRaw.GetSize());
    EXPECT_EQ(0, hl.fiducialPARaw.GetSize());
    EXPECT_EQ(0, hl.fiducialPt.GetSize());
    EXPECT_EQ(-1, hl.headLocalizeTime);
    ASSERT_EQ(1, hl.fiducialPA.GetSize());
    EXPECT_EQ(step, hl.fiducialPA.GetFiducialAt(0));
    ASSERT_EQ(1, hl.headLocalLabels.GetSize());
    EXPECT_EQ(CString("kept"), hl.headLocalLabels[0]);
    EXPECT_EQ(before + 1, CountedFiducial::alive());
    hl.cleanFiducialPA();
    EXPECT_EQ(before, CountedFiducial::alive());
}

TEST(HeadLocalization, CleanFiducialPAOnAnEmptyListGivesOne) {
    CHeadLocalizationqv hl;
    EXPECT_EQ(1, hl.cleanFiducialPA());
    EXPECT_EQ(0, hl.fiducialPA.GetSize());
}

TEST(HeadLocalization, CleanFiducialPAReleasesEveryKindAndTouchesNothingElse) {
    const int before = CountedFiducial::alive();
    CHeadLocalizationqv hl;
    hl.fiducialPA.Add(static_cast<CFiducialqv*>(markedObject(1)));
    hl.fiducialPA.Add(nullptr);
    hl.fiducialPA.Add(markedRecord(2));
    hl.fiducialPt.Add(markedRecord(3));
    hl.headLocalizeTime = 2;
    hl.fiducialAveraged = 1;
    hl.headLocalLabels.Add(CString("kept"));
    EXPECT_EQ(1, hl.cleanFiducialPA());
    EXPECT_EQ(0, hl.fiducialPA.GetSize());
    EXPECT_EQ(before, CountedFiducial::alive());
    EXPECT_EQ(1, hl.fiducialPt.GetSize());
    EXPECT_EQ(2, hl.headLocalizeTime);
    EXPECT_EQ(1, hl.fiducialAveraged);
    EXPECT_EQ(1, hl.headLocalLabels.GetSize());
    hl.cleanFiducialPt();
}

TEST(HeadLocalization, CleanFiducialPARawReleasesEveryKindAndTouchesNothingElse) {
    const int before = CountedFiducial::alive();
    CHeadLocalizationqv hl;
    hl.fiducialPARaw.Add(static_cast<CFiducialqv*>(markedObject(1)));
    hl.fiducialPARaw.Add(markedRecord(2));
    hl.fiducialPA.Add(static_cast<CFiducialqv*>(markedObject(3)));
    hl.headLocalizeTime = 2;
    hl.headLocalLabels.Add(CString("kept"));
    EXPECT_EQ(1, hl.cleanFiducialPARaw());
    EXPECT_EQ(0, hl.fiducialPARaw.GetSize());
    EXPECT_EQ(before + 1, CountedFiducial::alive());
    EXPECT_EQ(1, hl.fiducialPA.GetSize());
    EXPECT_EQ(2, hl.headLocalizeTime);
    EXPECT_EQ(1, hl.headLocalLabels.GetSize());
    hl.cleanFiducialPA();
}

TEST(HeadLocalization, TheDestructorReleasesWhatTheListsStillHold) {
    const int before = CountedFiducial::alive();
    {
        CHeadLocalizationqv hl;
        hl.fiducialPtRaw.Add(static_cast<CFiducialqv*>(markedObject(1)));
        hl.fiducialPARaw.Add(markedRecord(2));
        hl.fiducialPt.Add(static_cast<CFiducialqv*>(markedObject(3)));
        hl.fiducialPA.Add(static_cast<CFiducialqv*>(markedObject(4)));
        hl.fiducialPA.Add(markedRecord(5));
        EXPECT_EQ(before + 3, CountedFiducial::alive());
    }
    EXPECT_EQ(before, CountedFiducial::alive());
}

}  // namespace
