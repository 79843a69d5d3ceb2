#pragma once

#include <QLabel>

namespace halvard {

/// A small tool-tip window, shared by the controls that explain themselves under the mouse.
class HintWindow : public QLabel {
  Q_OBJECT

 public:
  HintWindow();

  /// Shows `text` beside `position` (global), inside the screen.
  void showWithText(const QString& text, QPoint position);
  void hideItself();
  /// What the owner shows at the moment, for example an index; -1 while hidden.
  int tag = -1;

 protected:
  void paintEvent(QPaintEvent* event) override;
};

}  // namespace halvard
