#pragma once

#include <QWidget>

namespace halvard {

/// The ground of the disk-usage section: white, a rule at the top, and while a search runs a bar of its progress.
class DiskUsageSummary : public QWidget {
  Q_OBJECT

 public:
  explicit DiskUsageSummary(QWidget* parent) : QWidget(parent) {}

  /// 0 to 1; negative: nothing runs.
  void setProgress(double progress);

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  double m_progress = -1;
};

}  // namespace halvard
