/// \file Resource.h
/// Dialog templates as module resources. A module carries a table of dialog
/// templates under its resource handle (the `hResource` of its module
/// record). The resource search walks the libraries that have joined through
/// `CDynLinkLibrary`, oldest first, and takes the first that carries the id
/// asked for; a module that has not joined, or has left, is not searched.
///
/// A template is plain data in dialog units, whatever widget set draws it:
/// a horizontal unit is a quarter of the dialog font's average character
/// width, a vertical unit an eighth of its character height.
#pragma once

#include <fluxgrid/platform/CString.h>
#include <fluxgrid/platform/Module.h>
#include <fluxgrid/platform/Types.h>

#include <optional>
#include <vector>

// Window styles of a dialog and its controls, with the framework's values.
constexpr DWORD WS_POPUP = 0x80000000u;
constexpr DWORD WS_CAPTION = 0x00C00000u;
constexpr DWORD WS_BORDER = 0x00800000u;
constexpr DWORD WS_VSCROLL = 0x00200000u;
constexpr DWORD WS_SYSMENU = 0x00080000u;
constexpr DWORD WS_TABSTOP = 0x00010000u;
constexpr DWORD DS_FIXEDSYS = 0x0008u;
constexpr DWORD DS_SETFONT = 0x0040u;
constexpr DWORD DS_MODALFRAME = 0x0080u;
constexpr DWORD BS_PUSHBUTTON = 0x0000u;
constexpr DWORD BS_DEFPUSHBUTTON = 0x0001u;
constexpr DWORD ES_LEFT = 0x0000u;
constexpr DWORD ES_AUTOHSCROLL = 0x0080u;
constexpr DWORD SS_LEFT = 0x0000u;
constexpr DWORD SS_CENTER = 0x0001u;
constexpr DWORD CBS_DROPDOWN = 0x0002u;
constexpr DWORD CBS_SORT = 0x0100u;

/// The id of a control that nothing addresses, such as a label.
constexpr int IDC_STATIC = -1;

/// The window class of a control in a dialog template.
enum class DialogControlClass { Button, Edit, Static, ComboBox };

/// One control of a dialog template. The rectangle is in dialog units; for
/// a drop-down combo box its height is that of the dropped list.
struct DialogItemTemplate {
    DialogControlClass controlClass = DialogControlClass::Static;
    DWORD style = 0;
    int x = 0;
    int y = 0;
    int cx = 0;
    int cy = 0;
    int id = IDC_STATIC;
    CString text;
};

/// A dialog template: the frame, its font and its controls in tab order.
/// `cx` and `cy` are the size of the client area in dialog units.
struct DialogTemplate {
    UINT id = 0;
    DWORD style = 0;
    int x = 0;
    int y = 0;
    int cx = 0;
    int cy = 0;
    CString caption;
    CString fontFace;
    int pointSize = 0;
    std::vector<DialogItemTemplate> items;
};

namespace fluxgrid {

/// The handle of the module whose image holds `address` (the base address
/// it was loaded at, as the module record has it); null if none does.
HMODULE moduleContaining(const void* address);

/// Adds `dialog` to the resources carried under `resourceHandle`,
/// replacing a template of the same id there. A null handle is ignored.
void addDialogResource(HMODULE resourceHandle, DialogTemplate dialog);

/// Removes every resource carried under `resourceHandle`.
void removeResources(HMODULE resourceHandle);

/// The dialog template `id` carried under `resourceHandle`, whether or not
/// that module has joined the search.
std::optional<DialogTemplate> loadDialogResource(HMODULE resourceHandle, UINT id);

/// The resource search: the resource handle of the first joined library,
/// oldest first, that carries dialog template `id`; null if none does.
HMODULE findDialogResourceHandle(UINT id);

/// The dialog template `id` as the resource search finds it.
std::optional<DialogTemplate> findDialogResource(UINT id);

}  // namespace fluxgrid
