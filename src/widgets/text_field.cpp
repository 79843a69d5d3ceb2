#include "widgets/text_field.h"

#include "widgets/ui_style.h"

namespace halvard {

TextField::TextField(QWidget* parent) : QLineEdit(parent) {
  setFont(ui_style::font(13));
  setStyleSheet(QStringLiteral("QLineEdit { background: white; color: %1; border: 1px solid %2; border-radius: 5px;"
                               " padding: 0 8px; margin: 1px; }"
                               "QLineEdit:hover { border-color: %3; }"
                               "QLineEdit:focus { border: 2px solid %4; padding: 0 7px; }")
                    .arg(ui_style::primaryTextColor().name(), ui_style::controlOutlineColor().name(),
                         ui_style::accentColor().name(), ui_style::focusColor().name()));
}

QSize TextField::sizeHint() const {
  return {QLineEdit::sizeHint().width(), 28};
}

}  // namespace halvard
