#include <fluxgrid/platform/MessageBox.h>

#include <iostream>
#include <utility>

namespace {

int defaultHandler(const CString& text, UINT type, UINT /*helpId*/) {
    std::cerr << text << '\n';
    return (type & 0x0F) == MB_YESNO ? IDNO : IDOK;
}

AfxMessageBoxHandler& currentHandler() {
    static AfxMessageBoxHandler handler = defaultHandler;
    return handler;
}

}  // namespace

int AfxMessageBox(const CString& text, UINT type, UINT helpId) {
    // A copy, so that a handler may replace itself while it runs.
    const AfxMessageBoxHandler handler = currentHandler();
    return handler(text, type, helpId);
}

AfxMessageBoxHandler AfxSetMessageBoxHandler(AfxMessageBoxHandler handler) {
    if (!handler) {
        handler = defaultHandler;
    }
    return std::exchange(currentHandler(), std::move(handler));
}
