#pragma once

namespace halvard::tool_tip_style {

/// The look of every tool tip of the program, that of HintWindow. Once, when there is an application.
void apply();

}  // namespace halvard::tool_tip_style
