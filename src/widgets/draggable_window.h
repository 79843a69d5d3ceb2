#pragma once

#include <QPoint>
#include <QWidget>
#include <optional>

namespace halvard {

/// A borderless window that is moved by its background and never taller than the free area of its screen.
class DraggableWindow : public QWidget {
  Q_OBJECT

 public:
  explicit DraggableWindow(Qt::WindowFlags flags);

 protected:
  /// The user moves the window, for the first time since the button went down.
  virtual void draggedByUser() {}
  /// `frame`, clipped to the free area of the screen it is on.
  QRect constrainedFrame(const QRect& frame) const;

  void mousePressEvent(QMouseEvent* event) override;
  void mouseMoveEvent(QMouseEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;

  /// True between a press on the background and its release.
  bool isDragging() const { return m_grip.has_value(); }

 private:
  std::optional<QPoint> m_grip;  // where the window is held, from its upper left corner
  bool m_moved = false;
};

}  // namespace halvard
