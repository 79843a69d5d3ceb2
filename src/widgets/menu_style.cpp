#include "widgets/menu_style.h"

#include <QMenu>

#include "widgets/ui_style.h"

namespace halvard::menu_style {

void apply(QMenu& menu) {
  menu.setFont(ui_style::font(12));
  menu.setStyleSheet(QStringLiteral("QMenu { background: white; border: 1px solid %1; padding: 4px 0; }"
                                    "QMenu::item { padding: 5px 22px 5px 14px; color: %2; background: transparent; }"
                                    "QMenu::icon { padding-left: 10px; }"
                                    "QMenu::item:selected { background: %3; }"
                                    "QMenu::item:disabled { color: #7d8a94; }"
                                    "QMenu::separator { height: 1px; background: %4; margin: 4px 0; }")
                         .arg(ui_style::panelBorderColor().name(), ui_style::primaryTextColor().name(),
                              ui_style::pressedColor().name(), ui_style::titleBarSeparatorColor().name()));
}

}  // namespace halvard::menu_style
