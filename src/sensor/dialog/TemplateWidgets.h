/// \file TemplateWidgets.h
/// Qt widgets from a platform-neutral dialog template, and the exchange
/// between a dialog's members and its controls.
#pragma once

#include <fluxgrid/platform/CString.h>
#include <fluxgrid/platform/Resource.h>

#include <QFont>
#include <QRect>
#include <QString>

#include <optional>

class QComboBox;
class QDialog;
class QWidget;

namespace fluxgrid::dialog {

/// The font of a template: the classic dialog faces ("MS Shell Dlg",
/// "MS Shell Dlg 2", "MS Sans Serif") map to the platform's default
/// sans-serif face; another face is asked for by name. At the template's
/// point size.
QFont templateFont(const DialogTemplate& dialog);

/// The pixels per four horizontal and per eight vertical dialog units: the
/// average width of the 52 Latin letters and the character height of the
/// dialog font.
struct DialogBaseUnits {
    int x = 0;
    int y = 0;
};

DialogBaseUnits baseUnits(const QFont& font);

/// `a` x `b` / `c`, rounded to the nearest integer, halves away from zero.
int mulDiv(int a, int b, int c);

/// A rectangle in dialog units converted to pixels.
QRect dialogUnitsToPixels(const DialogBaseUnits& units, int x, int y, int cx, int cy);

/// Builds `dialog` from `source`: object name (the id in decimal), caption,
/// font, fixed client size, and the controls, each named by its id in
/// decimal, placed by its rectangle and joined in the template's tab order.
void buildFromTemplate(QDialog& dialog, const DialogTemplate& source);

/// The control `id` of `dialog`, or null.
QWidget* controlById(const QWidget& dialog, int id);

/// A number as shown in a field: up to 15 significant digits, the shortest
/// form of printf's "%.15g", with a point as the decimal separator whatever
/// the locale.
QString formatNumber(double value);

/// A field's text as a number: optional blanks, one number in the C
/// notation (sign, digits, point, exponent; "inf" and "nan" too), optional
/// blanks and nothing else. Empty when the text is not such a number.
std::optional<double> parseNumber(const QString& text);

QString toQString(const CString& text);
CString fromQString(const QString& text);

/// One exchange between a dialog's members and its controls, in either
/// direction. After a refused number every later step does nothing.
class DataExchange {
  public:
    DataExchange(QWidget& dialog, bool saveAndValidate);

    bool saveAndValidate() const { return m_save; }
    bool failed() const { return m_failed; }

    /// Binds the combo box `id` to `bound` if it is not bound yet.
    void control(int id, QComboBox*& bound);
    /// The text of edit field `id`.
    void text(int id, CString& value);
    /// The number in edit field `id`. A text that is not a number is
    /// refused with a message box; the field then has the focus with its
    /// text selected, and the exchange stops.
    void number(int id, double& value);

  private:
    QWidget& m_dialog;
    bool m_save;
    bool m_failed = false;
};

}  // namespace fluxgrid::dialog
