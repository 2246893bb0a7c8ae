/// \file DlgMegSnsOpmSetupTemplate.h
/// The template of the OPM setup dialog, id 3000, and the ids of its
/// controls. The library adds the template to its own module's resources
/// when it is loaded, so that the resource search finds it once the module
/// has joined; the widget set that draws the dialog looks it up there.
#pragma once

#include <fluxgrid/platform/Resource.h>

namespace fluxgrid::sensor {

/// Template and control ids of the OPM setup dialog.
enum OpmSetupDialogId : int {
    IDD_MEG_SNS_OPM_SETUP = 3000,
    IDC_OPM_ADD_VAPOR = 3000,
    IDC_OPM_DIR_X = 16010,
    IDC_OPM_PROPER_GAIN = 16011,
    IDC_OPM_DIR_Y = 16012,
    IDC_OPM_DIR_Z = 16013,
    IDC_OPM_POS_X = 16014,
    IDC_OPM_POS_Y = 16015,
    IDC_OPM_POS_Z = 16016,
    IDC_OPM_TYPE = 16026,
    IDC_OPM_VAPOR_LIST = 16027,
    IDC_OPM_VAPOR_NAME = 16031,
    IDC_OPM_NAME = 16032,
};

/// The template: "Setup MEG Sensor (Gradient OPM)", a fixed modal frame of
/// 245 x 166 dialog units in "MS Shell Dlg" 8 pt, with its 22 controls in
/// tab order.
DialogTemplate opmSetupDialogTemplate();

}  // namespace fluxgrid::sensor
