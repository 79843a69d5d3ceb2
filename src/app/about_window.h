#pragma once

#include <QWidget>
#include <functional>
#include <vector>

class QVBoxLayout;

namespace halvard {

/// One way to tell others about the program.
struct ShareButton {
  QString title;
  std::function<void()> share;
};

/// The about window: icon, name, version, what the program does, and where it can be shared.
class AboutWindow : public QWidget {
  Q_OBJECT

 public:
  /// Without buttons the row for them is left out.
  explicit AboutWindow(const std::vector<ShareButton>& shareButtons);

 protected:
  void paintEvent(QPaintEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;

 private:
  void addShareButtons(QVBoxLayout& layout, const std::vector<ShareButton>& shareButtons);
};

}  // namespace halvard
