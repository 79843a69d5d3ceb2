#include "desktop_probe.h"

#include <QGuiApplication>
#include <QImage>
#include <QPixmap>
#include <QProcess>
#include <QScreen>

namespace halvard::test {

std::optional<QPoint> findColor(const QColor& color, int least) {
  const QImage image = QGuiApplication::primaryScreen()->grabWindow(0).toImage().convertToFormat(QImage::Format_RGB32);
  qint64 sumX = 0;
  qint64 sumY = 0;
  int count = 0;
  for (int y = 0; y < image.height(); ++y) {
    const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(y));
    for (int x = 0; x < image.width(); ++x) {
      if (line[x] != color.rgb()) continue;
      sumX += x;
      sumY += y;
      ++count;
    }
  }
  if (count < least) return std::nullopt;
  return QPoint(static_cast<int>(sumX / count), static_cast<int>(sumY / count));
}

std::optional<QString> runTool(const QString& program, const QStringList& arguments) {
  constexpr int kMostMilliseconds = 20'000;
  QProcess process;
  process.start(program, arguments);
  if (!process.waitForFinished(kMostMilliseconds) || process.exitCode() != 0) return std::nullopt;
  return QString::fromLocal8Bit(process.readAllStandardOutput()).trimmed();
}

std::optional<QRect> frameOfWindow(const QString& className) {
  const auto answer = runTool(QStringLiteral("xdotool"),
                              {QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--class"),
                               className, QStringLiteral("getwindowgeometry"), QStringLiteral("--shell")});
  if (!answer) return std::nullopt;
  const auto number = [lines = answer->split(QLatin1Char('\n'))](const char* name) {
    const QString start = QString::fromLatin1(name) + QLatin1Char('=');
    return lines.filter(start).value(0).section(QLatin1Char('='), 1).toInt();
  };
  return QRect(number("X"), number("Y"), number("WIDTH"), number("HEIGHT"));
}

void clickAt(QPoint pixel, int button) {
  runTool(QStringLiteral("xdotool"), {QStringLiteral("mousemove"), QString::number(pixel.x()),
                                      QString::number(pixel.y()), QStringLiteral("click"), QString::number(button)});
}

}  // namespace halvard::test
