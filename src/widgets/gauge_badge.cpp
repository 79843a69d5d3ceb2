#include "widgets/gauge_badge.h"

#include <QFontMetricsF>
#include <QPainter>
#include <QPainterPath>
#include <QRegularExpression>
#include <algorithm>
#include <cmath>

#include "widgets/gauge_icon.h"
#include "widgets/gauge_shape.h"

namespace halvard {

namespace {

QFont badgeFont(int pixelSize) {
  QFont font(QStringLiteral("Inter"));
  font.setStyleHint(QFont::SansSerif);
  font.setWeight(QFont::Bold);
  font.setPixelSize(pixelSize);
  font.setHintingPreference(QFont::PreferFullHinting);
  return font;
}

/// The outline of a text and how to fit it into an area: narrowed a little at first, then made smaller.
struct FittedText {
  FittedText(const QSizeF& area, const QString& text) {
    constexpr int kOutlineSize = 256;  // large, so that the outline carries no hinting of its own
    constexpr double kNarrowest = 0.8;
    const QFont font = badgeFont(kOutlineSize);
    path.addText(0, 0, font, text);
    ink = path.boundingRect();
    const double capHeight = QFontMetricsF(font).capHeight();
    height = std::min(area.height(), std::round(area.width() / (ink.width() * kNarrowest) * capHeight));
    down = height / capHeight;
    across = std::min(down, area.width() / ink.width());
  }

  QPainterPath path;
  QRectF ink;
  double height;  // of a capital, in whole pixels
  double across;
  double down;
};

void drawText(QPainter& painter, const QRectF& area, const QString& text) {
  constexpr double kLeastReadable = 5;
  FittedText fitted(area.size(), text);
  if (fitted.height < kLeastReadable && text.back().isLetter()) fitted = FittedText(area.size(), text.chopped(1));
  const QPointF origin(area.left() + (area.width() - fitted.ink.width() * fitted.across) / 2,
                       area.bottom() - std::floor((area.height() - fitted.height) / 2));
  painter.save();
  painter.translate(origin);
  painter.scale(fitted.across, fitted.down);
  painter.translate(-fitted.ink.left(), 0);
  painter.fillPath(fitted.path, Qt::white);
  painter.restore();
}

void drawTile(QPainter& painter, int pixelSize, double line) {
  const QRectF tile(0, 0, pixelSize, pixelSize);
  const double radius = pixelSize * 0.2;
  painter.setBrush(QColor(0xA9, 0xB9, 0xC9));
  painter.drawRoundedRect(tile, radius, radius);
  QLinearGradient slate(tile.topLeft(), tile.bottomLeft());
  slate.setColorAt(0, QColor(0x42, 0x54, 0x69));
  slate.setColorAt(1, QColor(0x2A, 0x38, 0x48));
  painter.setBrush(slate);
  painter.drawRoundedRect(tile.adjusted(line, line, -line, -line), radius - line, radius - line);
}

void drawBar(QPainter& painter, const QRectF& track, int percent) {
  QPainterPath trackPath;
  trackPath.addRoundedRect(track, track.height() / 2, track.height() / 2);
  painter.fillPath(trackPath, QColor(0x12, 0x1A, 0x23));
  QPainterPath level;
  level.addRect(QRectF(track.topLeft(), QSizeF(track.width() * percent / 100, track.height())));
  painter.fillPath(trackPath.intersected(level), gaugeColors(percent).top);
}

}  // namespace

void drawBadge(QPainter& painter, int pixelSize, int percent, const QString& text) {
  const auto share = [pixelSize](double part, double least) { return std::max(least, std::round(pixelSize / part)); };
  const double line = share(36, 1);
  drawTile(painter, pixelSize, line);

  const double inset = line + share(16, 1);
  const double barHeight = share(8, 2);
  const QRectF track(inset, pixelSize - inset - barHeight, pixelSize - 2 * inset, barHeight);
  drawBar(painter, track, percent);

  const double side = line + share(24, 1);
  const double top = line + share(10, 1);
  drawText(painter, QRectF(side, top, pixelSize - 2 * side, track.top() - share(16, 1) - top), text);
}

QString gaugeBadge(const QString& title) {
  static const QRegularExpression pattern(QStringLiteral(R"(^\s*(\d+(\.\d+)?)\s*([%KMGTb]?))"));
  const QRegularExpressionMatch match = pattern.match(title);
  if (!match.hasMatch()) return title.trimmed().left(3);
  const double value = match.captured(1).toDouble();
  const bool hasRoomForDecimal = match.hasCaptured(2) && value < 9.95;
  const QString number = QString::number(value, 'f', hasRoomForDecimal ? 1 : 0);
  const QString unit = match.captured(3);
  return unit == QLatin1String("%") || unit == QLatin1String("b") ? number : number + unit;
}

}  // namespace halvard
