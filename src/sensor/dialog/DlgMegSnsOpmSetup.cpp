#include <fluxgrid/dialog.h>

#include <fluxgrid/platform/MessageBox.h>
#include <fluxgrid/platform/Resource.h>
#include <fluxgrid/sensor/DlgMegSnsOpmSetupTemplate.h>

#include "TemplateWidgets.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QThread>

#include <algorithm>
#include <optional>

using namespace fluxgrid::sensor;

namespace {

constexpr int kSlots = 8;
constexpr int kOpmSensor = 700;
constexpr int kOpmReference = 800;

bool isSlot(int index) {
    return index >= 0 && index < kSlots;
}

// The sensor's record as an OPM record when the sensor is an OPM sensor and
// the record is not a SQUID record; else null.
CMegOpmqv* opmRecordOf(const CMEGSensorqv& sensor) {
    if (sensor.hardwareType != 1 || !sensor.hardware || hardwareRecordKind(sensor.hardware) == 0) {
        return nullptr;
    }
    return static_cast<CMegOpmqv*>(sensor.hardware.get());
}

}  // namespace

CDlgMegSnsOpmSetup::CDlgMegSnsOpmSetup(QWidget* parent)
    : QDialog(parent), vaporName("Vapor"), opmName("OPM") {}

CDlgMegSnsOpmSetup::~CDlgMegSnsOpmSetup() = default;

INT_PTR CDlgMegSnsOpmSetup::DoModal() {
    if (!createFromTemplate()) {
        return -1;
    }
    OnInitDialog();
    return exec() == IDOK ? IDOK : IDCANCEL;
}

BOOL CDlgMegSnsOpmSetup::UpdateData(BOOL saveAndValidate) {
    return DoDataExchange(saveAndValidate != FALSE) ? TRUE : FALSE;
}

bool CDlgMegSnsOpmSetup::DoDataExchange(bool saveAndValidate) {
    fluxgrid::dialog::DataExchange dx(*this, saveAndValidate);
    dx.control(IDC_OPM_VAPOR_LIST, comboVapor);
    dx.control(IDC_OPM_TYPE, comboOpmType);
    dx.text(IDC_OPM_VAPOR_NAME, vaporName);
    dx.text(IDC_OPM_NAME, opmName);
    dx.number(IDC_OPM_POS_X, posX);
    dx.number(IDC_OPM_POS_Y, posY);
    dx.number(IDC_OPM_POS_Z, posZ);
    dx.number(IDC_OPM_DIR_X, dirX);
    dx.number(IDC_OPM_DIR_Y, dirY);
    dx.number(IDC_OPM_DIR_Z, dirZ);
    dx.number(IDC_OPM_PROPER_GAIN, dlgProperGain);
    return !dx.failed();
}

bool CDlgMegSnsOpmSetup::createFromTemplate() {
    if (m_created) {
        return true;
    }
    const std::optional<DialogTemplate> found = fluxgrid::findDialogResource(IDD);
    if (!found) {
        return false;
    }
    fluxgrid::dialog::buildFromTemplate(*this, *found);
    // The controls are bound before anything can be selected in them.
    DoDataExchange(false);
    connectMessageMap();
    m_created = true;
    return true;
}

void CDlgMegSnsOpmSetup::connectMessageMap() {
    using fluxgrid::dialog::controlById;
    // A selection that the user makes in a list, and only that, is the
    // list's selection change.
    if (auto* addVapor = qobject_cast<QAbstractButton*>(controlById(*this, IDC_OPM_ADD_VAPOR))) {
        connect(addVapor, &QAbstractButton::clicked, this, &CDlgMegSnsOpmSetup::onAddVapor);
    }
    if (comboVapor != nullptr) {
        connect(comboVapor, &QComboBox::activated, this, &CDlgMegSnsOpmSetup::onSelChangeVapor);
    }
    if (comboOpmType != nullptr) {
        connect(comboOpmType, &QComboBox::activated, this, &CDlgMegSnsOpmSetup::onSelChangeOpmType);
    }
    if (auto* ok = qobject_cast<QAbstractButton*>(controlById(*this, IDOK))) {
        connect(ok, &QAbstractButton::clicked, this, &CDlgMegSnsOpmSetup::onClickedOk);
    }
    // Not in the map: the base's course, the plain cancel.
    if (auto* cancel = qobject_cast<QAbstractButton*>(controlById(*this, IDCANCEL))) {
        connect(cancel, &QAbstractButton::clicked, this, &CDlgMegSnsOpmSetup::OnCancel);
    }
}

CMegOpmqv* CDlgMegSnsOpmSetup::opmRecord() const {
    return sensor != nullptr ? opmRecordOf(*sensor) : nullptr;
}

void CDlgMegSnsOpmSetup::loadVapor(int index) {
    CMegOpmqv* record = opmRecord();
    vaporName = record->vaporDewar[index].coilName;
    sensor->getSnsPos(-1, index, posX, posY, posZ);
    sensor->getSnsOrn(-1, index, dirX, dirY, dirZ);
}

BOOL CDlgMegSnsOpmSetup::OnInitDialog() {
    if (sensor == nullptr || sensor->hardwareType != 1) {
        return 1;
    }
    if (sensor->sensorType < kOpmSensor) {
        sensor->sensorType = kOpmSensor;
    }
    if (comboOpmType != nullptr) {
        comboOpmType->clear();
        comboOpmType->addItem(QStringLiteral("OPM Sensor"));
        comboOpmType->addItem(QStringLiteral("OPM Reference"));
        comboOpmType->setCurrentIndex(sensor->sensorType == kOpmReference ? 1 : 0);
    }
    CMegOpmqv* record = opmRecord();
    if (record == nullptr) {
        return 1;
    }
    opmName = record->hardwareName;
    // The current cell as it stands; one outside the eight cells is no cell.
    const int current = record->currentVaporID;
    if (isSlot(current)) {
        loadVapor(current);
    }
    if (comboVapor != nullptr) {
        comboVapor->clear();
        const int entries = std::min(record->totalVapors, kSlots);
        for (int k = 0; k < entries; ++k) {
            comboVapor->addItem(fluxgrid::dialog::toQString(record->vaporDewar[k].coilName));
        }
        comboVapor->setCurrentIndex(isSlot(current) ? current : -1);
    }
    UpdateData(FALSE);
    return 1;
}

void CDlgMegSnsOpmSetup::OnOK() {
    if (!UpdateData(TRUE)) {
        return;
    }
    done(IDOK);
}

void CDlgMegSnsOpmSetup::OnCancel() {
    reject();
}

void CDlgMegSnsOpmSetup::onAddVapor() {}

void CDlgMegSnsOpmSetup::onSelChangeVapor() {
    if (comboVapor == nullptr) {
        return;
    }
    const int index = comboVapor->currentIndex();
    const int count = comboVapor->count();
    if (index == -1 || count < 2) {
        return;
    }
    CMegOpmqv* record = opmRecord();
    if (record == nullptr) {
        return;
    }
    record->totalVapors = count;
    record->currentVaporID = index;
    loadVapor(index);
    UpdateData(FALSE);
}

void CDlgMegSnsOpmSetup::onSelChangeOpmType() {
    if (comboOpmType == nullptr || sensor == nullptr) {
        return;
    }
    const int index = comboOpmType->currentIndex();
    const int count = comboOpmType->count();
    if (index == -1 || count < 2) {
        return;
    }
    sensor->sensorType = index == 1 ? kOpmReference : kOpmSensor;
}

void CDlgMegSnsOpmSetup::onClickedOk() {
    // The result is not looked at: the record takes the members as the
    // exchange left them, and OnOK's own exchange refuses once more.
    UpdateData(TRUE);
    if (sensor != nullptr && sensor->hardwareType == 1) {
        if (CMegOpmqv* record = opmRecord()) {
            record->hardwareName = opmName;
            const int current = record->currentVaporID;
            if (isSlot(current)) {
                record->vaporDewar[current].coilName = vaporName;
                sensor->setSnsPos(-1, current, posX, posY, posZ);
                sensor->setSnsOrn(-1, current, dirX, dirY, dirZ);
            }
        }
    }
    OnOK();
}

int CMEGSensorqv::setupSensorOpm() {
    // Widgets need a QApplication, and its thread.
    auto* application = qobject_cast<QApplication*>(QCoreApplication::instance());
    if (application == nullptr || QThread::currentThread() != application->thread()) {
        return 0;
    }
    if (hardwareType == 0) {
        if (AfxMessageBox(CString("Only OPM editable! Delete the SQUID mode?"), MB_YESNO, 0) !=
            IDYES) {
            return 0;
        }
        hardware.reset();
    }
    if (!hardware) {
        hardware = allocateHardwareRecord(1);
        if (!hardware) {
            AfxMessageBox(CString("Making OPM Sensor error"), MB_OK, 0);
            return 0;
        }
    }
    // The record as an OPM record; a record of another kind is left alone.
    if (hardwareRecordKind(hardware) != 0) {
        auto* record = static_cast<CMegOpmqv*>(hardware.get());
        if (record->totalVapors < 1) {
            record->totalVapors = 1;
            record->currentVaporID = 0;
        }
    }
    hardwareType = 1;

    CDlgMegSnsOpmSetup dialog(nullptr);
    dialog.sensor = this;
    return dialog.DoModal() == IDOK ? 1 : 0;
}
