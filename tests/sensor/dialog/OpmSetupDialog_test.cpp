// The OPM setup dialog driven as a person would drive it: the real modal
// dialog, list entries chosen from the open list, text typed into the
// fields, buttons clicked, message boxes answered through the handler, and
// the sensor checked afterwards.
#include "DialogDriver.h"

#include <fluxgrid/dialog.h>
#include <fluxgrid/platform/Module.h>
#include <fluxgrid/sensor/DlgMegSnsOpmSetupTemplate.h>
#include <support/Harness.h>

#include <QApplication>
#include <QDir>
#include <QFontInfo>
#include <QFontMetrics>
#include <QLabel>
#include <QMessageBox>
#include <QPixmap>
#include <QTest>
#include <QTimer>

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace {

using fluxgrid::test::buttonOf;
using fluxgrid::test::chooseFromList;
using fluxgrid::test::click;
using fluxgrid::test::comboOf;
using fluxgrid::test::DialogRun;
using fluxgrid::test::editOf;
using fluxgrid::test::entriesOf;
using fluxgrid::test::MessageBoxRecorder;
using fluxgrid::test::runDialog;
using fluxgrid::test::runSetup;
using fluxgrid::test::typeInto;

constexpr int kOk = 1;
constexpr int kCancel = 2;
constexpr int kAddVapor = 3000;
constexpr int kVaporList = 16027;
constexpr int kOpmType = 16026;
constexpr int kVaporName = 16031;
constexpr int kOpmName = 16032;
constexpr int kPosX = 16014;
constexpr int kPosY = 16015;
constexpr int kPosZ = 16016;
constexpr int kDirX = 16010;
constexpr int kDirY = 16012;
constexpr int kDirZ = 16013;
constexpr int kProperGain = 16011;

const std::string kQuestion = "Only OPM editable! Delete the SQUID mode?";
const std::string kNotANumber = "Please enter a number.";

CMegOpmqv* opmOf(CMEGSensorqv& sensor) {
    return static_cast<CMegOpmqv*>(sensor.hardware.get());
}

// An OPM sensor whose cells differ in every frame: work, head and dewar
// positions and orientations all distinct, dewar and work names distinct.
void makeOpm(CMEGSensorqv& sensor, int totalVapors, int currentVaporID) {
    sensor.hardwareType = 1;
    sensor.hardware = fluxgrid::sensor::makeHardwareRecord(1);
    CMegOpmqv* record = opmOf(sensor);
    record->hardwareName = CString("Rack 4");
    record->totalVapors = totalVapors;
    record->currentVaporID = currentVaporID;
    for (int k = 0; k < 8; ++k) {
        CString dewarName;
        dewarName.Format("Dewar cell %d", k);
        CString workName;
        workName.Format("Work cell %d", k);
        record->vaporDewar[k].coilName = dewarName;
        record->vaporWork[k].coilName = workName;
        for (int c = 0; c < 3; ++c) {
            record->vaporWork[k].posP4[c] = 1.0 + k + 0.125 * c;
            record->vaporWork[k].oriP4[c] = 0.5 * k - 0.25 * c;
            record->vaporWork[k].nmlDirXYZW[c] = 40.0 + k + c;
            record->vaporDewar[k].posP4[c] = 100.0 + k + c;
            record->vaporDewar[k].oriP4[c] = -100.0 - k - c;
            record->vaporHead[k].posP4[c] = 200.0 + k + c;
            record->vaporHead[k].oriP4[c] = -200.0 - k - c;
        }
    }
    sensor.sensorType = 700;
}

// A SQUID sensor with a record of its own.
void makeSquid(CMEGSensorqv& sensor) {
    ASSERT_EQ(sensor.initSensorInfo(0, 3, 11, 1, 2.0, 3.0, 4.0, 0.5), 1);
    ASSERT_NE(sensor.hardware, nullptr);
    sensor.hardware->hardwareName = CString("SQUID rack");
}

// The sensor as its file holds it.
std::vector<BYTE> fileOf(CMEGSensorqv& sensor) {
    return fluxgrid::test::storeToBytes([&sensor](CArchive& ar) { sensor.serializeqv(ar); });
}

struct CellState {
    CString dewarName;
    CString workName;
    std::array<double, 4> workPos;
    std::array<double, 4> workOri;
    std::array<double, 4> workNml;
    std::array<double, 4> dewarPos;
    std::array<double, 4> dewarOri;
    std::array<double, 4> headPos;
    std::array<double, 4> headOri;
};

std::array<double, 4> four(const double* values) {
    return {values[0], values[1], values[2], values[3]};
}

CellState cellOf(CMegOpmqv& record, int k) {
    return CellState{record.vaporDewar[k].coilName,        record.vaporWork[k].coilName,
                     four(record.vaporWork[k].posP4),      four(record.vaporWork[k].oriP4),
                     four(record.vaporWork[k].nmlDirXYZW), four(record.vaporDewar[k].posP4),
                     four(record.vaporDewar[k].oriP4),     four(record.vaporHead[k].posP4),
                     four(record.vaporHead[k].oriP4)};
}

void expectSameCell(const CellState& expected, const CellState& actual) {
    EXPECT_EQ(expected.dewarName, actual.dewarName);
    EXPECT_EQ(expected.workName, actual.workName);
    for (int c = 0; c < 4; ++c) {
        EXPECT_BITS_EQ(expected.workPos[c], actual.workPos[c]);
        EXPECT_BITS_EQ(expected.workOri[c], actual.workOri[c]);
        EXPECT_BITS_EQ(expected.workNml[c], actual.workNml[c]);
        EXPECT_BITS_EQ(expected.dewarPos[c], actual.dewarPos[c]);
        EXPECT_BITS_EQ(expected.dewarOri[c], actual.dewarOri[c]);
        EXPECT_BITS_EQ(expected.headPos[c], actual.headPos[c]);
        EXPECT_BITS_EQ(expected.headOri[c], actual.headOri[c]);
    }
}

QStringList fieldTexts(const QDialog& dialog) {
    QStringList texts;
    for (int id : {kVaporName, kOpmName, kPosX, kPosY, kPosZ, kDirX, kDirY, kDirZ, kProperGain}) {
        texts.push_back(editOf(dialog, id)->text());
    }
    return texts;
}

const QStringList kOpmTypes{"OPM Sensor", "OPM Reference"};

// ---------------------------------------------------------------------------
// Preparing the sensor before the dialog.

TEST(OpmSetupDialog, SquidSensorAnsweredNoReturnsZeroAndKeepsItsRecord) {
    for (int answer : {IDNO, IDOK, IDCANCEL}) {
        CMEGSensorqv sensor;
        makeSquid(sensor);
        CMegGrdBscqv* squid = sensor.hardware.get();
        const std::vector<BYTE> before = fileOf(sensor);
        MessageBoxRecorder boxes(answer);
        const DialogRun run = runSetup(sensor, [](QDialog&) {});
        EXPECT_EQ(run.result, 0) << "answer " << answer;
        EXPECT_FALSE(run.opened);
        ASSERT_EQ(boxes.boxes().size(), 1u);
        EXPECT_EQ(boxes.boxes()[0].text, kQuestion);
        EXPECT_EQ(boxes.boxes()[0].type, MB_YESNO);
        EXPECT_EQ(boxes.boxes()[0].helpId, 0u);
        EXPECT_EQ(sensor.hardwareType, 0);
        EXPECT_EQ(sensor.hardware.get(), squid);
        EXPECT_EQ(fluxgrid::sensor::hardwareRecordKind(sensor.hardware), 0);
        EXPECT_EQ(sensor.hardware->hardwareName, CString("SQUID rack"));
        EXPECT_BYTES_EQ(before, fileOf(sensor));
    }
}

TEST(OpmSetupDialog, SquidSensorAnsweredYesThenCancelKeepsTheNewOpmRecord) {
    CMEGSensorqv sensor;
    makeSquid(sensor);
    const std::weak_ptr<CMegGrdBscqv> squid = sensor.hardware;
    MessageBoxRecorder boxes(IDYES);
    QStringList entries;
    int selected = -2;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        entries = entriesOf(comboOf(dialog, kVaporList));
        selected = comboOf(dialog, kVaporList)->currentIndex();
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_TRUE(run.opened);
    EXPECT_FALSE(run.closedByWatchdog);
    ASSERT_EQ(boxes.texts(), std::vector<std::string>{kQuestion});
    EXPECT_TRUE(squid.expired());
    EXPECT_EQ(sensor.hardwareType, 1);
    ASSERT_NE(sensor.hardware, nullptr);
    EXPECT_EQ(fluxgrid::sensor::hardwareRecordKind(sensor.hardware), 1);
    EXPECT_EQ(opmOf(sensor)->totalVapors, 1);
    EXPECT_EQ(opmOf(sensor)->currentVaporID, 0);
    EXPECT_EQ(opmOf(sensor)->hardwareName, CString(""));
    EXPECT_EQ(entries, QStringList{"OPMg0"});
    EXPECT_EQ(selected, 0);
}

TEST(OpmSetupDialog, SquidSensorAnsweredYesThenOkEndsWithOne) {
    CMEGSensorqv sensor;
    makeSquid(sensor);
    MessageBoxRecorder boxes(IDYES);
    const DialogRun run = runSetup(sensor, [](QDialog& dialog) { click(buttonOf(dialog, kOk)); });
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(sensor.hardwareType, 1);
    EXPECT_EQ(fluxgrid::sensor::hardwareRecordKind(sensor.hardware), 1);
    EXPECT_EQ(opmOf(sensor)->totalVapors, 1);
    EXPECT_EQ(opmOf(sensor)->currentVaporID, 0);
    // OK wrote the fields as they opened: "OPM Name" showed the empty name,
    // "Vapor Name" the cell's name.
    EXPECT_EQ(opmOf(sensor)->hardwareName, CString(""));
    EXPECT_EQ(opmOf(sensor)->vaporDewar[0].coilName, CString("OPMg0"));
}

TEST(OpmSetupDialog, NewSensorOpensWithoutQuestionOnOpmSensorAndRaisesItsType) {
    CMEGSensorqv sensor;
    ASSERT_EQ(sensor.hardwareType, -1);
    ASSERT_EQ(sensor.hardware, nullptr);
    ASSERT_EQ(sensor.sensorType, 0);
    MessageBoxRecorder boxes(IDNO);
    int typeWhileOpen = -1;
    QString shownType;
    int shownIndex = -2;
    QStringList types;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        typeWhileOpen = sensor.sensorType;
        shownType = comboOf(dialog, kOpmType)->currentText();
        shownIndex = comboOf(dialog, kOpmType)->currentIndex();
        types = entriesOf(comboOf(dialog, kOpmType));
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_TRUE(run.opened);
    EXPECT_EQ(run.result, 0);
    EXPECT_TRUE(boxes.boxes().empty());
    EXPECT_EQ(typeWhileOpen, 700);
    EXPECT_EQ(shownIndex, 0);
    EXPECT_EQ(shownType, "OPM Sensor");
    EXPECT_EQ(types, kOpmTypes);
    EXPECT_EQ(sensor.sensorType, 700);
    EXPECT_EQ(sensor.hardwareType, 1);
    EXPECT_EQ(opmOf(sensor)->totalVapors, 1);
}

TEST(OpmSetupDialog, RecordWithoutCellsInUseGetsOneBeforeTheDialog) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 0, 5);
    int totalWhileOpen = -1;
    int currentWhileOpen = -1;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        totalWhileOpen = opmOf(sensor)->totalVapors;
        currentWhileOpen = opmOf(sensor)->currentVaporID;
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(totalWhileOpen, 1);
    EXPECT_EQ(currentWhileOpen, 0);
    EXPECT_EQ(opmOf(sensor)->totalVapors, 1);
    EXPECT_EQ(opmOf(sensor)->currentVaporID, 0);
}

TEST(OpmSetupDialog, RecordThatCannotBeMadeIsReportedAndTheSquidRecordStaysRemoved) {
    CMEGSensorqv sensor;
    makeSquid(sensor);
    const std::weak_ptr<CMegGrdBscqv> squid = sensor.hardware;
    MessageBoxRecorder boxes(IDYES);
    const auto previous = fluxgrid::sensor::setHardwareRecordAllocator(
        [](int) { return fluxgrid::sensor::HardwareRecord(); });
    const DialogRun run = runSetup(sensor, [](QDialog&) {});
    fluxgrid::sensor::setHardwareRecordAllocator(previous);
    EXPECT_EQ(run.result, 0);
    EXPECT_FALSE(run.opened);
    ASSERT_EQ(boxes.boxes().size(), 2u);
    EXPECT_EQ(boxes.boxes()[0].text, kQuestion);
    EXPECT_EQ(boxes.boxes()[1].text, "Making OPM Sensor error");
    EXPECT_EQ(boxes.boxes()[1].type, MB_OK);
    EXPECT_TRUE(squid.expired());
    EXPECT_EQ(sensor.hardware, nullptr);
    EXPECT_EQ(sensor.hardwareType, 0);
}

// ---------------------------------------------------------------------------
// Filling the dialog.

TEST(OpmSetupDialog, OpensOnTheCurrentCellWithWorkPositionAndDewarName) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 3, 2);
    sensor.sensorType = 700;
    opmOf(sensor)->vaporWork[2].posP4[0] = 0.1;
    opmOf(sensor)->vaporWork[2].posP4[1] = 1.0 / 3.0;
    opmOf(sensor)->vaporWork[2].posP4[2] = -1e-20;
    opmOf(sensor)->vaporWork[2].oriP4[0] = 12345678901234567.0;
    opmOf(sensor)->vaporWork[2].oriP4[1] = -0.0;
    opmOf(sensor)->vaporWork[2].oriP4[2] = 2.5;
    QStringList entries;
    int selected = -2;
    QStringList fields;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        entries = entriesOf(comboOf(dialog, kVaporList));
        selected = comboOf(dialog, kVaporList)->currentIndex();
        fields = fieldTexts(dialog);
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(entries, (QStringList{"Dewar cell 0", "Dewar cell 1", "Dewar cell 2"}));
    EXPECT_EQ(selected, 2);
    EXPECT_EQ(fields, (QStringList{"Dewar cell 2", "Rack 4", "0.1", "0.333333333333333", "-1e-20",
                                   "1.23456789012346e+16", "-0", "2.5", "0"}));
}

TEST(OpmSetupDialog, ProperGainOpensAtZeroAndATypedValueIsLostAtOk) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 2, 0);
    opmOf(sensor)->properGain = 2.5;
    QString shown;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        shown = editOf(dialog, kProperGain)->text();
        typeInto(editOf(dialog, kProperGain), "7.25");
        click(buttonOf(dialog, kOk));
    });
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(shown, "0");
    EXPECT_BITS_EQ(2.5, opmOf(sensor)->properGain);
}

TEST(OpmSetupDialog, TypeBetweenTheTwoCodesShowsAsOpmSensorAndKeepsItsValue) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 1, 0);
    sensor.sensorType = 750;
    QString shown;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        shown = comboOf(dialog, kOpmType)->currentText();
        click(buttonOf(dialog, kOk));
    });
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(shown, "OPM Sensor");
    EXPECT_EQ(sensor.sensorType, 750);
}

TEST(OpmSetupDialog, TypeBelowOpmIsRaisedWhileFillingAndStaysRaised) {
    for (int closer : {kOk, kCancel}) {
        CMEGSensorqv sensor;
        makeOpm(sensor, 1, 0);
        sensor.sensorType = 5;
        int typeWhileOpen = -1;
        const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
            typeWhileOpen = sensor.sensorType;
            click(buttonOf(dialog, closer));
        });
        EXPECT_EQ(run.result, closer == kOk ? 1 : 0);
        EXPECT_EQ(typeWhileOpen, 700);
        EXPECT_EQ(sensor.sensorType, 700);
    }
}

// ---------------------------------------------------------------------------
// The type list.

TEST(OpmSetupDialog, ReferenceOpensOnOpmReferenceAndChoosingOpmSensorSurvivesCancel) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 1, 0);
    sensor.sensorType = 800;
    QString shown;
    int typeAfterChoice = -1;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        shown = comboOf(dialog, kOpmType)->currentText();
        chooseFromList(comboOf(dialog, kOpmType), 0);
        typeAfterChoice = sensor.sensorType;
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(shown, "OPM Reference");
    EXPECT_EQ(typeAfterChoice, 700);
    EXPECT_EQ(sensor.sensorType, 700);
}

TEST(OpmSetupDialog, ChoosingOpmReferenceTakesEffectAtOnceAndStaysWithOk) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 1, 0);
    int typeAfterChoice = -1;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        chooseFromList(comboOf(dialog, kOpmType), 1);
        typeAfterChoice = sensor.sensorType;
        click(buttonOf(dialog, kOk));
    });
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(typeAfterChoice, 800);
    EXPECT_EQ(sensor.sensorType, 800);
}

TEST(OpmSetupDialog, ArrowKeysInTheTypeListSelectAsTheListDoes) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 1, 0);
    int typeAfterDown = -1;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        QTest::keyClick(comboOf(dialog, kOpmType), Qt::Key_Down);
        typeAfterDown = sensor.sensorType;
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(typeAfterDown, 800);
    EXPECT_EQ(sensor.sensorType, 800);
}

TEST(OpmSetupDialog, TextTypedIntoTheListsChangesNothing) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 3, 0);
    int typeAfterTyping = -1;
    int currentAfterTyping = -1;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        QComboBox* types = comboOf(dialog, kOpmType);
        QComboBox* cells = comboOf(dialog, kVaporList);
        types->lineEdit()->selectAll();
        QTest::keyClicks(types->lineEdit(), "OPM Reference");
        QTest::keyClick(types->lineEdit(), Qt::Key_Return);
        cells->lineEdit()->selectAll();
        QTest::keyClicks(cells->lineEdit(), "Dewar cell 2");
        QTest::keyClick(cells->lineEdit(), Qt::Key_Return);
        // Leaving the fields ends their editing, as a click elsewhere would.
        editOf(dialog, kPosX)->setFocus();
        QCoreApplication::processEvents();
        typeAfterTyping = sensor.sensorType;
        currentAfterTyping = opmOf(sensor)->currentVaporID;
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_FALSE(run.closedByWatchdog);
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(typeAfterTyping, 700);
    EXPECT_EQ(currentAfterTyping, 0);
    EXPECT_EQ(sensor.sensorType, 700);
    EXPECT_EQ(opmOf(sensor)->currentVaporID, 0);
    EXPECT_EQ(opmOf(sensor)->totalVapors, 3);
}

// ---------------------------------------------------------------------------
// The vapor list.

TEST(OpmSetupDialog, SingleCellListIsInertEvenForTheEditFields) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 1, 0);
    const std::vector<BYTE> before = fileOf(sensor);
    QStringList typed;
    QStringList afterChoice;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        typeInto(editOf(dialog, kPosX), "12.5");
        typeInto(editOf(dialog, kVaporName), "Typed name");
        typed = fieldTexts(dialog);
        chooseFromList(comboOf(dialog, kVaporList), 0);
        afterChoice = fieldTexts(dialog);
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(typed[0], "Typed name");
    EXPECT_EQ(typed[2], "12.5");
    EXPECT_EQ(afterChoice, typed);
    EXPECT_EQ(opmOf(sensor)->totalVapors, 1);
    EXPECT_EQ(opmOf(sensor)->currentVaporID, 0);
    EXPECT_BYTES_EQ(before, fileOf(sensor));
}

TEST(OpmSetupDialog, ChoosingAnotherCellDiscardsTypedNumbersAndSurvivesCancel) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 3, 0);
    opmOf(sensor)->totalVapors = 3;
    QStringList afterChoice;
    int totalAfterChoice = -1;
    int currentAfterChoice = -1;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        typeInto(editOf(dialog, kPosX), "99");
        typeInto(editOf(dialog, kDirZ), "-7");
        chooseFromList(comboOf(dialog, kVaporList), 1);
        afterChoice = fieldTexts(dialog);
        totalAfterChoice = opmOf(sensor)->totalVapors;
        currentAfterChoice = opmOf(sensor)->currentVaporID;
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(afterChoice, (QStringList{"Dewar cell 1", "Rack 4", "2", "2.125", "2.25", "0.5",
                                        "0.25", "0", "0"}));
    EXPECT_EQ(totalAfterChoice, 3);
    EXPECT_EQ(currentAfterChoice, 1);
    EXPECT_EQ(opmOf(sensor)->totalVapors, 3);
    EXPECT_EQ(opmOf(sensor)->currentVaporID, 1);
    EXPECT_BITS_EQ(1.0, opmOf(sensor)->vaporWork[0].posP4[0]);
}

TEST(OpmSetupDialog, ChoosingACellAndOkWritesThatCellAndNoOther) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 4, 0);
    CMegOpmqv* record = opmOf(sensor);
    std::vector<CellState> before;
    for (int k = 0; k < 8; ++k) {
        before.push_back(cellOf(*record, k));
    }
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        chooseFromList(comboOf(dialog, kVaporList), 3);
        typeInto(editOf(dialog, kVaporName), "Occipital");
        typeInto(editOf(dialog, kPosY), "-3.75");
        typeInto(editOf(dialog, kDirX), "0.6");
        click(buttonOf(dialog, kOk));
    });
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(record->currentVaporID, 3);
    EXPECT_EQ(record->totalVapors, 4);
    EXPECT_EQ(record->vaporDewar[3].coilName, CString("Occipital"));
    EXPECT_EQ(record->vaporWork[3].coilName, CString("Work cell 3"));
    EXPECT_BITS_EQ(4.0, record->vaporWork[3].posP4[0]);
    EXPECT_BITS_EQ(-3.75, record->vaporWork[3].posP4[1]);
    EXPECT_BITS_EQ(4.25, record->vaporWork[3].posP4[2]);
    EXPECT_BITS_EQ(0.6, record->vaporWork[3].oriP4[0]);
    EXPECT_BITS_EQ(1.25, record->vaporWork[3].oriP4[1]);
    EXPECT_BITS_EQ(1.0, record->vaporWork[3].oriP4[2]);
    for (int k = 0; k < 8; ++k) {
        if (k != 3) {
            expectSameCell(before[static_cast<std::size_t>(k)], cellOf(*record, k));
        }
    }
}

TEST(OpmSetupDialog, AddVaporChangesNothing) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 2, 1);
    const std::vector<BYTE> before = fileOf(sensor);
    QStringList fieldsBefore;
    QStringList fieldsAfter;
    QStringList entriesAfter;
    bool stillOpen = false;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        fieldsBefore = fieldTexts(dialog);
        QPushButton* add = buttonOf(dialog, kAddVapor);
        EXPECT_TRUE(add->isVisible());
        EXPECT_TRUE(add->isEnabled());
        EXPECT_EQ(add->text(), "Add Vapor");
        click(add);
        click(add);
        fieldsAfter = fieldTexts(dialog);
        entriesAfter = entriesOf(comboOf(dialog, kVaporList));
        stillOpen = dialog.isVisible();
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_TRUE(stillOpen);
    EXPECT_EQ(fieldsAfter, fieldsBefore);
    EXPECT_EQ(entriesAfter, (QStringList{"Dewar cell 0", "Dewar cell 1"}));
    EXPECT_EQ(opmOf(sensor)->hardwareName, CString("Rack 4"));
    EXPECT_BYTES_EQ(before, fileOf(sensor));
}

// ---------------------------------------------------------------------------
// What OK writes, and what Cancel keeps.

TEST(OpmSetupDialog, OkWritesNamesToTheDewarCellAndVectorsToTheWorkCellOnly) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 3, 2);
    sensor.snsRawName = CString("Raw 7");
    sensor.snsShowName = CString("Show 7");
    CMegOpmqv* record = opmOf(sensor);
    const CellState before = cellOf(*record, 2);
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        typeInto(editOf(dialog, kOpmName), "Helmet A");
        typeInto(editOf(dialog, kVaporName), "Left temporal");
        typeInto(editOf(dialog, kPosX), "1.5");
        typeInto(editOf(dialog, kPosY), "-2.25e1");
        typeInto(editOf(dialog, kPosZ), " 3 ");
        typeInto(editOf(dialog, kDirX), "0.1");
        typeInto(editOf(dialog, kDirY), "+0.2");
        typeInto(editOf(dialog, kDirZ), "-0.3");
        click(buttonOf(dialog, kOk));
    });
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(record->hardwareName, CString("Helmet A"));
    EXPECT_EQ(record->vaporDewar[2].coilName, CString("Left temporal"));
    EXPECT_BITS_EQ(1.5, record->vaporWork[2].posP4[0]);
    EXPECT_BITS_EQ(-22.5, record->vaporWork[2].posP4[1]);
    EXPECT_BITS_EQ(3.0, record->vaporWork[2].posP4[2]);
    EXPECT_BITS_EQ(0.1, record->vaporWork[2].oriP4[0]);
    EXPECT_BITS_EQ(0.2, record->vaporWork[2].oriP4[1]);
    EXPECT_BITS_EQ(-0.3, record->vaporWork[2].oriP4[2]);
    // Everything else of the cell as it was: the work name, the fourth
    // components, the derived normal, the dewar and head frames.
    const CellState after = cellOf(*record, 2);
    EXPECT_EQ(after.workName, before.workName);
    EXPECT_BITS_EQ(before.workPos[3], after.workPos[3]);
    EXPECT_BITS_EQ(before.workOri[3], after.workOri[3]);
    for (int c = 0; c < 4; ++c) {
        EXPECT_BITS_EQ(before.workNml[c], after.workNml[c]);
        EXPECT_BITS_EQ(before.dewarPos[c], after.dewarPos[c]);
        EXPECT_BITS_EQ(before.dewarOri[c], after.dewarOri[c]);
        EXPECT_BITS_EQ(before.headPos[c], after.headPos[c]);
        EXPECT_BITS_EQ(before.headOri[c], after.headOri[c]);
    }
    EXPECT_EQ(sensor.snsRawName, CString("Raw 7"));
    EXPECT_EQ(sensor.snsShowName, CString("Show 7"));
    EXPECT_EQ(record->currentVaporID, 2);
    EXPECT_EQ(record->totalVapors, 3);
}

TEST(OpmSetupDialog, CancelWritesNoneOfTheEditedValues) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 3, 2);
    const std::vector<BYTE> before = fileOf(sensor);
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        typeInto(editOf(dialog, kOpmName), "Helmet A");
        typeInto(editOf(dialog, kVaporName), "Left temporal");
        typeInto(editOf(dialog, kPosX), "1.5");
        typeInto(editOf(dialog, kDirZ), "-0.3");
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(opmOf(sensor)->hardwareName, CString("Rack 4"));
    EXPECT_BYTES_EQ(before, fileOf(sensor));
}

TEST(OpmSetupDialog, EscapeIsThePlainCancel) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 3, 2);
    const std::vector<BYTE> before = fileOf(sensor);
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        typeInto(editOf(dialog, kOpmName), "Helmet A");
        QTest::keyClick(&dialog, Qt::Key_Escape);
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_FALSE(run.closedByWatchdog);
    EXPECT_EQ(opmOf(sensor)->hardwareName, CString("Rack 4"));
    EXPECT_BYTES_EQ(before, fileOf(sensor));
}

TEST(OpmSetupDialog, ReturnInAFieldIsOk) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 1, 0);
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        typeInto(editOf(dialog, kOpmName), "Helmet B");
        QTest::keyClick(editOf(dialog, kOpmName), Qt::Key_Return);
    });
    EXPECT_EQ(run.result, 1);
    EXPECT_FALSE(run.closedByWatchdog);
    EXPECT_EQ(opmOf(sensor)->hardwareName, CString("Helmet B"));
}

// ---------------------------------------------------------------------------
// A number field that holds no number.

TEST(OpmSetupDialog, NotANumberIsRefusedTwiceAtOkWithTheRecordPartlyWritten) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 2, 1);
    CMegOpmqv* record = opmOf(sensor);
    MessageBoxRecorder boxes(IDOK);
    bool openAfterOk = false;
    std::size_t boxesAfterOk = 0;
    CString nameAfterOk;
    CString cellNameAfterOk;
    std::array<double, 3> posAfterOk{};
    std::array<double, 3> oriAfterOk{};
    QString selectedAfterOk;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        typeInto(editOf(dialog, kOpmName), "Helmet C");
        typeInto(editOf(dialog, kVaporName), "Frontal");
        typeInto(editOf(dialog, kPosX), "1.5");
        typeInto(editOf(dialog, kPosY), "2.5");
        typeInto(editOf(dialog, kPosZ), "abc");
        typeInto(editOf(dialog, kDirX), "9");
        click(buttonOf(dialog, kOk));
        openAfterOk = dialog.isVisible();
        boxesAfterOk = boxes.boxes().size();
        nameAfterOk = record->hardwareName;
        cellNameAfterOk = record->vaporDewar[1].coilName;
        posAfterOk = {record->vaporWork[1].posP4[0], record->vaporWork[1].posP4[1],
                      record->vaporWork[1].posP4[2]};
        oriAfterOk = {record->vaporWork[1].oriP4[0], record->vaporWork[1].oriP4[1],
                      record->vaporWork[1].oriP4[2]};
        selectedAfterOk = editOf(dialog, kPosZ)->selectedText();
        // Corrected, OK goes through.
        typeInto(editOf(dialog, kPosZ), "3.5");
        click(buttonOf(dialog, kOk));
    });
    EXPECT_FALSE(run.closedByWatchdog);
    EXPECT_TRUE(openAfterOk);
    ASSERT_EQ(boxesAfterOk, 2u);
    for (const auto& box : boxes.boxes()) {
        EXPECT_EQ(box.text, kNotANumber);
        EXPECT_EQ(box.type, MB_OK | MB_ICONWARNING);
    }
    // The first exchange stopped at "Z": the members before it took the
    // typed values, "Z" and the direction kept the values they opened with.
    EXPECT_EQ(nameAfterOk, CString("Helmet C"));
    EXPECT_EQ(cellNameAfterOk, CString("Frontal"));
    EXPECT_BITS_EQ(1.5, posAfterOk[0]);
    EXPECT_BITS_EQ(2.5, posAfterOk[1]);
    EXPECT_BITS_EQ(2.25, posAfterOk[2]);
    EXPECT_BITS_EQ(0.5, oriAfterOk[0]);
    EXPECT_BITS_EQ(0.25, oriAfterOk[1]);
    EXPECT_BITS_EQ(0.0, oriAfterOk[2]);
    EXPECT_EQ(selectedAfterOk, "abc");
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(boxes.boxes().size(), 2u);
    EXPECT_BITS_EQ(3.5, record->vaporWork[1].posP4[2]);
    EXPECT_BITS_EQ(9.0, record->vaporWork[1].oriP4[0]);
}

TEST(OpmSetupDialog, EmptyAndMalformedNumbersAreRefusedAndWellFormedOnesTaken) {
    struct Case {
        const char* text;
        bool refused;
        double value;
    };
    const std::vector<Case> cases{
        {"", true, 0.0},          {"  ", true, 0.0},  {"1,5", true, 0.0},
        {"1.5x", true, 0.0},      {"--1", true, 0.0}, {"+-1", true, 0.0},
        {"0x10", true, 0.0},      {"1e", true, 0.0},  {"-4.5", false, -4.5},
        {".5", false, 0.5},       {"5.", false, 5.0}, {"1E3", false, 1000.0},
        {"\t-0\t", false, -0.0},  {"+7", false, 7.0}, {"1e400", false, HUGE_VAL},
        {"-1e-400", false, -0.0},
    };
    for (const Case& c : cases) {
        CMEGSensorqv sensor;
        makeOpm(sensor, 1, 0);
        MessageBoxRecorder boxes(IDOK);
        const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
            typeInto(editOf(dialog, kDirY), QString::fromUtf8(c.text));
            click(buttonOf(dialog, kOk));
            if (dialog.isVisible()) {
                click(buttonOf(dialog, kCancel));
            }
        });
        EXPECT_EQ(run.result, c.refused ? 0 : 1) << '"' << c.text << '"';
        EXPECT_EQ(boxes.boxes().size(), c.refused ? 2u : 0u) << '"' << c.text << '"';
        if (!c.refused) {
            EXPECT_BITS_EQ(c.value, opmOf(sensor)->vaporWork[0].oriP4[1]) << '"' << c.text << '"';
        }
    }
}

// ---------------------------------------------------------------------------
// Counts and indices that came from a file outside the eight cells.

TEST(OpmSetupDialog, CurrentCellBeyondTheEightIsNoCellAndOkWritesOnlyTheName) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 12, 9);
    CMegOpmqv* record = opmOf(sensor);
    std::vector<CellState> before;
    for (int k = 0; k < 8; ++k) {
        before.push_back(cellOf(*record, k));
    }
    QStringList entries;
    int selected = -2;
    QStringList fields;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        entries = entriesOf(comboOf(dialog, kVaporList));
        selected = comboOf(dialog, kVaporList)->currentIndex();
        fields = fieldTexts(dialog);
        typeInto(editOf(dialog, kOpmName), "Helmet D");
        typeInto(editOf(dialog, kPosX), "5");
        click(buttonOf(dialog, kOk));
    });
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(entries.size(), 8);
    EXPECT_EQ(entries.front(), "Dewar cell 0");
    EXPECT_EQ(entries.back(), "Dewar cell 7");
    EXPECT_EQ(selected, -1);
    EXPECT_EQ(fields, (QStringList{"Vapor", "Rack 4", "0", "0", "0", "0", "0", "0", "0"}));
    EXPECT_EQ(record->hardwareName, CString("Helmet D"));
    EXPECT_EQ(record->totalVapors, 12);
    EXPECT_EQ(record->currentVaporID, 9);
    for (int k = 0; k < 8; ++k) {
        expectSameCell(before[static_cast<std::size_t>(k)], cellOf(*record, k));
    }
}

TEST(OpmSetupDialog, NegativeCurrentCellIsNoCellEither) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 3, -4);
    const std::vector<BYTE> before = fileOf(sensor);
    int selected = -2;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        selected = comboOf(dialog, kVaporList)->currentIndex();
        click(buttonOf(dialog, kOk));
    });
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(selected, -1);
    EXPECT_EQ(opmOf(sensor)->currentVaporID, -4);
    EXPECT_BYTES_EQ(before, fileOf(sensor));
}

TEST(OpmSetupDialog, ChoosingACellAfterAnOutOfRangeCountStoresEightEntries) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 12, 9);
    QStringList fields;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        chooseFromList(comboOf(dialog, kVaporList), 7);
        fields = fieldTexts(dialog);
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_EQ(run.result, 0);
    EXPECT_EQ(opmOf(sensor)->totalVapors, 8);
    EXPECT_EQ(opmOf(sensor)->currentVaporID, 7);
    EXPECT_EQ(fields, (QStringList{"Dewar cell 7", "Rack 4", "8", "8.125", "8.25", "3.5", "3.25",
                                   "3", "0"}));
}

TEST(OpmSetupDialog, CurrentCellWithinTheEightButBeyondTheListIsUsedAsItStands) {
    CMEGSensorqv sensor;
    makeOpm(sensor, 3, 5);
    int selected = -2;
    int entries = -1;
    QString name;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        selected = comboOf(dialog, kVaporList)->currentIndex();
        entries = comboOf(dialog, kVaporList)->count();
        name = editOf(dialog, kVaporName)->text();
        typeInto(editOf(dialog, kPosZ), "-1");
        click(buttonOf(dialog, kOk));
    });
    EXPECT_EQ(run.result, 1);
    EXPECT_EQ(entries, 3);
    EXPECT_EQ(selected, -1);
    EXPECT_EQ(name, "Dewar cell 5");
    EXPECT_BITS_EQ(-1.0, opmOf(sensor)->vaporWork[5].posP4[2]);
    EXPECT_EQ(opmOf(sensor)->currentVaporID, 5);
}

// ---------------------------------------------------------------------------
// The dialog object on its own.

TEST(OpmSetupDialog, WithoutASensorTheDialogOpensOnItsInitialValues) {
    CDlgMegSnsOpmSetup dialog;
    QStringList fields;
    int vaporEntries = -1;
    int typeEntries = -1;
    const DialogRun run = runDialog(dialog, [&](QDialog& open) {
        fields = fieldTexts(open);
        vaporEntries = comboOf(open, kVaporList)->count();
        typeEntries = comboOf(open, kOpmType)->count();
        click(buttonOf(open, kOk));
    });
    EXPECT_EQ(run.result, IDOK);
    EXPECT_EQ(fields, (QStringList{"Vapor", "OPM", "0", "0", "0", "0", "0", "0", "0"}));
    EXPECT_EQ(vaporEntries, 0);
    EXPECT_EQ(typeEntries, 0);
    EXPECT_EQ(dialog.comboVapor, comboOf(dialog, kVaporList));
    EXPECT_EQ(dialog.comboOpmType, comboOf(dialog, kOpmType));
}

TEST(OpmSetupDialog, SensorThatIsNotOpmIsNotFilled) {
    CMEGSensorqv sensor;
    makeSquid(sensor);
    sensor.sensorType = 3;
    CDlgMegSnsOpmSetup dialog;
    dialog.sensor = &sensor;
    int typeEntries = -1;
    const DialogRun run = runDialog(dialog, [&](QDialog& open) {
        typeEntries = comboOf(open, kOpmType)->count();
        click(buttonOf(open, kCancel));
    });
    EXPECT_EQ(run.result, IDCANCEL);
    EXPECT_EQ(typeEntries, 0);
    EXPECT_EQ(sensor.sensorType, 3);
    EXPECT_EQ(sensor.hardwareType, 0);
}

// ---------------------------------------------------------------------------
// The template: found through the module, drawn in dialog units.

int mulDiv(int a, int b, int c) {
    return static_cast<int>(std::lround(static_cast<double>(a) * b / c));
}

TEST(OpmSetupDialog, TemplateIsFoundThroughTheModuleRegistrationAlone) {
    AFX_EXTENSION_MODULE& record = fluxgrid::moduleRecord();
    const HMODULE module = record.hModule;
    ASSERT_NE(module, nullptr);
    CMEGSensorqv sensor;
    // Detached, the search finds no template and no dialog opens; the
    // sensor was prepared before that.
    fluxgrid::DllMain(module, DLL_PROCESS_DETACH, nullptr);
    const DialogRun detached = runSetup(sensor, [](QDialog&) {});
    fluxgrid::DllMain(module, DLL_PROCESS_ATTACH, nullptr);
    EXPECT_EQ(detached.result, 0);
    EXPECT_FALSE(detached.opened);
    EXPECT_EQ(sensor.hardwareType, 1);
    const DialogRun attached =
        runSetup(sensor, [](QDialog& dialog) { click(buttonOf(dialog, kOk)); });
    EXPECT_TRUE(attached.opened);
    EXPECT_EQ(attached.result, 1);
}

TEST(OpmSetupDialog, ControlsCarryTheirIdsKindsAndLabels) {
    CMEGSensorqv sensor;
    QString title;
    QString name;
    std::vector<QString> missing;
    QStringList labels;
    bool okIsDefault = false;
    bool combosEditable = false;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        title = dialog.windowTitle();
        name = dialog.objectName();
        for (int id : {kOk, kCancel, kAddVapor}) {
            if (buttonOf(dialog, id) == nullptr) {
                missing.push_back(QString::number(id));
            }
        }
        for (int id :
             {kVaporName, kOpmName, kPosX, kPosY, kPosZ, kDirX, kDirY, kDirZ, kProperGain}) {
            if (editOf(dialog, id) == nullptr) {
                missing.push_back(QString::number(id));
            }
        }
        for (int id : {kVaporList, kOpmType}) {
            if (comboOf(dialog, id) == nullptr) {
                missing.push_back(QString::number(id));
            }
        }
        for (const QLabel* label : dialog.findChildren<QLabel*>(Qt::FindDirectChildrenOnly)) {
            labels.push_back(label->text());
        }
        okIsDefault = buttonOf(dialog, kOk)->isDefault() && !buttonOf(dialog, kCancel)->isDefault();
        combosEditable =
            comboOf(dialog, kVaporList)->isEditable() && comboOf(dialog, kOpmType)->isEditable();
        EXPECT_EQ(buttonOf(dialog, kOk)->text(), "OK");
        EXPECT_EQ(buttonOf(dialog, kCancel)->text(), "Cancel");
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_TRUE(run.opened);
    EXPECT_EQ(title, "Setup MEG Sensor (Gradient OPM)");
    EXPECT_EQ(name, "3000");
    EXPECT_TRUE(missing.empty());
    EXPECT_EQ(labels, (QStringList{"Vapor Name", "OPM Name", "Position", "X", "Y", "Z", "Direction",
                                   "Proper Gain"}));
    EXPECT_TRUE(okIsDefault);
    EXPECT_TRUE(combosEditable);
}

TEST(OpmSetupDialog, GeometryIsTheTemplateInDialogUnitsOfTheDialogFont) {
    CMEGSensorqv sensor;
    QRect ok;
    QRect cancel;
    QRect posZ;
    QRect vaporList;
    QSize size;
    QSize minimum;
    QSize maximum;
    QFont font;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        ok = buttonOf(dialog, kOk)->geometry();
        cancel = buttonOf(dialog, kCancel)->geometry();
        posZ = editOf(dialog, kPosZ)->geometry();
        vaporList = comboOf(dialog, kVaporList)->geometry();
        size = dialog.size();
        minimum = dialog.minimumSize();
        maximum = dialog.maximumSize();
        font = dialog.font();
        click(buttonOf(dialog, kCancel));
    });
    ASSERT_TRUE(run.opened);
    EXPECT_EQ(font.pointSize(), 8);
    EXPECT_EQ(font.styleHint(), QFont::SansSerif);
    const QFontMetrics metrics(font);
    const int letters = metrics.horizontalAdvance(
        QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"));
    const int baseX = (letters / 26 + 1) / 2;
    const int baseY = metrics.height();
    ASSERT_GT(baseX, 0);
    ASSERT_GT(baseY, 0);
    const auto toPixels = [&](int x, int y, int cx, int cy) {
        return QRect(mulDiv(x, baseX, 4), mulDiv(y, baseY, 8), mulDiv(cx, baseX, 4),
                     mulDiv(cy, baseY, 8));
    };
    EXPECT_EQ(ok, toPixels(58, 145, 50, 14));
    EXPECT_EQ(cancel, toPixels(118, 145, 50, 14));
    EXPECT_EQ(posZ, toPixels(134, 79, 35, 14));
    // A drop-down list's template height is its dropped list.
    EXPECT_EQ(vaporList.topLeft(), toPixels(69, 11, 79, 111).topLeft());
    EXPECT_EQ(vaporList.width(), toPixels(69, 11, 79, 111).width());
    const QSize client(mulDiv(245, baseX, 4), mulDiv(166, baseY, 8));
    EXPECT_EQ(size, client);
    EXPECT_EQ(minimum, client);
    EXPECT_EQ(maximum, client);
}

TEST(OpmSetupDialog, EveryControlStandsAtItsTemplateRectangle) {
    struct Place {
        int id;
        int x;
        int y;
        int cx;
        int cy;
    };
    // Labels have no id; they are checked by their text below.
    const std::vector<Place> controls{
        {kOk, 58, 145, 50, 14},     {kCancel, 118, 145, 50, 14}, {kVaporName, 18, 47, 61, 14},
        {kOpmName, 94, 47, 61, 14}, {kPosX, 48, 79, 35, 14},     {kPosY, 91, 79, 35, 14},
        {kPosZ, 134, 79, 35, 14},   {kDirX, 48, 100, 35, 14},    {kDirY, 91, 100, 35, 14},
        {kDirZ, 134, 100, 35, 14},  {kAddVapor, 13, 10, 50, 14}, {kProperGain, 170, 46, 61, 14},
    };
    struct LabelPlace {
        const char* text;
        int x;
        int y;
        int cx;
        int cy;
        Qt::Alignment align;
    };
    const std::vector<LabelPlace> labels{
        {"Vapor Name", 20, 33, 55, 8, Qt::AlignHCenter},
        {"OPM Name", 100, 34, 55, 8, Qt::AlignHCenter},
        {"Position", 10, 83, 29, 8, Qt::AlignLeft},
        {"X", 58, 66, 25, 8, Qt::AlignHCenter},
        {"Y", 102, 66, 25, 8, Qt::AlignHCenter},
        {"Z", 141, 66, 25, 8, Qt::AlignHCenter},
        {"Direction", 10, 103, 32, 8, Qt::AlignLeft},
        {"Proper Gain", 176, 33, 48, 8, Qt::AlignLeft},
    };
    CMEGSensorqv sensor;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        const QFontMetrics metrics(dialog.font());
        const int letters = metrics.horizontalAdvance(
            QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"));
        const int baseX = (letters / 26 + 1) / 2;
        const int baseY = metrics.height();
        const auto toPixels = [&](int x, int y, int cx, int cy) {
            return QRect(mulDiv(x, baseX, 4), mulDiv(y, baseY, 8), mulDiv(cx, baseX, 4),
                         mulDiv(cy, baseY, 8));
        };
        for (const Place& place : controls) {
            QWidget* control = dialog.findChild<QWidget*>(QString::number(place.id));
            ASSERT_NE(control, nullptr) << place.id;
            EXPECT_EQ(control->geometry(), toPixels(place.x, place.y, place.cx, place.cy))
                << place.id;
        }
        for (const LabelPlace& place : labels) {
            const QLabel* found = nullptr;
            for (const QLabel* label : dialog.findChildren<QLabel*>()) {
                if (label->text() == QString::fromUtf8(place.text)) {
                    found = label;
                }
            }
            ASSERT_NE(found, nullptr) << place.text;
            EXPECT_EQ(found->geometry(), toPixels(place.x, place.y, place.cx, place.cy))
                << place.text;
            EXPECT_EQ(found->alignment() & Qt::AlignHorizontal_Mask, place.align) << place.text;
        }
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_TRUE(run.opened);
}

// The control that holds the focus, as a template id: an editable list's
// edit part counts as the list.
QString focusedControl(const QDialog& dialog) {
    for (QWidget* widget = QApplication::focusWidget(); widget != nullptr;
         widget = widget->parentWidget()) {
        if (widget->parentWidget() == &dialog) {
            return widget->objectName();
        }
    }
    return QString();
}

TEST(OpmSetupDialog, TabWalksTheControlsInTemplateOrder) {
    CMEGSensorqv sensor;
    QStringList visited;
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        dialog.activateWindow();
        EXPECT_TRUE(QTest::qWaitForWindowActive(&dialog));
        buttonOf(dialog, kOk)->setFocus(Qt::TabFocusReason);
        visited.push_back(focusedControl(dialog));
        for (int step = 0; step < 14; ++step) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            visited.push_back(focusedControl(dialog));
        }
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_TRUE(run.opened);
    EXPECT_EQ(visited, (QStringList{"1", "2", "16031", "16032", "16014", "16015", "16016", "16010",
                                    "16012", "16013", "3000", "16026", "16027", "16011", "1"}));
}

TEST(OpmSetupDialog, OpenDialogRendersToAPicture) {
    CMEGSensorqv sensor;
    sensor.hardwareType = 1;
    sensor.hardware = fluxgrid::sensor::makeHardwareRecord(1);
    opmOf(sensor)->hardwareName = CString("OPM helmet");
    opmOf(sensor)->totalVapors = 3;
    ASSERT_EQ(sensor.setSnsPos(-1, 1, 3.2, -1.5, 7.25), 1);
    ASSERT_EQ(sensor.setSnsOrn(-1, 1, 0.0, 0.0, 1.0), 1);
    bool saved = false;
    QSize pictureSize;
    QSize dialogSize;
    const QString path = QDir(QStringLiteral(FLUXGRID_DIALOG_PICTURE_DIR))
                             .filePath(QStringLiteral("opm-setup-dialog.png"));
    const DialogRun run = runSetup(sensor, [&](QDialog& dialog) {
        const QPixmap picture = dialog.grab();
        pictureSize = picture.size() / picture.devicePixelRatio();
        dialogSize = dialog.size();
        saved = picture.save(path, "PNG");
        click(buttonOf(dialog, kCancel));
    });
    EXPECT_TRUE(run.opened);
    EXPECT_TRUE(saved) << path.toStdString();
    EXPECT_EQ(pictureSize, dialogSize);
    EXPECT_FALSE(QPixmap(path).isNull());
}

// ---------------------------------------------------------------------------
// Message boxes shown by Qt.

TEST(QtMessageBoxes, QuestionIsAQtMessageBoxAndItsAnswerComesBack) {
    const AfxMessageBoxHandler previous = fluxgrid::useQtMessageBoxes();
    QString text;
    int buttons = 0;
    QTimer::singleShot(20, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        text = box->text();
        buttons = static_cast<int>(box->standardButtons());
        QTest::mouseClick(box->button(QMessageBox::Yes), Qt::LeftButton);
    });
    const int answer = AfxMessageBox(CString("Proceed?"), MB_YESNO | MB_ICONQUESTION);
    AfxSetMessageBoxHandler(previous);
    EXPECT_EQ(answer, IDYES);
    EXPECT_EQ(text, "Proceed?");
    EXPECT_EQ(buttons, static_cast<int>(QMessageBox::Yes | QMessageBox::No));
}

TEST(QtMessageBoxes, EscapeAnswersNoToAQuestionAndOkToANotice) {
    const AfxMessageBoxHandler previous = fluxgrid::useQtMessageBoxes();
    const auto pressEscape = [] {
        QTimer::singleShot(20, [] {
            QWidget* box = QApplication::activeModalWidget();
            ASSERT_NE(qobject_cast<QMessageBox*>(box), nullptr);
            QTest::keyClick(box, Qt::Key_Escape);
        });
    };
    pressEscape();
    const int question = AfxMessageBox(CString("Proceed?"), MB_YESNO);
    pressEscape();
    const int notice = AfxMessageBox(CString("Done."));
    AfxSetMessageBoxHandler(previous);
    EXPECT_EQ(question, IDNO);
    EXPECT_EQ(notice, IDOK);
}

TEST(QtMessageBoxes, SquidQuestionOfTheDialogIsAnsweredInAQtMessageBox) {
    const AfxMessageBoxHandler previous = fluxgrid::useQtMessageBoxes();
    CMEGSensorqv sensor;
    makeSquid(sensor);
    QString asked;
    QTimer::singleShot(20, [&] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(box, nullptr);
        asked = box->text();
        QTest::mouseClick(box->button(QMessageBox::No), Qt::LeftButton);
    });
    const DialogRun run = runSetup(sensor, [](QDialog&) {});
    AfxSetMessageBoxHandler(previous);
    EXPECT_EQ(asked, QString::fromStdString(kQuestion));
    EXPECT_EQ(run.result, 0);
    EXPECT_FALSE(run.opened);
    EXPECT_EQ(sensor.hardwareType, 0);
}

}  // namespace
