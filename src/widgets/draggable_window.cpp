#include "widgets/draggable_window.h"

#include <QApplication>
#include <QMouseEvent>
#include <QScreen>

namespace halvard {

DraggableWindow::DraggableWindow(Qt::WindowFlags flags) : QWidget(nullptr, flags | Qt::FramelessWindowHint) {}

QRect DraggableWindow::constrainedFrame(const QRect& frame) const {
  const QRect room = screen()->availableGeometry();
  if (isFullScreen() || frame.height() <= room.height()) return frame;
  return {frame.left(), room.top(), frame.width(), room.height()};
}

void DraggableWindow::mousePressEvent(QMouseEvent* event) {
  if (event->button() != Qt::LeftButton) return;
  m_grip = event->globalPosition().toPoint() - frameGeometry().topLeft();
  m_moved = false;
}

void DraggableWindow::mouseMoveEvent(QMouseEvent* event) {
  if (!m_grip) return;
  const QPoint target = event->globalPosition().toPoint() - *m_grip;
  if (!m_moved) {
    if ((target - pos()).manhattanLength() < QApplication::startDragDistance()) return;
    m_moved = true;
    draggedByUser();
  }
  move(target);
}

void DraggableWindow::mouseReleaseEvent(QMouseEvent*) {
  m_grip.reset();
}

}  // namespace halvard
