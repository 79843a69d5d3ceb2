#pragma once

#include <QLabel>

namespace halvard {

/// The clickable text of the panel's summary: while it is tracked, a heavier face under the mouse and a click, by mouse
/// or by key.
class PanelWindowInfoLabel : public QLabel {
  Q_OBJECT

 public:
  explicit PanelWindowInfoLabel(QWidget* parent = nullptr);

  /// Follows the mouse and takes the keyboard.
  void setTracking(bool tracking);
  bool isTracking() const { return m_tracking; }
  void setNormalFont(const QFont& font);
  void setHoveredFont(const QFont& font);
  void setTextColor(const QColor& color);
  /// A number the owner tells labels' states apart by.
  int tag = 0;

 Q_SIGNALS:
  void clicked();

 protected:
  void enterEvent(QEnterEvent* event) override;
  void leaveEvent(QEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void mousePressEvent(QMouseEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void paintEvent(QPaintEvent* event) override;

 private:
  void applyFont(bool hovered);

  bool m_tracking = false;
  QFont m_normalFont;
  QFont m_hoveredFont;
};

}  // namespace halvard
