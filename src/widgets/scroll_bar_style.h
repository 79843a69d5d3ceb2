#pragma once

class QScrollBar;

namespace halvard::scroll_bar_style {

/// A slim bar without arrows.
void apply(QScrollBar& bar);

}  // namespace halvard::scroll_bar_style
