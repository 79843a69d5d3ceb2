#pragma once

#include <QTimer>
#include <QWidget>

namespace halvard {

/// A small wheel that turns while something is on its way, in the middle of its parent. Hidden, and without a timer,
/// otherwise.
class ProgressIndicator : public QWidget {
  Q_OBJECT

 public:
  explicit ProgressIndicator(QWidget* parent);

  void startAnimation();
  void stopAnimation();
  bool isAnimating() const { return m_timer.isActive(); }

 protected:
  void paintEvent(QPaintEvent* event) override;
  bool eventFilter(QObject* watched, QEvent* event) override;

 private:
  void centre();

  QTimer m_timer;
  int m_step = 0;
};

}  // namespace halvard
