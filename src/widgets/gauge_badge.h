#pragma once

#include <QString>

class QPainter;

namespace halvard {

/// Draws `text` large on a slate tile with a thin gauge along its bottom, into a square of `pixelSize`.
void drawBadge(QPainter& painter, int pixelSize, int percent, const QString& text);

}  // namespace halvard
