#include "DialogDriver.h"

#include <QAbstractItemView>
#include <QApplication>
#include <QPointer>
#include <QTest>
#include <QTimer>

namespace fluxgrid::test {

namespace {

DialogRun run(const std::function<int()>& start, const DialogScript& script) {
    DialogRun outcome;
    QTimer poll;
    poll.setInterval(10);
    QObject::connect(&poll, &QTimer::timeout, [&] {
        auto* dialog = qobject_cast<QDialog*>(QApplication::activeModalWidget());
        if (outcome.opened || dialog == nullptr || dialog->objectName() != "3000" ||
            !dialog->isVisible()) {
            return;
        }
        outcome.opened = true;
        poll.stop();
        QPointer<QDialog> guard(dialog);
        script(*dialog);
        if (guard && guard->isVisible()) {
            QTimer::singleShot(3000, guard.data(), [&outcome, guard] {
                if (guard && guard->isVisible()) {
                    outcome.closedByWatchdog = true;
                    guard->reject();
                }
            });
        }
    });
    poll.start();
    outcome.result = start();
    poll.stop();
    return outcome;
}

}  // namespace

DialogRun runSetup(CMEGSensorqv& sensor, const DialogScript& script) {
    return run([&sensor] { return sensor.setupSensorOpm(); }, script);
}

DialogRun runDialog(CDlgMegSnsOpmSetup& dialog, const DialogScript& script) {
    return run([&dialog] { return static_cast<int>(dialog.DoModal()); }, script);
}

QLineEdit* editOf(const QDialog& dialog, int id) {
    return dialog.findChild<QLineEdit*>(QString::number(id), Qt::FindDirectChildrenOnly);
}

QComboBox* comboOf(const QDialog& dialog, int id) {
    return dialog.findChild<QComboBox*>(QString::number(id), Qt::FindDirectChildrenOnly);
}

QPushButton* buttonOf(const QDialog& dialog, int id) {
    return dialog.findChild<QPushButton*>(QString::number(id), Qt::FindDirectChildrenOnly);
}

void typeInto(QLineEdit* edit, const QString& text) {
    edit->selectAll();
    QTest::keyClick(edit, Qt::Key_Backspace);
    QTest::keyClicks(edit, text);
}

void chooseFromList(QComboBox* combo, int row) {
    combo->showPopup();
    QAbstractItemView* view = combo->view();
    const QModelIndex index = view->model()->index(row, combo->modelColumn(), view->rootIndex());
    view->scrollTo(index);
    const QPoint where = view->visualRect(index).center();
    QTest::mouseClick(view->viewport(), Qt::LeftButton, Qt::NoModifier, where);
}

void click(QPushButton* button) {
    QTest::mouseClick(button, Qt::LeftButton);
}

QStringList entriesOf(const QComboBox* combo) {
    QStringList texts;
    for (int k = 0; k < combo->count(); ++k) {
        texts.push_back(combo->itemText(k));
    }
    return texts;
}

}  // namespace fluxgrid::test
