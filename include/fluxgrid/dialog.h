/// \file dialog.h
/// The OPM setup dialog on Qt 6 Widgets, and the way a GUI host shows the
/// library's message boxes as real Qt message boxes.
///
/// `CMEGSensorqv::setupSensorOpm` is defined in this library
/// (`fluxgrid::dialog`): a host that calls it links this library and Qt 6
/// Widgets, a host that does not needs neither.
///
/// `setupSensorOpm` needs a `QApplication` and must be called on its
/// thread. Without one (no application object, an application object that
/// is not a `QApplication`, or a call from another thread) it returns 0 at
/// once: no question, no message box, and the sensor untouched.
///
/// The dialog is built from template 3000, which the resource search finds
/// in the core library's module. If the search finds none (the module has
/// left the search), `DoModal` returns -1 and `setupSensorOpm` returns 0,
/// after its preparation of the sensor.
///
/// Vapor cell indices from a file. `totalVapors` and `currentVaporID` of a
/// record that was read from a file can lie outside 0 to 8. The dialog
/// never reaches past the eight cells:
/// - the vapor list shows cells 0 to `totalVapors` - 1, at most eight;
/// - a `currentVaporID` outside 0 to 7 stands for no cell: the vapor name,
///   position and direction fields keep their initial values ("Vapor" and
///   0), the list selects no entry, and OK writes `hardwareName` alone;
///   `currentVaporID` stays as it was until the user selects an entry in a
///   list of two or more, which makes that cell current as usual;
/// - a selection stores the list's entry count in `totalVapors`, so a count
///   above 8 becomes 8 at the first selection.
///
/// The vapor and type lists are editable drop-down combo boxes: text typed
/// into their edit part changes nothing; only a choice from the list (with
/// the mouse or the arrow keys) has an effect.
#pragma once

#include <fluxgrid/platform/CString.h>
#include <fluxgrid/platform/MessageBox.h>
#include <fluxgrid/platform/Types.h>
#include <fluxgrid/sensor/MEGSensor.h>

#include <QDialog>

class QComboBox;

namespace fluxgrid {

/// Routes `AfxMessageBox` to modal `QMessageBox`es with the buttons and
/// icon of the message box type, and returns the handler it replaced. A
/// message box asked for where no `QApplication` runs, or off its thread,
/// goes to the replaced handler instead. Call it once after constructing
/// the `QApplication`.
AfxMessageBoxHandler useQtMessageBoxes();

/// The text shown when a number field holds something that is not a number.
inline constexpr const char* kNotANumberText = "Please enter a number.";

}  // namespace fluxgrid

/// Edits one channel as an OPM channel: the record's name, one vapor cell's
/// name, position and direction, and OPM sensor or reference. Used by
/// `CMEGSensorqv::setupSensorOpm`, which prepares the sensor and runs it.
class CDlgMegSnsOpmSetup : public QDialog {
  public:
    /// The template id.
    static constexpr UINT IDD = 3000;

    explicit CDlgMegSnsOpmSetup(QWidget* parent = nullptr);
    ~CDlgMegSnsOpmSetup() override;

    /// Builds the dialog from its template, fills it (`OnInitDialog`) and
    /// runs it modally on the calling thread. `IDOK` when ended by OK,
    /// `IDCANCEL` when cancelled or closed, -1 when the template is not
    /// found. Call it once per object.
    INT_PTR DoModal();

    /// Exchanges members and controls: to the members with
    /// `saveAndValidate`, to the controls without. False when a number
    /// field was refused; the fields behind it were not exchanged.
    BOOL UpdateData(BOOL saveAndValidate = TRUE);

    /// The channel being edited; not owned.
    CMEGSensorqv* sensor = nullptr;
    /// The list of vapor cells, control 16027; bound by the exchange.
    QComboBox* comboVapor = nullptr;
    /// OPM sensor or reference, control 16026; bound by the exchange.
    QComboBox* comboOpmType = nullptr;
    CString vaporName;
    CString opmName;
    double posX = 0.0;
    double posY = 0.0;
    double posZ = 0.0;
    double dirX = 0.0;
    double dirY = 0.0;
    double dirZ = 0.0;
    double dlgProperGain = 0.0;

  protected:
    /// Binds the two lists, then exchanges the texts of 16031 and 16032 and
    /// the numbers of 16014, 16015, 16016, 16010, 16012, 16013 and 16011,
    /// in that order, stopping at the first refused number.
    virtual bool DoDataExchange(bool saveAndValidate);
    /// Fills the controls from the sensor. Always returns 1.
    virtual BOOL OnInitDialog();
    /// Exchanges to the members and closes with `IDOK` if that succeeds.
    virtual void OnOK();
    /// Closes with `IDCANCEL`.
    virtual void OnCancel();

    /// "Add Vapor": does nothing.
    void onAddVapor();
    /// A cell chosen in the vapor list becomes current and is shown.
    void onSelChangeVapor();
    /// The type chosen becomes the sensor's type code, 700 or 800.
    void onSelChangeOpmType();
    /// Writes the edited values to the sensor, then `OnOK`.
    void onClickedOk();

  private:
    // The controls of the template, made once per dialog.
    bool createFromTemplate();
    // The message map: the four handlers and the plain cancel.
    void connectMessageMap();
    // The record being edited, or null.
    CMegOpmqv* opmRecord() const;
    // Shows cell `index` (known to be within the eight cells) in the members.
    void loadVapor(int index);

    bool m_created = false;
};
