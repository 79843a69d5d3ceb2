// The part of PanelWindow that does without a tray: the window list is the way to the panel then.
#include <QGuiApplication>
#include <QWindowStateChangeEvent>
#include <utility>

#include "menubar/panel_window.h"
#include "platform/ports/status_bar_item.h"

namespace halvard {

void PanelWindow::followTray(WithoutTray atStart) {
  m_withoutTray = atStart;
  connect(&m_statusItem, &StatusBarItem::shownChanged, this, &PanelWindow::trayChanged);
  trayChanged();
}

void PanelWindow::trayChanged() {
  if (!m_statusItem.isShown()) {
    m_trayWait.start(kTrayPatience, [this] { enterWindowList(); });
    return;
  }
  m_trayWait.cancel();
  m_withoutTray = WithoutTray::Minimizes;
  if (m_isInWindowList) leaveWindowList();
}

void PanelWindow::enterWindowList() {
  if (m_isInWindowList) return;
  const bool wasOpen = isOpen();
  m_isInWindowList = true;
  setWindowType(Qt::Window);
  showTriangle(isLocked());
  if (!wasOpen && isLocked()) placeBesideStatusItem();
  if (wasOpen) {
    show();
  } else if (std::exchange(m_withoutTray, WithoutTray::Minimizes) == WithoutTray::Opens) {
    bringToFront();
  } else {
    showMinimized();
  }
  Q_EMIT trayMissed();
}

void PanelWindow::leaveWindowList() {
  const bool stays = isOpen() && (!isLocked() || isInUse());
  const bool wasActive = isActiveWindow();
  m_isInWindowList = false;
  if (!stays && isVisible()) close();
  setWindowType(Qt::Tool);
  showTriangle(isLocked());
  if (!stays) return;
  if (isLocked()) placeBesideStatusItem();
  show();
  if (wasActive) activateWindow();
}

void PanelWindow::setWindowType(Qt::WindowType type) {
  setWindowFlags((windowFlags() & ~Qt::WindowType_Mask) | type);
}

void PanelWindow::reappearMinimized() {
  if (m_isInWindowList && !isVisible()) showMinimized();
}

/// The window list hides and shows the panel, too.
void PanelWindow::changeEvent(QEvent* event) {
  DraggableWindow::changeEvent(event);
  if (event->type() != QEvent::WindowStateChange || !isVisible()) return;
  const bool wasMinimized = static_cast<QWindowStateChangeEvent*>(event)->oldState().testFlag(Qt::WindowMinimized);
  if (wasMinimized == isMinimized()) return;
  m_savesPosition = true;
  if (isMinimized()) {
    Q_EMIT willClose();
  } else {
    Q_EMIT didShow();
  }
}

}  // namespace halvard
