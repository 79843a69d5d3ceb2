#include "promo/ui/page_frame.h"

#include <QCloseEvent>
#include <QGuiApplication>
#include <QPainter>
#include <QPropertyAnimation>
#include <QScreen>
#include <QShortcut>
#include <QVBoxLayout>
#include <algorithm>

#include "widgets/ui_style.h"

namespace halvard {
namespace {

constexpr int kFadeMilliseconds = 300;

Qt::WindowFlags flagsFor(PageWindow::Look look) {
  if (look == PageWindow::Look::Popup) return Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint;
  return Qt::Dialog | Qt::CustomizeWindowHint | Qt::WindowTitleHint | Qt::WindowCloseButtonHint;
}

}  // namespace

PageFrame::PageFrame(PageWindow::Look look, QWidget* content) : QWidget(nullptr, flagsFor(look)), m_look(look) {
  setWindowTitle(QStringLiteral("Halvard"));
  setAttribute(Qt::WA_QuitOnClose, false);
  auto* layout = new QVBoxLayout(this);
  layout->setContentsMargins(margin(), margin(), margin(), margin());
  layout->addWidget(content);
  connect(new QShortcut(QKeySequence(Qt::Key_Escape), this), &QShortcut::activated, this, &QWidget::close);
}

void PageFrame::setContentSize(QSize size) {
  const QRect room = screen()->availableGeometry();
  const QSize whole = (size + QSize(2 * margin(), 2 * margin())).boundedTo(room.size()).expandedTo(QSize(100, 100));
  const QRectF before = geometry();
  setFixedSize(whole);
  if (!isVisible()) return;
  const QPointF corner = before.center() - QPointF(whole.width() / 2.0, whole.height() / 2.0);
  setGeometry(QRect(corner.toPoint(), whole));
}

void PageFrame::present(const std::optional<QPoint>& corner) {
  const QScreen* target = corner ? QGuiApplication::screenAt(*corner) : nullptr;
  move(cornerWithin((target ? target : screen())->availableGeometry(), corner));
  if (m_look == PageWindow::Look::Popup) fadeIn();
  show();
  raise();
  activateWindow();
}

QPoint PageFrame::cornerWithin(const QRect& room, const std::optional<QPoint>& corner) const {
  const QPoint wanted =
      corner ? QPoint(corner->x(), corner->y() - height()) : room.center() - QPoint(width() / 2, height() / 2);
  return {std::clamp(wanted.x(), room.left(), std::max(room.left(), room.right() + 1 - width())),
          std::clamp(wanted.y(), room.top(), std::max(room.top(), room.bottom() + 1 - height()))};
}

void PageFrame::fadeIn() {
  setWindowOpacity(0);
  auto* fade = new QPropertyAnimation(this, "windowOpacity", this);
  fade->setDuration(kFadeMilliseconds);
  fade->setEndValue(1.0);
  fade->start(QAbstractAnimation::DeleteWhenStopped);
}

void PageFrame::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.fillRect(rect(), margin() > 0 ? ui_style::panelBorderColor() : QColor(Qt::white));
}

void PageFrame::changeEvent(QEvent* event) {
  QWidget::changeEvent(event);
  if (event->type() != QEvent::ActivationChange) return;
  const bool resigned = m_wasActive && !isActiveWindow();
  m_wasActive = isActiveWindow();
  if (resigned) Q_EMIT resignedKey();
}

void PageFrame::closeEvent(QCloseEvent* event) {
  event->accept();
  m_wasActive = false;
  Q_EMIT closed();
}

}  // namespace halvard
