#include "widgets/tool_tip_style.h"

#include <QToolTip>

#include "widgets/ui_style.h"

namespace halvard::tool_tip_style {

void apply() {
  QPalette colors = QToolTip::palette();
  colors.setColor(QPalette::ToolTipBase, ui_style::hintColor());
  colors.setColor(QPalette::ToolTipText, Qt::white);
  colors.setColor(QPalette::WindowText, ui_style::hintColor());  // the rim
  QToolTip::setPalette(colors);
  QToolTip::setFont(ui_style::font(11));
}

}  // namespace halvard::tool_tip_style
