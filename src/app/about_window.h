#pragma once

#include <QWidget>

namespace halvard {

/// The about window: icon, name, version and what the program does.
class AboutWindow : public QWidget {
  Q_OBJECT

 public:
  AboutWindow();

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
};

}  // namespace halvard
