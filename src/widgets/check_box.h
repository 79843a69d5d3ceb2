#pragma once

#include "widgets/focus_ring_button.h"

namespace halvard {

/// A painted check box with its text. `clicked` is the user; `toggled` is everybody.
class CheckBox : public FocusRingButton {
  Q_OBJECT

 public:
  explicit CheckBox(const QString& text, QWidget* parent = nullptr);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace halvard
