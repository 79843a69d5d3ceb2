#pragma once

#include <QPainterPath>
#include <QWidget>
#include <array>

#include "core/clock.h"
#include "core/units.h"
#include "menubar/eased_share.h"

namespace halvard {

class HintWindow;

/// The ring chart of system, user and free memory. Drawn in its own measures (radius 105, ring 20 wide) and scaled to
/// the size of the widget.
class PieChartView : public QWidget {
  Q_OBJECT

 public:
  /// `clock` and `hint` outlive the view; the hint window is shared with other controls.
  PieChartView(Clock& clock, HintWindow& hint, QWidget* parent = nullptr);

  /// Stores the targets (0 to 1) and moves to them: animated in an active program, at once in an inactive one, not at
  /// all while the chart is hidden, nor before an edge has a quarter of a pixel to go.
  void setSystemUsagePercent(double systemUsage, double userUsage);
  /// Bytes, for the hover texts.
  void setWiredSize(ByteCount wired, ByteCount user, ByteCount free);
  void startAnimationFromZeroSize();

  /// Segments by index: 0 system, 1 user, 2 free. Any other has share 0, white and no text.
  double sizeForSegmentByIndex(int index) const;
  QColor colorForSegmentByIndex(int index) const;
  QString tooltipForSegmentByIndex(int index) const;

  /// Bytes in steps of 1024, the next unit from 1024 on: unlike the shared formatter it knows "1000 KB".
  static QString stringFromSize(std::int64_t bytes);

  /// The segment under a point of the widget, or -1.
  int segmentAt(QPointF position) const;
  bool isAnimating() const { return m_timer.isPending(); }

 protected:
  void paintEvent(QPaintEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void showEvent(QShowEvent* event) override;

 private:
  bool isMoveSeen() const;
  void startAnimatingUpdate();
  void tick();
  void rebuildPaths();
  /// For screen readers; made while shown, for it costs more than the rest of a hidden chart's second.
  void describe();
  QTransform toView() const;

  Clock& m_clock;
  HintWindow& m_hint;
  EasedShare m_systemUsage;
  EasedShare m_userUsage;
  ByteCount m_wiredSize = 0;
  ByteCount m_userSize = 0;
  ByteCount m_freeSize = 0;
  std::array<QPainterPath, 3> m_segmentPaths;  // in the chart's own measures, around the origin
  ScheduledCall m_timer;
};

}  // namespace halvard
