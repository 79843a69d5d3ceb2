#pragma once

#include <QColor>

#include "widgets/focus_ring_button.h"

namespace halvard {

/// A painted button with a face for each of its states, as wide as its text wants.
class PushButton : public FocusRingButton {
  Q_OBJECT

 public:
  /// What an answer means: the one that is offered, or the one beside it.
  enum class Role { Offered, Other };

  PushButton(const QString& text, Role role, QWidget* parent = nullptr);
  QSize sizeHint() const override;
  QColor textColor() const;

 protected:
  void paintEvent(QPaintEvent* event) override;

 private:
  const Role m_role;
};

}  // namespace halvard
