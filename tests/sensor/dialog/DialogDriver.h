// Drives the OPM setup dialog as a person would: waits for the modal dialog,
// then types, chooses list entries and clicks buttons.
#pragma once

#include <fluxgrid/dialog.h>

#include <QComboBox>
#include <QDialog>
#include <QLineEdit>
#include <QPushButton>
#include <QString>

#include <functional>

namespace fluxgrid::test {

/// What happened to one run of the dialog.
struct DialogRun {
    /// The result of `setupSensorOpm` (or of `DoModal`).
    int result = -1;
    /// The script ran on the open dialog.
    bool opened = false;
    /// The dialog was still open 3 s after the script and was closed by force.
    bool closedByWatchdog = false;
};

using DialogScript = std::function<void(QDialog& dialog)>;

/// Runs `setupSensorOpm` on `sensor`; `script` runs once on the dialog
/// when it is the active modal widget.
DialogRun runSetup(CMEGSensorqv& sensor, const DialogScript& script);

/// Runs `dialog.DoModal()`, with `script` as above.
DialogRun runDialog(CDlgMegSnsOpmSetup& dialog, const DialogScript& script);

QLineEdit* editOf(const QDialog& dialog, int id);
QComboBox* comboOf(const QDialog& dialog, int id);
QPushButton* buttonOf(const QDialog& dialog, int id);

/// Replaces the text of `edit` by typing: select all, delete, then the keys.
void typeInto(QLineEdit* edit, const QString& text);
/// Opens the list of `combo` and clicks entry `row`.
void chooseFromList(QComboBox* combo, int row);
/// A left click in the middle of `button`.
void click(QPushButton* button);

/// The texts of a combo box's entries.
QStringList entriesOf(const QComboBox* combo);

}  // namespace fluxgrid::test
