#pragma once

#include <QIconEngine>
#include <QString>

#include "platform/ports/status_images.h"

namespace halvard {

/// An icon that is drawn anew for every size, so that it is never scaled.
class StatusIconEngine : public QIconEngine {
 public:
  StatusIconEngine(StatusImageSource images, QString imageName, QString title);

  QIconEngine* clone() const override;
  void paint(QPainter* painter, const QRect& rect, QIcon::Mode mode, QIcon::State state) override;
  QPixmap pixmap(const QSize& size, QIcon::Mode mode, QIcon::State state) override;

 private:
  StatusImageSource m_images;
  QString m_imageName;
  QString m_title;
};

}  // namespace halvard
