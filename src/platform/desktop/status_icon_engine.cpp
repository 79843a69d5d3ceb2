#include "platform/desktop/status_icon_engine.h"

#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QtEndian>
#include <algorithm>
#include <utility>

namespace halvard {

StatusIconEngine::StatusIconEngine(StatusImageSource images, QString imageName, QString title)
    : m_images(std::move(images)), m_imageName(std::move(imageName)), m_title(std::move(title)) {}

QIconEngine* StatusIconEngine::clone() const {
  return new StatusIconEngine(m_images, m_imageName, m_title);
}

QPixmap StatusIconEngine::pixmap(const QSize& size, QIcon::Mode, QIcon::State) {
  const StatusImage bytes = m_images(m_imageName, m_title, std::min(size.width(), size.height()));
  if (bytes.size == 0) return {};
  QImage image(bytes.size, bytes.size, QImage::Format_ARGB32);
  qFromBigEndian<quint32>(bytes.argb.constData(), qsizetype(bytes.size) * bytes.size, image.bits());
  return QPixmap::fromImage(image);
}

void StatusIconEngine::paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) {
  const qreal scale = painter->device()->devicePixelRatioF();
  const int side = std::min(rect.width(), rect.height());
  QPixmap picture = pixmap((QSizeF(side, side) * scale).toSize(), mode, state);
  picture.setDevicePixelRatio(scale);
  painter->drawPixmap(rect.left() + (rect.width() - side) / 2, rect.top() + (rect.height() - side) / 2, picture);
}

}  // namespace halvard
