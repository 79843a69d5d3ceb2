#pragma once

#include "widgets/focus_ring_button.h"

namespace halvard {

/// A flat button that is only its text, underlined under the mouse.
class TextButton : public FocusRingButton {
  Q_OBJECT

 public:
  explicit TextButton(const QString& text, QWidget* parent = nullptr);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace halvard
