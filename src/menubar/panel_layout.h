#pragma once

#include <QRect>
#include <QSize>

/// The measures of the panel. The summary area's places count upwards from its bottom edge, as do the fixed figures
/// here; rect() turns them into a widget's coordinates.
namespace halvard::panel_layout {

inline constexpr int kPanelWidth = 250;
inline constexpr float kCompactHeight = 220.0F;
inline constexpr float kDetailedHeight = 285.0F;

/// The background: pointer triangle, title bar, separator, white.
inline constexpr int kTriangleHeight = 8;
inline constexpr int kTriangleHalfWidth = 7;
inline constexpr int kTitleBarHeight = 30;
inline constexpr int kHeaderHeight = kTriangleHeight + kTitleBarHeight + 1;

/// The summary area has the height of the detailed panel and hangs from the panel's top edge, whatever the panel's
/// height: the compact panel shows all but its lowest 65 points, and a growing panel uncovers them.
inline constexpr int kSummaryHeight = 285;
inline constexpr QSize kProcessListSize{250, 100};
/// The process list's origin below the summary area's top.
inline constexpr int kProcessListDrop = 230;

/// The y of each control's origin in the summary area.
struct SummaryPlaces {
  qreal title;
  qreal subtitle;
  qreal freeButton;
  qreal line;
};
inline constexpr SummaryPlaces kCompact{173.0, 154.0, 100.0, 83.0};
inline constexpr SummaryPlaces kDetailed{195.0, 179.0, 34.0, 17.0};

/// A rectangle of the summary area, whose origin is its lower left corner, in the coordinates of the widget.
constexpr QRect rect(int x, qreal y, int width, int height) {
  return {x, kSummaryHeight - static_cast<int>(y) - height, width, height};
}

}  // namespace halvard::panel_layout
