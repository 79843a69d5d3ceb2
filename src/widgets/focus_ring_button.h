#pragma once

#include <QAbstractButton>

namespace halvard {

/// A painted button that shows the keyboard's place only to those who use the keyboard: a focus that came by a click,
/// or because a window opened, is not drawn.
class FocusRingButton : public QAbstractButton {
  Q_OBJECT

 public:
  explicit FocusRingButton(QWidget* parent = nullptr);

 protected:
  bool showsFocus() const { return hasFocus() && m_focusedByKey; }
  void focusInEvent(QFocusEvent* event) override;
  /// Space presses, and so do Return and Enter.
  void keyPressEvent(QKeyEvent* event) override;

 private:
  bool m_focusedByKey = false;
};

}  // namespace halvard
