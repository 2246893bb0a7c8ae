#include <fluxgrid/dialog.h>

#include "TemplateWidgets.h"

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QThread>

#include <utility>

namespace fluxgrid {

namespace {

constexpr UINT MB_ABORTRETRYIGNORE = 2;
constexpr UINT MB_YESNOCANCEL = 3;
constexpr UINT MB_RETRYCANCEL = 5;
constexpr int IDABORT = 3;
constexpr int IDRETRY = 4;
constexpr int IDIGNORE = 5;

struct Choice {
    QMessageBox::StandardButton button;
    int answer;
};

QMessageBox::Icon iconOf(UINT type) {
    switch (type & 0xF0) {
        case MB_ICONERROR:
            return QMessageBox::Critical;
        case MB_ICONQUESTION:
            return QMessageBox::Question;
        case MB_ICONWARNING:
            return QMessageBox::Warning;
        case MB_ICONINFORMATION:
            return QMessageBox::Information;
        default:
            return QMessageBox::NoIcon;
    }
}

// The buttons of a type, in the order shown; the last is the one that
// Escape presses where the type has a way out.
std::vector<Choice> choicesOf(UINT type) {
    switch (type & 0x0F) {
        case MB_OKCANCEL:
            return {{QMessageBox::Ok, IDOK}, {QMessageBox::Cancel, IDCANCEL}};
        case MB_ABORTRETRYIGNORE:
            return {{QMessageBox::Abort, IDABORT},
                    {QMessageBox::Retry, IDRETRY},
                    {QMessageBox::Ignore, IDIGNORE}};
        case MB_YESNOCANCEL:
            return {{QMessageBox::Yes, IDYES},
                    {QMessageBox::No, IDNO},
                    {QMessageBox::Cancel, IDCANCEL}};
        case MB_YESNO:
            return {{QMessageBox::Yes, IDYES}, {QMessageBox::No, IDNO}};
        case MB_RETRYCANCEL:
            return {{QMessageBox::Retry, IDRETRY}, {QMessageBox::Cancel, IDCANCEL}};
        default:
            return {{QMessageBox::Ok, IDOK}};
    }
}

int showQtMessageBox(const CString& text, UINT type) {
    QMessageBox box(iconOf(type), QApplication::applicationDisplayName(), dialog::toQString(text),
                    QMessageBox::NoButton, QApplication::activeModalWidget());
    const std::vector<Choice> choices = choicesOf(type);
    for (const Choice& choice : choices) {
        box.addButton(choice.button);
    }
    box.setDefaultButton(choices.front().button);
    // Escape and the close button take the answer that changes nothing:
    // Cancel, No, or OK where there is nothing else.
    box.setEscapeButton(box.button(choices.back().button));
    box.exec();
    const QAbstractButton* clicked = box.clickedButton();
    for (const Choice& choice : choices) {
        if (clicked == box.button(choice.button)) {
            return choice.answer;
        }
    }
    return choices.back().answer;
}

}  // namespace

AfxMessageBoxHandler useQtMessageBoxes() {
    // The handler being replaced takes over where no widgets can be shown.
    auto previous = std::make_shared<AfxMessageBoxHandler>();
    AfxMessageBoxHandler replaced =
        AfxSetMessageBoxHandler([previous](const CString& text, UINT type, UINT helpId) -> int {
            auto* application = qobject_cast<QApplication*>(QCoreApplication::instance());
            if (application == nullptr || QThread::currentThread() != application->thread()) {
                return (*previous)(text, type, helpId);
            }
            return showQtMessageBox(text, type);
        });
    *previous = replaced;
    return replaced;
}

}  // namespace fluxgrid
