/// \file MessageBox.h
/// Message boxes. A host without a screen still receives every word: the
/// process-wide handler can be replaced.
#pragma once

#include <fluxgrid/platform/CString.h>

#include <functional>

constexpr UINT MB_OK = 0;
constexpr UINT MB_OKCANCEL = 1;
constexpr UINT MB_YESNO = 4;
constexpr UINT MB_ICONERROR = 0x10;
constexpr UINT MB_ICONQUESTION = 0x20;
constexpr UINT MB_ICONWARNING = 0x30;
constexpr UINT MB_ICONINFORMATION = 0x40;

constexpr int IDOK = 1;
constexpr int IDCANCEL = 2;
constexpr int IDYES = 6;
constexpr int IDNO = 7;

using AfxMessageBoxHandler = std::function<int(const CString& text, UINT type, UINT helpId)>;

/// Shows `text` through the current handler and returns its answer.
int AfxMessageBox(const CString& text, UINT type = MB_OK, UINT helpId = 0);

/// Replaces the process-wide handler and returns the previous one. An empty
/// handler restores the default, which writes the text as one line to
/// standard error and answers IDOK, or IDNO to a Yes/No question: the answer
/// that changes nothing.
AfxMessageBoxHandler AfxSetMessageBoxHandler(AfxMessageBoxHandler handler);
