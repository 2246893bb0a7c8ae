#include <fluxgrid/platform/MessageBox.h>

#include <iostream>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

using fluxgrid::ScopedMessageBoxHandler;

namespace {

int defaultHandler(const CString& text, UINT type, UINT /*helpId*/) {
    // One write, so that lines of boxes on several threads never mix.
    std::cerr << text.ToUtf8() + '\n';
    return (type & 0x0F) == MB_YESNO ? IDNO : IDOK;
}

// The process-wide handler. A box takes a counted reference under the lock
// and calls it outside, so that a replacement on another thread, or by the
// handler itself, never pulls the function out from under a running call.
struct ProcessHandler {
    std::mutex mutex;
    std::shared_ptr<const AfxMessageBoxHandler> handler =
        std::make_shared<const AfxMessageBoxHandler>(defaultHandler);
};

ProcessHandler& processHandler() {
    static ProcessHandler instance;
    return instance;
}

// The innermost scoped handler of this thread; each covers the next.
thread_local ScopedMessageBoxHandler* t_innermost = nullptr;

}  // namespace

namespace fluxgrid {

ScopedMessageBoxHandler::ScopedMessageBoxHandler(AfxMessageBoxHandler handler)
    : m_handler(handler ? std::move(handler) : AfxMessageBoxHandler(defaultHandler)),
      m_covered(t_innermost) {
    t_innermost = this;
}

ScopedMessageBoxHandler::~ScopedMessageBoxHandler() {
    if (t_innermost == this) {
        t_innermost = m_covered;
        return;
    }
    // Gone before a handler made after it (one held on the heap): take it
    // out of the chain and leave the newer ones in place.
    for (ScopedMessageBoxHandler* h = t_innermost; h != nullptr; h = h->m_covered) {
        if (h->m_covered == this) {
            h->m_covered = m_covered;
            return;
        }
    }
}

}  // namespace fluxgrid

int AfxMessageBox(const CString& text, UINT type, UINT helpId) {
    if (ScopedMessageBoxHandler* scoped = t_innermost) {
        // While the handler runs, its own boxes go to the next one out.
        struct Uncover {
            ScopedMessageBoxHandler* scoped;
            ~Uncover() { t_innermost = scoped; }
        } uncover{scoped};
        t_innermost = scoped->m_covered;
        return scoped->m_handler(text, type, helpId);
    }
    std::shared_ptr<const AfxMessageBoxHandler> handler;
    {
        ProcessHandler& process = processHandler();
        const std::lock_guard<std::mutex> lock(process.mutex);
        handler = process.handler;
    }
    return (*handler)(text, type, helpId);
}

AfxMessageBoxHandler AfxSetMessageBoxHandler(AfxMessageBoxHandler handler) {
    auto next = std::make_shared<const AfxMessageBoxHandler>(
        handler ? std::move(handler) : AfxMessageBoxHandler(defaultHandler));
    std::shared_ptr<const AfxMessageBoxHandler> previous;
    {
        ProcessHandler& process = processHandler();
        const std::lock_guard<std::mutex> lock(process.mutex);
        previous = std::exchange(process.handler, std::move(next));
    }
    // A copy: a box on another thread may still be running the old one.
    return *previous;
}

namespace fluxgrid {

MessageBoxCapture::MessageBoxCapture()
    : m_scope([this](const CString& text, UINT type, UINT) {
          m_texts.push_back(text.ToUtf8());
          return (type & 0x0F) == MB_YESNO ? IDNO : IDOK;
      }) {}

}  // namespace fluxgrid
