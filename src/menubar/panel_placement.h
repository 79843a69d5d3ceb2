#pragma once

#include <QPoint>
#include <QRect>
#include <QSize>
#include <optional>

/// Where the panel goes. Everything in global logical coordinates that grow downwards.
namespace halvard::panel_placement {

/// On which edge of the panel the pointer triangle sits, and where.
enum class TriangleEdge { Top, Bottom };

struct Placement {
  QPoint topLeft;
  TriangleEdge edge = TriangleEdge::Top;
  /// Distance of the triangle's apex from the panel's left edge.
  int apex = 0;
};

/// The panel beside its status item: centred 12 points right of the item's left edge, 5 points off the item, below an
/// item in the upper half of the screen and above one in the lower half, pushed back inside `available`.
Placement besideItem(const QRect& item, const QSize& panel, const QRect& available);

/// What stands for the panel where another window opens beside it as beside an item: below its middle, or above.
QRect middleOf(const QRect& panel);

/// The panel of a program whose item nobody has clicked yet: in the upper right corner of `available`.
QPoint cornerOf(const QRect& available, const QSize& panel);

/// The saved place (left and top edge) pulled back onto `screen` when it lies beyond an edge.
QPoint restored(QPoint savedTopLeft, const QSize& panel, const QRect& screen);

}  // namespace halvard::panel_placement
