#include "widgets/status_image.h"

#include <QtEndian>

#include "widgets/gauge_icon.h"

namespace halvard {

StatusImage statusImage(const QString& imageName, const QString& title, int pixelSize) {
  const QImage image = gaugeIcon(imageName, pixelSize, gaugeBadge(title)).convertToFormat(QImage::Format_ARGB32);
  if (image.isNull()) return {};
  StatusImage bytes{pixelSize, QByteArray(image.sizeInBytes(), Qt::Uninitialized)};
  // A row of 32-bit pixels is never padded.
  qToBigEndian<quint32>(image.constBits(), qsizetype(pixelSize) * pixelSize, bytes.argb.data());
  return bytes;
}

}  // namespace halvard
