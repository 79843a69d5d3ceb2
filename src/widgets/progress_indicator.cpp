#include "widgets/progress_indicator.h"

#include <QEvent>
#include <QPainter>

namespace halvard {
namespace {
constexpr int kSide = 20;
constexpr int kSpokes = 12;
constexpr int kMilliseconds = 80;
}  // namespace

ProgressIndicator::ProgressIndicator(QWidget* parent) : QWidget(parent) {
  setFixedSize(kSide, kSide);
  setAttribute(Qt::WA_TransparentForMouseEvents);
  parent->installEventFilter(this);
  m_timer.setInterval(kMilliseconds);
  connect(&m_timer, &QTimer::timeout, this, [this] {
    m_step = (m_step + 1) % kSpokes;
    update();
  });
  hide();
}

void ProgressIndicator::startAnimation() {
  centre();
  show();
  raise();
  m_timer.start();
}

void ProgressIndicator::stopAnimation() {
  m_timer.stop();
  hide();
}

void ProgressIndicator::centre() {
  move((parentWidget()->width() - kSide) / 2, (parentWidget()->height() - kSide) / 2);
}

bool ProgressIndicator::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::Resize) centre();
  return QWidget::eventFilter(watched, event);
}

void ProgressIndicator::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  painter.setRenderHint(QPainter::Antialiasing);
  painter.translate(kSide / 2.0, kSide / 2.0);
  for (int spoke = 0; spoke < kSpokes; ++spoke) {
    const int age = (m_step - spoke + kSpokes) % kSpokes;
    painter.setPen(QPen(QColor(82, 100, 115, 255 - age * 18), 1.8, Qt::SolidLine, Qt::RoundCap));
    painter.save();
    painter.rotate(360.0 * spoke / kSpokes);
    painter.drawLine(QPointF(0, -4.5), QPointF(0, -8));
    painter.restore();
  }
}

}  // namespace halvard
