#include "menubar/panel_placement.h"

#include <algorithm>

namespace halvard::panel_placement {
namespace {

constexpr int kItemOffset = 12;
constexpr int kItemGap = 5;
/// The apex keeps this far from the panel's rounded corners.
constexpr int kApexInset = 16;

}  // namespace

Placement besideItem(const QRect& item, const QSize& panel, const QRect& available) {
  Placement placement;
  const int apexX = item.left() + kItemOffset;
  const bool isLower = item.center().y() > available.center().y();
  placement.edge = isLower ? TriangleEdge::Bottom : TriangleEdge::Top;
  const int below = item.bottom() + 1 + kItemGap;
  const int above = item.top() - kItemGap - panel.height();
  const int rightmost = std::max(available.left(), available.right() + 1 - panel.width());
  const int lowest = std::max(available.top(), available.bottom() + 1 - panel.height());
  placement.topLeft.setX(std::clamp(apexX - panel.width() / 2, available.left(), rightmost));
  placement.topLeft.setY(std::clamp(isLower ? above : below, available.top(), lowest));
  placement.apex = std::clamp(apexX - placement.topLeft.x(), kApexInset, panel.width() - kApexInset);
  return placement;
}

QRect middleOf(const QRect& panel) {
  return {panel.left() + panel.width() / 2 - kItemOffset, panel.top(), 2 * kItemOffset, panel.height()};
}

QPoint cornerOf(const QRect& available, const QSize& panel) {
  constexpr int margin = 8;
  return {available.right() + 1 - panel.width() - margin, available.top() + margin};
}

QPoint restored(QPoint savedTopLeft, const QSize& panel, const QRect& screen) {
  const int right = screen.right() + 1;
  const int bottom = screen.bottom() + 1;
  QPoint place = savedTopLeft;
  if (place.x() > right) place.setX(right - panel.width());
  if (place.x() + panel.width() < screen.left()) place.setX(screen.left());
  if (place.y() > bottom) place.setY(bottom - panel.height());
  if (place.y() + panel.height() < screen.top()) place.setY(screen.top());
  return place;
}

}  // namespace halvard::panel_placement
