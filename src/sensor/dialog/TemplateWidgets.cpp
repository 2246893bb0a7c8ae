#include "TemplateWidgets.h"

#include <fluxgrid/dialog.h>
#include <fluxgrid/platform/MessageBox.h>

#include <QComboBox>
#include <QDialog>
#include <QFontMetrics>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>

#include <locale.h>
#include <stdlib.h>

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

namespace fluxgrid::dialog {

namespace {

bool isClassicDialogFace(const QString& face) {
    return face.compare(QLatin1String("MS Shell Dlg"), Qt::CaseInsensitive) == 0 ||
           face.compare(QLatin1String("MS Shell Dlg 2"), Qt::CaseInsensitive) == 0 ||
           face.compare(QLatin1String("MS Sans Serif"), Qt::CaseInsensitive) == 0;
}

QWidget* makeButton(QDialog& dialog, const DialogItemTemplate& item) {
    auto* button = new QPushButton(toQString(item.text), &dialog);
    if ((item.style & 0x0F) == BS_DEFPUSHBUTTON) {
        button->setDefault(true);
    }
    return button;
}

QWidget* makeEdit(QDialog& dialog, const DialogItemTemplate& item) {
    auto* edit = new QLineEdit(toQString(item.text), &dialog);
    edit->setFrame((item.style & WS_BORDER) != 0);
    return edit;
}

QWidget* makeStatic(QDialog& dialog, const DialogItemTemplate& item) {
    auto* label = new QLabel(toQString(item.text), &dialog);
    const Qt::Alignment horizontal =
        (item.style & 0x0F) == SS_CENTER ? Qt::AlignHCenter : Qt::AlignLeft;
    label->setAlignment(horizontal | Qt::AlignTop);
    label->setWordWrap(true);
    return label;
}

// A field given a text shows its beginning, as the platform's edit control
// does: Qt would put the cursor behind the last character and scroll the
// field there, out of sight of a leading minus sign.
void showText(QLineEdit& edit, const QString& text) {
    edit.setText(text);
    edit.setCursorPosition(0);
}

QWidget* makeCombo(QDialog& dialog, const DialogItemTemplate& item) {
    auto* combo = new QComboBox(&dialog);
    // Editable drop-down: the edit part takes text, but only a choice from
    // the list selects. No completion, no insertion of typed text, and the
    // entries stay in the order they were added.
    combo->setEditable((item.style & 0x03) == CBS_DROPDOWN);
    combo->setInsertPolicy(QComboBox::NoInsert);
    combo->setCompleter(nullptr);
    if (QLineEdit* edit = combo->lineEdit()) {
        // Qt would select the entry whose text was typed when the editing
        // ends; here typing selects nothing.
        QObject::disconnect(edit, &QLineEdit::returnPressed, combo, nullptr);
        QObject::disconnect(edit, &QLineEdit::editingFinished, combo, nullptr);
        // The edit part shows a chosen entry from its beginning, as a field
        // does.
        QObject::connect(combo, &QComboBox::currentIndexChanged, edit,
                         [edit] { edit->setCursorPosition(0); });
    }
    return combo;
}

}  // namespace

QFont templateFont(const DialogTemplate& dialog) {
    const QString face = toQString(dialog.fontFace);
    QFont font(isClassicDialogFace(face) ? QStringLiteral("Sans Serif") : face);
    font.setStyleHint(QFont::SansSerif);
    font.setPointSize(dialog.pointSize > 0 ? dialog.pointSize : 8);
    return font;
}

DialogBaseUnits baseUnits(const QFont& font) {
    const QFontMetrics metrics(font);
    const int letters = metrics.horizontalAdvance(
        QStringLiteral("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"));
    // The average over 52 letters, rounded.
    return DialogBaseUnits{(letters / 26 + 1) / 2, metrics.height()};
}

int mulDiv(int a, int b, int c) {
    const std::int64_t product = static_cast<std::int64_t>(a) * b;
    const std::int64_t half = c / 2;
    const std::int64_t rounded = product >= 0 ? (product + half) / c : (product - half) / c;
    return static_cast<int>(rounded);
}

QRect dialogUnitsToPixels(const DialogBaseUnits& units, int x, int y, int cx, int cy) {
    return QRect(mulDiv(x, units.x, 4), mulDiv(y, units.y, 8), mulDiv(cx, units.x, 4),
                 mulDiv(cy, units.y, 8));
}

void buildFromTemplate(QDialog& dialog, const DialogTemplate& source) {
    dialog.setObjectName(QString::number(source.id));
    dialog.setWindowTitle(toQString(source.caption));
    dialog.setFont(templateFont(source));
    Qt::WindowFlags flags = Qt::Dialog | Qt::CustomizeWindowHint;
    if ((source.style & WS_CAPTION) == WS_CAPTION) {
        flags |= Qt::WindowTitleHint;
    }
    if ((source.style & WS_SYSMENU) != 0) {
        flags |= Qt::WindowSystemMenuHint | Qt::WindowCloseButtonHint;
    }
    dialog.setWindowFlags(flags);

    const DialogBaseUnits units = baseUnits(dialog.font());
    const QRect client = dialogUnitsToPixels(units, 0, 0, source.cx, source.cy);
    dialog.setFixedSize(client.size());

    std::vector<QWidget*> tabStops;
    for (const DialogItemTemplate& item : source.items) {
        QWidget* control = nullptr;
        switch (item.controlClass) {
            case DialogControlClass::Button:
                control = makeButton(dialog, item);
                break;
            case DialogControlClass::Edit:
                control = makeEdit(dialog, item);
                break;
            case DialogControlClass::Static:
                control = makeStatic(dialog, item);
                break;
            case DialogControlClass::ComboBox:
                control = makeCombo(dialog, item);
                break;
        }
        if (item.id != IDC_STATIC) {
            control->setObjectName(QString::number(item.id));
        }
        QRect place = dialogUnitsToPixels(units, item.x, item.y, item.cx, item.cy);
        if (auto* combo = qobject_cast<QComboBox*>(control)) {
            // The template's height is that of the dropped list; the closed
            // box is as high as its font makes it.
            const int boxHeight = combo->sizeHint().height();
            const int rowHeight = std::max(1, combo->fontMetrics().height());
            combo->setMaxVisibleItems(std::max(1, (place.height() - boxHeight) / rowHeight));
            place.setHeight(boxHeight);
        }
        control->setGeometry(place);
        if (item.controlClass != DialogControlClass::Static) {
            control->setFocusPolicy((item.style & WS_TABSTOP) != 0 ? Qt::StrongFocus
                                                                   : Qt::ClickFocus);
            if ((item.style & WS_TABSTOP) != 0) {
                tabStops.push_back(control);
            }
        }
    }
    for (std::size_t k = 1; k < tabStops.size(); ++k) {
        QWidget::setTabOrder(tabStops[k - 1], tabStops[k]);
    }
}

QWidget* controlById(const QWidget& dialog, int id) {
    return dialog.findChild<QWidget*>(QString::number(id), Qt::FindDirectChildrenOnly);
}

QString formatNumber(double value) {
    char buffer[64];
    const auto result =
        std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::general, 15);
    return QString::fromLatin1(buffer, static_cast<int>(result.ptr - buffer));
}

std::optional<double> parseNumber(const QString& text) {
    const std::string bytes = text.toStdString();
    const char* first = bytes.data();
    const char* last = first + bytes.size();
    const auto blank = [](char c) { return c == ' ' || c == '\t'; };
    while (first != last && blank(*first)) {
        ++first;
    }
    while (last != first && blank(*(last - 1))) {
        --last;
    }
    // A leading plus sign, which the conversion below does not take itself.
    if (first != last && *first == '+' && (last - first) > 1 && first[1] != '-' &&
        first[1] != '+') {
        ++first;
    }
    double value = 0.0;
    const auto result = std::from_chars(first, last, value, std::chars_format::general);
    if (first == last || result.ec == std::errc::invalid_argument || result.ptr != last) {
        return std::nullopt;
    }
    if (result.ec == std::errc::result_out_of_range) {
        // No range limit: a number beyond the doubles becomes what the C
        // conversion makes of it, an infinity or a zero of the right sign.
        static const locale_t cLocale = ::newlocale(LC_ALL_MASK, "C", locale_t{});
        const std::string number(first, last);
        return ::strtod_l(number.c_str(), nullptr, cLocale);
    }
    return value;
}

QString toQString(const CString& text) {
    return QString::fromUtf16(text.str().data(), static_cast<qsizetype>(text.str().size()));
}

CString fromQString(const QString& text) {
    return CString(reinterpret_cast<const char16_t*>(text.utf16()),
                   static_cast<std::size_t>(text.size()));
}

DataExchange::DataExchange(QWidget& dialog, bool saveAndValidate)
    : m_dialog(dialog), m_save(saveAndValidate) {}

void DataExchange::control(int id, QComboBox*& bound) {
    if (m_failed || bound != nullptr) {
        return;
    }
    bound = qobject_cast<QComboBox*>(controlById(m_dialog, id));
}

void DataExchange::text(int id, CString& value) {
    auto* edit = qobject_cast<QLineEdit*>(controlById(m_dialog, id));
    if (m_failed || edit == nullptr) {
        return;
    }
    if (m_save) {
        value = fromQString(edit->text());
    } else {
        showText(*edit, toQString(value));
    }
}

void DataExchange::number(int id, double& value) {
    auto* edit = qobject_cast<QLineEdit*>(controlById(m_dialog, id));
    if (m_failed || edit == nullptr) {
        return;
    }
    if (!m_save) {
        showText(*edit, formatNumber(value));
        return;
    }
    const std::optional<double> parsed = parseNumber(edit->text());
    if (!parsed) {
        AfxMessageBox(CString(kNotANumberText), MB_OK | MB_ICONWARNING);
        edit->setFocus(Qt::OtherFocusReason);
        edit->selectAll();
        m_failed = true;
        return;
    }
    value = *parsed;
}

}  // namespace fluxgrid::dialog
