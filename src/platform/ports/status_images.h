#pragma once

#include <QByteArray>
#include <QString>
#include <functional>

namespace halvard {

/// A square picture, without a GUI library.
struct StatusImage {
  /// Width and height in pixels; 0 for no picture.
  int size = 0;
  /// size * size pixels of four bytes, row by row: alpha, red, green, blue; the colours are not premultiplied.
  QByteArray argb;

  bool operator==(const StatusImage&) const = default;
};

/// Draws a picture of the status item by its name in just `pixelSize` pixels. `title` is drawn into it, shortened;
/// empty for none. An unknown name gives no picture. Main thread.
using StatusImageSource = std::function<StatusImage(const QString& imageName, const QString& title, int pixelSize)>;

}  // namespace halvard
