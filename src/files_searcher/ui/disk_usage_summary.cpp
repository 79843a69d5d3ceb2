#include "files_searcher/ui/disk_usage_summary.h"

#include <QPainter>

#include <algorithm>

#include "files_searcher/ui/disk_usage_style.h"
#include "widgets/ui_style.h"

namespace halvard {

void DiskUsageSummary::setProgress(double progress) {
  // A search may be followed by another one; the bar never goes back meanwhile.
  const double shown = progress < 0 ? progress : std::max(progress, m_progress);
  if (shown == m_progress) return;
  m_progress = shown;
  update(0, 0, width(), 4);
}

void DiskUsageSummary::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  disk_usage_style::paintGround(painter, rect());
  painter.fillRect(QRect(0, 0, width(), 1), ui_style::titleBarSeparatorColor());
  if (m_progress < 0) return;
  // Between the panel's borders.
  const QRectF bar(1, 0, width() - 2, 3);
  painter.fillRect(bar, ui_style::pieChartFreeColor());
  painter.fillRect(QRectF(bar.topLeft(), QSizeF(bar.width() * std::clamp(m_progress, 0.02, 1.0), bar.height())),
                   ui_style::pieChartUserColor());
}

}  // namespace halvard
