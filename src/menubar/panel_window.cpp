#include "menubar/panel_window.h"

#include <QDialog>
#include <QGuiApplication>
#include <QKeyEvent>
#include <QLabel>
#include <QPainterPath>
#include <QScreen>

#include "core/clock.h"
#include "core/notification_center.h"
#include "menubar/panel_layout.h"
#include "menubar/panel_parts.h"
#include "menubar/panel_placement.h"
#include "menubar/panel_view.h"
#include "menubar/summary_view.h"
#include "platform/ports/status_bar_item.h"
#include "platform/ports/window_hints.h"
#include "preferences/showcase_defaults.h"
#include "widgets/hint_window.h"
#include "widgets/icon_button.h"
#include "widgets/text_button.h"
#include "widgets/ui_style.h"

namespace halvard {

using namespace std::chrono_literals;

namespace {

/// A click on the item that took the focus from the panel, and so closed it, arrives this soon afterwards at the
/// latest.
constexpr std::chrono::milliseconds kClickAfterFocusLoss = 300ms;

constexpr Qt::WindowFlags kFlags = Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;

}  // namespace

PanelWindow::PanelWindow(Clock& clock, ShowcaseDefaults& defaults, NotificationCenter& notifications,
                         StatusBarItem& statusItem, PanelParts& parts, WindowHints& hints)
    : DraggableWindow(kFlags),
      m_clock(clock),
      m_defaults(defaults),
      m_statusItem(statusItem),
      m_parts(parts),
      m_hints(hints),
      m_trayWait(clock),
      m_hint(std::make_unique<HintWindow>()),
      m_panelView(new PanelView(this)) {
  setWindowTitle(QGuiApplication::applicationDisplayName());
  setAttribute(Qt::WA_TranslucentBackground);
  setAttribute(Qt::WA_QuitOnClose, false);
  buildControls();
  connectControls();
  resize(panel_layout::kPanelWidth, static_cast<int>(panel_layout::kCompactHeight));
  notifications.addObserver(kCloseMainWindowIfNotActive, this, [this](const QVariant&) { closeWindowIfNotActive(); });
}

PanelWindow::~PanelWindow() {
  disconnect(m_panelView, nullptr, this, nullptr);
  delete m_frameAnimation;
}

void PanelWindow::buildControls() {
  m_summary = new SummaryView(m_clock, *m_hint, m_panelView);
  m_closeButton = new IconButton(IconButton::Picture::Close, tr("Close"), m_panelView);
  m_nameLabel = new QLabel(QGuiApplication::applicationDisplayName(), m_panelView);
  m_nameLabel->setFont(ui_style::font(12, QFont::DemiBold));
  m_nameLabel->setAlignment(Qt::AlignCenter);
  m_nameLabel->setAttribute(Qt::WA_TransparentForMouseEvents);
  QPalette colors = m_nameLabel->palette();
  colors.setColor(QPalette::WindowText, QColor(82, 100, 115));
  m_nameLabel->setPalette(colors);
  m_prefecencesButton = new IconButton(IconButton::Picture::Settings, tr("Settings"), m_panelView);
  m_lineView = new QWidget(m_panelView);
  m_lineView->setAutoFillBackground(true);
  m_memoryUsageButton = new TextButton(tr("Memory usage"), m_panelView);
  m_disclosureButton = new IconButton(IconButton::Picture::Disclosure, tr("Show memory usage in detail"), m_panelView);
  m_disclosureButton->setCheckable(true);
  m_disclosureButton->setFocusPolicy(Qt::NoFocus);
}

void PanelWindow::connectControls() {
  connect(m_closeButton, &QAbstractButton::clicked, this, &PanelWindow::closeButtonPressed);
  connect(m_prefecencesButton, &QAbstractButton::clicked, this, &PanelWindow::preferencesButtonPressed);
  connect(m_memoryUsageButton, &QAbstractButton::clicked, this, &PanelWindow::showDetailedMemoryUsageButtonPressed);
  connect(m_disclosureButton, &QAbstractButton::clicked, this, &PanelWindow::showDetailedMemoryUsageButtonPressed);
  connect(m_panelView, &PanelView::outlineChanged, this, &PanelWindow::layOut);
}

void PanelWindow::awakeFromNib() {
  changeWindowStateTo(initialState(), false);
  showTriangle(isLocked());
}

void PanelWindow::layOut() {
  const int top = m_panelView->bodyOffset();
  const int bar = top + panel_layout::kTriangleHeight;
  m_summary->move(0, top);
  m_closeButton->setGeometry(6, bar + 3, 26, 24);
  m_closeButton->setVisible(!m_panelView->showsTriangle());
  m_nameLabel->setGeometry(40, bar, width() - 80, panel_layout::kTitleBarHeight);
  m_prefecencesButton->setGeometry(width() - 6 - 26, bar + 3, 26, 24);
  const int summaryBottom = top + summaryHeight();
  m_memoryUsageButton->setGeometry(30, summaryBottom - 31, 120, 24);
  m_disclosureButton->setGeometry(8, summaryBottom - 31, 26, 24);
  if (m_adBasedOnSpotlightVC) m_adBasedOnSpotlightVC->view()->move(0, top + m_diskUsageTop);
  cutOutShape();
}

void PanelWindow::cutOutShape() {
  m_blends ? clearMask() : setMask(QRegion(m_panelView->outline().toFillPolygon().toPolygon()));
}

bool PanelWindow::isLocked() const {
  return m_defaults.isWindowLocked();
}

void PanelWindow::setLocked(bool locked) {
  if (locked != isLocked()) m_defaults.saveWindowLockedState(locked);
}

void PanelWindow::showTriangle(bool show) {
  setLocked(show);
  m_panelView->setShowTriangle(show && !m_isInWindowList);
  layOut();
}

void PanelWindow::closeAndMakeItLocked() {
  close();
  showTriangle(true);
}

void PanelWindow::closeButtonPressed() {
  closeAndMakeItLocked();
}

void PanelWindow::processActionOfStatusItem(bool canBeClosed) {
  if (isVisible()) {
    if (m_panelWindowDelegate) m_panelWindowDelegate->panelWindowHidesNews();
    if (isLocked()) {
      if (canBeClosed) close();
      return;
    }
    closeAndMakeItLocked();
  } else if (canBeClosed && m_closedByFocusLoss &&
             m_clock.monotonicNow() - *m_closedByFocusLoss < kClickAfterFocusLoss) {
    return;
  }
  if (isLocked()) placeBesideStatusItem();
  show_makeKey();
}

void PanelWindow::placeBesideStatusItem() {
  const std::optional<QRect> item = m_statusItem.geometry();
  const QScreen* screen = item ? QGuiApplication::screenAt(item->center()) : nullptr;
  if (!screen) screen = QGuiApplication::primaryScreen();
  const QRect room = screen->availableGeometry();
  if (!item) {
    m_panelView->pointAtNothing();
    m_attachedPlace = panel_placement::cornerOf(room, size());
  } else {
    const panel_placement::Placement placement = panel_placement::besideItem(*item, size(), room);
    m_panelView->pointAt(placement.edge, placement.apex);
    m_attachedPlace = placement.topLeft;
  }
  move(*m_attachedPlace);
}

void PanelWindow::showWindowIfNotLocked() {
  if (isLocked()) return;
  if (const auto saved = m_defaults.restoreWindowFramePosition()) {
    const QRect screen = QGuiApplication::primaryScreen()->geometry();
    move(panel_placement::restored(QPointF(saved->left, saved->top).toPoint(), size(), screen));
  }
  show_makeKey();
}

void PanelWindow::bringToFront() {
  show_makeKey();
}

void PanelWindow::show_makeKey() {
  m_savesPosition = true;
  showNormal();
  raise();
  activateWindow();
}

void PanelWindow::draggedByUser() {
  showTriangle(false);
}

void PanelWindow::moveEvent(QMoveEvent* event) {
  DraggableWindow::moveEvent(event);
  if (!isDragging() && !m_animating) savePosition();
}

void PanelWindow::savePosition() {
  if (m_savesPosition) m_defaults.saveWindowFramePosition(x(), y());
}

void PanelWindow::mouseReleaseEvent(QMouseEvent* event) {
  DraggableWindow::mouseReleaseEvent(event);
  savePosition();
}

void PanelWindow::resizeEvent(QResizeEvent* event) {
  DraggableWindow::resizeEvent(event);
  m_panelView->resize(size());
}

void PanelWindow::showEvent(QShowEvent* event) {
  using List = WindowHints::WindowList;
  // What the desktop shows again by itself has kept its hints.
  if (!event->spontaneous())
    m_hints.setPlace(winId(), WindowHints::Desktops::All, m_isInWindowList ? List::Listed : List::Hidden);
  m_blends = m_hints.blendsWindows();
  cutOutShape();
  DraggableWindow::showEvent(event);
  if (!event->spontaneous() && isOpen()) Q_EMIT didShow();
}

void PanelWindow::closeEvent(QCloseEvent* event) {
  m_hint->hideItself();
  endSheets();
  if (isOpen()) Q_EMIT willClose();
  DraggableWindow::closeEvent(event);
  // To refuse would keep the program from quitting.
  if (m_isInWindowList) QMetaObject::invokeMethod(this, &PanelWindow::reappearMinimized, Qt::QueuedConnection);
}

void PanelWindow::endSheets() {
  // The end of one may open another.
  const auto openSheet = [this]() -> QDialog* {
    for (QDialog* const sheet : findChildren<QDialog*>()) {
      if (sheet->isVisible()) return sheet;
    }
    return nullptr;
  };
  while (QDialog* const sheet = openSheet())
    sheet->reject();
}

bool PanelWindow::event(QEvent* event) {
  // The application's own state changes right after the window's: look at it on the next turn.
  if (event->type() == QEvent::WindowDeactivate) {
    QMetaObject::invokeMethod(this, &PanelWindow::windowDidResignKey, Qt::QueuedConnection);
  }
  return DraggableWindow::event(event);
}

void PanelWindow::windowDidResignKey() {
  if (!isVisible() || !isAttached() || isInUse()) return;
  m_closedByFocusLoss = m_clock.monotonicNow();
  close();
}

bool PanelWindow::isInUse() const {
  return QGuiApplication::applicationState() == Qt::ApplicationActive ||
         (m_panelWindowDelegate && m_panelWindowDelegate->panelWindowHasPageOpen());
}

void PanelWindow::closeWindowIfNotActive() {
  if (!isActiveWindow() && isAttached()) close();
}

void PanelWindow::keyPressEvent(QKeyEvent* event) {
  if (event->key() == Qt::Key_Comma && event->modifiers() == Qt::ControlModifier) {
    if (m_panelWindowDelegate) m_panelWindowDelegate->panelWindowWantsToOpenPreferences();
  } else if (event->key() == Qt::Key_Escape) {
    isLocked() ? void(close()) : closeAndMakeItLocked();
  } else {
    DraggableWindow::keyPressEvent(event);
  }
}

}  // namespace halvard
