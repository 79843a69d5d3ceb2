#include "widgets/scroll_bar_style.h"

#include <QScrollBar>

namespace halvard::scroll_bar_style {

void apply(QScrollBar& bar) {
  bar.setStyleSheet(
      QStringLiteral("QScrollBar:vertical { width: 8px; background: transparent; margin: 0; }"
                     "QScrollBar::handle:vertical { background: #c3ced6; border-radius: 3px; min-height: 20px;"
                     " margin: 1px 2px 1px 0; }"
                     "QScrollBar::handle:vertical:hover { background: #9fb0bc; }"
                     "QScrollBar::add-line:vertical, QScrollBar::sub-line:vertical { height: 0; }"
                     "QScrollBar::add-page:vertical, QScrollBar::sub-page:vertical { background: transparent; }"));
}

}  // namespace halvard::scroll_bar_style
