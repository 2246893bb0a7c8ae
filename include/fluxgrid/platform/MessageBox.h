/// \file MessageBox.h
/// Message boxes. A host without a screen still receives every word: the
/// handler can be replaced, for the whole process or for one thread.
///
/// Threads. `AfxMessageBox` may be called on any thread. It asks the
/// innermost `fluxgrid::ScopedMessageBoxHandler` of the calling thread and,
/// only where that thread has none, the process-wide handler. So a thread
/// that loads a file with a scoped handler around the load sees exactly the
/// boxes of its own load, whatever other threads do at the same time.
///
/// `AfxSetMessageBoxHandler` may be called on any thread at any time, also
/// from within a handler. A box already being shown ends with the handler it
/// started with, which is kept alive until then. The process-wide handler
/// may therefore run on several threads at once and must allow for that; a
/// scoped handler only ever runs on the thread that made it.
#pragma once

#include <fluxgrid/platform/CString.h>

#include <functional>
#include <string>
#include <utility>
#include <vector>

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

/// Shows `text` through the calling thread's innermost scoped handler, or
/// else the process-wide handler, and returns its answer.
int AfxMessageBox(const CString& text, UINT type = MB_OK, UINT helpId = 0);

/// Replaces the process-wide handler and returns the previous one. An empty
/// handler restores the default, which writes the text as one line to
/// standard error and answers IDOK, or IDNO to a Yes/No question: the answer
/// that changes nothing. Threads with a scoped handler do not see the
/// change until their scoped handlers are gone.
AfxMessageBoxHandler AfxSetMessageBoxHandler(AfxMessageBoxHandler handler);

namespace fluxgrid {

/// While it lives, every box raised on the thread that made it goes to
/// `handler`, and no box of another thread does. Scoped handlers nest: the
/// innermost one answers, and when it goes the one it covered (or the
/// process-wide handler) answers again. An empty handler stands for the
/// default one. A box raised by the handler itself while it runs goes to
/// the next handler out, so a handler may pass a box on with
/// `AfxMessageBox`.
///
/// ```cpp
/// std::vector<std::string> boxes;
/// fluxgrid::ScopedMessageBoxHandler capture([&](const CString& text, UINT, UINT) {
///     boxes.push_back(text.ToUtf8());
///     return IDOK;
/// });
/// sensor.serializeqv(ar);   // its boxes land in `boxes`, on this thread only
/// ```
///
/// It must be destroyed on the thread that made it; it is neither copied
/// nor moved.
class ScopedMessageBoxHandler {
  public:
    explicit ScopedMessageBoxHandler(AfxMessageBoxHandler handler);
    ~ScopedMessageBoxHandler();
    ScopedMessageBoxHandler(const ScopedMessageBoxHandler&) = delete;
    ScopedMessageBoxHandler& operator=(const ScopedMessageBoxHandler&) = delete;

  private:
    friend int ::AfxMessageBox(const CString& text, UINT type, UINT helpId);

    AfxMessageBoxHandler m_handler;
    /// The handler this one covers on the same thread; null for none.
    ScopedMessageBoxHandler* m_covered;
};

/// Records the texts of the message boxes raised on this thread while it
/// lives, in order, and answers each the way that changes nothing: OK, or No
/// to a Yes/No question. What a caller uses to turn boxes into messages of
/// its own, as the loading facade and the Python module do.
class MessageBoxCapture {
  public:
    MessageBoxCapture();
    MessageBoxCapture(const MessageBoxCapture&) = delete;
    MessageBoxCapture& operator=(const MessageBoxCapture&) = delete;

    const std::vector<std::string>& texts() const { return m_texts; }
    /// The texts so far, leaving the record empty.
    std::vector<std::string> take() { return std::exchange(m_texts, {}); }

  private:
    std::vector<std::string> m_texts;
    ScopedMessageBoxHandler m_scope;
};

}  // namespace fluxgrid
