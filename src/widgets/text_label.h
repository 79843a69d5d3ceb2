#pragma once

#include <QLabel>

class QVBoxLayout;

namespace halvard {

/// A label of that font and colour, whatever the palette of the desktop. The caller owns it.
QLabel* makeLabel(const QString& text, const QFont& font, const QColor& color);

/// A centred label that wraps, at the end of `layout`.
QLabel* addCentredLine(QVBoxLayout& layout, const QString& text, const QFont& font, const QColor& color);

}  // namespace halvard
