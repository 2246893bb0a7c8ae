// The fields of the OPM setup dialog show the beginning of their text, the
// sign of a negative number included, when the dialog opens and after
// another vapor cell is chosen, even where the text is wider than the field.
#include "DialogDriver.h"

#include <fluxgrid/dialog.h>

#include <QFontMetrics>
#include <QLineEdit>
#include <QTest>

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

using fluxgrid::test::chooseFromList;
using fluxgrid::test::click;
using fluxgrid::test::comboOf;
using fluxgrid::test::editOf;

constexpr int kCancel = 2;
constexpr int kVaporList = 16027;
constexpr int kOpmType = 16026;

// Every text and number field: the cell's name, the OPM's name, position,
// orientation and gain.
constexpr int kFields[] = {16031, 16032, 16014, 16015, 16016, 16010, 16012, 16013, 16011};

// Two cells whose names are too long for their field and whose numbers are
// negative with many digits, in every frame that the dialog may show.
void makeWideOpm(CMEGSensorqv& sensor) {
    sensor.hardwareType = 1;
    sensor.hardware = fluxgrid::sensor::makeHardwareRecord(1);
    auto* record = static_cast<CMegOpmqv*>(sensor.hardware.get());
    record->hardwareName = CString("An optically pumped magnetometer with a long name");
    record->totalVapors = 2;
    record->currentVaporID = 0;
    for (int k = 0; k < 2; ++k) {
        CString name;
        name.Format("Vapor cell number %d of the left temporal array", k);
        record->vaporDewar[k].coilName = name;
        record->vaporWork[k].coilName = name;
        for (int c = 0; c < 3; ++c) {
            const double position = -104.70795123 - 11.25 * k - 0.5 * c;
            const double orientation = -0.948123456789 + 0.01 * k + 0.001 * c;
            for (CMagVaporqv* frame :
                 {&record->vaporWork[k], &record->vaporDewar[k], &record->vaporHead[k]}) {
                frame->posP4[c] = position;
                frame->oriP4[c] = orientation;
            }
        }
    }
    sensor.sensorType = 700;
}

struct FieldView {
    std::string name;
    std::string text;
    int cursor = -1;
    // Where the text's first character starts, from the left of the field.
    int start = 0;
    int sign = 0;
    bool wider = false;
};

// Each field as the dialog paints it now.
std::vector<FieldView> viewOf(QDialog& dialog) {
    std::vector<FieldView> views;
    std::vector<QLineEdit*> edits;
    for (int id : kFields) {
        edits.push_back(editOf(dialog, id));
    }
    edits.push_back(comboOf(dialog, kVaporList)->lineEdit());
    edits.push_back(comboOf(dialog, kOpmType)->lineEdit());
    for (QLineEdit* edit : edits) {
        FieldView view;
        if (edit == nullptr) {
            views.push_back(view);
            continue;
        }
        // The scroll offset of a field follows its cursor when it is painted.
        edit->repaint();
        view.name = edit->objectName().isEmpty() ? edit->parent()->objectName().toStdString()
                                                 : edit->objectName().toStdString();
        view.text = edit->text().toStdString();
        view.cursor = edit->cursorPosition();
        const QFontMetrics metrics(edit->font());
        view.wider = metrics.horizontalAdvance(edit->text()) > edit->contentsRect().width();
        view.sign = metrics.horizontalAdvance(QLatin1Char('-'));
        // With the cursor at the start, the cursor's place is the text's.
        view.start = edit->cursorPosition() == 0
                         ? edit->inputMethodQuery(Qt::ImCursorRectangle).toRect().center().x()
                         : -1;
        views.push_back(view);
    }
    return views;
}

void expectBeginningShown(const std::vector<FieldView>& views) {
    ASSERT_EQ(views.size(), std::size(kFields) + 2);
    int wide = 0;
    for (const FieldView& view : views) {
        SCOPED_TRACE("field " + view.name + " \"" + view.text + "\"");
        ASSERT_FALSE(view.text.empty());
        EXPECT_EQ(view.cursor, 0);
        // The first character sits at the field's left edge, inside the
        // field, not scrolled out of view to the left.
        EXPECT_GE(view.start, 0);
        EXPECT_LT(view.start, 3 + view.sign);
        wide += view.wider ? 1 : 0;
    }
    // The check means something only where texts do not fit.
    EXPECT_GE(wide, 5);
}

TEST(OpmSetupDialogFields, ShowTheBeginningOfTheirTextWhenTheDialogOpens) {
    CMEGSensorqv sensor;
    makeWideOpm(sensor);
    std::vector<FieldView> opened;
    const auto run = fluxgrid::test::runSetup(sensor, [&](QDialog& dialog) {
        opened = viewOf(dialog);
        click(fluxgrid::test::buttonOf(dialog, kCancel));
    });
    ASSERT_TRUE(run.opened);
    EXPECT_FALSE(run.closedByWatchdog);
    expectBeginningShown(opened);
    EXPECT_EQ(opened[2].text.front(), '-');
}

TEST(OpmSetupDialogFields, ShowTheBeginningOfTheirTextAfterAnotherCellIsChosen) {
    CMEGSensorqv sensor;
    makeWideOpm(sensor);
    std::vector<FieldView> chosen;
    const auto run = fluxgrid::test::runSetup(sensor, [&](QDialog& dialog) {
        chooseFromList(comboOf(dialog, kVaporList), 1);
        chosen = viewOf(dialog);
        click(fluxgrid::test::buttonOf(dialog, kCancel));
    });
    ASSERT_TRUE(run.opened);
    EXPECT_FALSE(run.closedByWatchdog);
    expectBeginningShown(chosen);
    // The second cell's numbers are in the fields.
    EXPECT_EQ(chosen[2].text.rfind("-115.9", 0), 0u) << chosen[2].text;
}

}  // namespace
