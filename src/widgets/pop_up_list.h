#pragma once

#include <QComboBox>

namespace halvard {

/// A painted pop-up list. `activated` is the user alone.
class PopUpList : public QComboBox {
  Q_OBJECT

 public:
  explicit PopUpList(QWidget* parent = nullptr);
  QSize sizeHint() const override;

 protected:
  void paintEvent(QPaintEvent* event) override;
  /// The wheel scrolls the window, it does not change a preference in passing.
  void wheelEvent(QWheelEvent* event) override;
};

}  // namespace halvard
