#pragma once

#include "widgets/focus_ring_button.h"

namespace halvard {

/// A star, golden or empty, that tells when the pointer comes and goes.
class RateStarButton : public FocusRingButton {
  Q_OBJECT

 public:
  explicit RateStarButton(const QString& accessibleName, QWidget* parent = nullptr);

  /// "rate_dialog_star_gold", or "rate_dialog_star_empty".
  void setGold(bool gold);
  bool isGold() const { return m_gold; }
  QSize sizeHint() const override { return {44, 44}; }

 Q_SIGNALS:
  void mouseEntered();
  void mouseExited();

 protected:
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void focusInEvent(QFocusEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  bool m_gold = false;
};

}  // namespace halvard
