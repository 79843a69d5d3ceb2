#pragma once

class QMenu;

namespace halvard::menu_style {

/// The look of every menu of the program.
void apply(QMenu& menu);

}  // namespace halvard::menu_style
