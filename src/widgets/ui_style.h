#pragma once

#include <QColor>
#include <QFont>

#include "core/color.h"

/// The one look of every window: fonts and the named interface colours. The windows are light on every desktop.
namespace halvard::ui_style {

/// The interface font. `pixelSize` is in logical pixels.
QFont font(int pixelSize, QFont::Weight weight = QFont::Normal);

QColor toQColor(const Color& color);

// Named colours.
QColor titleBarColor();
QColor titleBarSeparatorColor();
QColor panelBorderColor();
QColor primaryTextColor();
QColor secondaryTextColor();
/// The percentage while memory is in the green, and above the danger threshold.
QColor calmColor();
QColor dangerColor();
/// The used text and the cleaned text below the percentage.
QColor usedTextColor();
QColor cleanedTextColor();
QColor pieChartSystemColor();
QColor pieChartUserColor();
QColor pieChartFreeColor();
/// The ground of hints and tool tips.
QColor hintColor();
/// Rows and flat buttons under the mouse, and pressed.
QColor hoverColor();
QColor pressedColor();
/// The ring around a control that has the keyboard.
QColor focusColor();
/// What is switched on, and the filled part of a slider; and the outline of what is not.
QColor accentColor();
QColor controlOutlineColor();

}  // namespace halvard::ui_style
