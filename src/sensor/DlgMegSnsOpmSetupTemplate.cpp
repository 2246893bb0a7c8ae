#include <fluxgrid/sensor/DlgMegSnsOpmSetupTemplate.h>

#include <utility>

namespace fluxgrid::sensor {

namespace {

constexpr DWORD kEditStyle = ES_LEFT | ES_AUTOHSCROLL | WS_BORDER | WS_TABSTOP;
constexpr DWORD kComboStyle = CBS_DROPDOWN | WS_VSCROLL | WS_TABSTOP;

DialogItemTemplate item(DialogControlClass controlClass, DWORD style, int id, const char* text,
                        int x, int y, int cx, int cy) {
    DialogItemTemplate control;
    control.controlClass = controlClass;
    control.style = style;
    control.x = x;
    control.y = y;
    control.cx = cx;
    control.cy = cy;
    control.id = id;
    control.text = CString(text);
    return control;
}

DialogItemTemplate button(DWORD style, int id, const char* text, int x, int y) {
    return item(DialogControlClass::Button, style | WS_TABSTOP, id, text, x, y, 50, 14);
}

DialogItemTemplate edit(int id, int x, int y, int cx) {
    return item(DialogControlClass::Edit, kEditStyle, id, "", x, y, cx, 14);
}

DialogItemTemplate label(DWORD align, const char* text, int x, int y, int cx) {
    return item(DialogControlClass::Static, align, IDC_STATIC, text, x, y, cx, 8);
}

DialogItemTemplate combo(int id, int x, int y) {
    return item(DialogControlClass::ComboBox, kComboStyle, id, "", x, y, 79, 111);
}

}  // namespace

DialogTemplate opmSetupDialogTemplate() {
    DialogTemplate dialog;
    dialog.id = IDD_MEG_SNS_OPM_SETUP;
    dialog.style = DS_SETFONT | DS_MODALFRAME | DS_FIXEDSYS | WS_POPUP | WS_CAPTION | WS_SYSMENU;
    dialog.x = 0;
    dialog.y = 0;
    dialog.cx = 245;
    dialog.cy = 166;
    dialog.caption = CString("Setup MEG Sensor (Gradient OPM)");
    dialog.fontFace = CString("MS Shell Dlg");
    dialog.pointSize = 8;
    // Tab order.
    dialog.items = {
        button(BS_DEFPUSHBUTTON, 1, "OK", 58, 145),
        button(BS_PUSHBUTTON, 2, "Cancel", 118, 145),
        edit(IDC_OPM_VAPOR_NAME, 18, 47, 61),
        label(SS_CENTER, "Vapor Name", 20, 33, 55),
        edit(IDC_OPM_NAME, 94, 47, 61),
        label(SS_CENTER, "OPM Name", 100, 34, 55),
        edit(IDC_OPM_POS_X, 48, 79, 35),
        edit(IDC_OPM_POS_Y, 91, 79, 35),
        edit(IDC_OPM_POS_Z, 134, 79, 35),
        edit(IDC_OPM_DIR_X, 48, 100, 35),
        edit(IDC_OPM_DIR_Y, 91, 100, 35),
        edit(IDC_OPM_DIR_Z, 134, 100, 35),
        label(SS_LEFT, "Position", 10, 83, 29),
        label(SS_CENTER, "X", 58, 66, 25),
        label(SS_CENTER, "Y", 102, 66, 25),
        label(SS_CENTER, "Z", 141, 66, 25),
        label(SS_LEFT, "Direction", 10, 103, 32),
        button(BS_PUSHBUTTON, IDC_OPM_ADD_VAPOR, "Add Vapor", 13, 10),
        combo(IDC_OPM_TYPE, 154, 11),
        combo(IDC_OPM_VAPOR_LIST, 69, 11),
        edit(IDC_OPM_PROPER_GAIN, 170, 46, 61),
        label(SS_LEFT, "Proper Gain", 176, 33, 48),
    };
    return dialog;
}

namespace {

// The template joins this module's resources when the module is loaded; the
// search reaches it once the module's registration is in place.
const bool g_templateAdded = [] {
    addDialogResource(moduleContaining(reinterpret_cast<const void*>(&opmSetupDialogTemplate)),
                      opmSetupDialogTemplate());
    return true;
}();

}  // namespace

}  // namespace fluxgrid::sensor
