// Draws every status picture, in the sizes trays ask for, on a light and on a dark bar: halvard-icon-sheet OUTPUT.png
#include <QGuiApplication>
#include <QPainter>
#include <QTextStream>
#include <vector>

#include "widgets/gauge_icon.h"

using namespace halvard;

namespace {

constexpr int kMargin = 8;

struct Picture {
  QString name;
  QString badge;
};

std::vector<int> reachableSteps() {
  std::vector<int> steps;
  for (int percent = 5; percent < 50; percent += 5)
    steps.push_back(percent);
  for (int percent = 50; percent < 90; percent += 2)
    steps.push_back(percent);
  steps.insert(std::find(steps.begin(), steps.end(), 76), 75);
  for (int percent = 90; percent <= 100; ++percent)
    steps.push_back(percent);
  return steps;
}

std::vector<Picture> pictures() {
  std::vector<Picture> all = {{QStringLiteral("icon_start"), {}}, {QStringLiteral("icon_clear"), {}}};
  for (const int percent : reachableSteps())
    all.push_back({QStringLiteral("icon_memory_%1").arg(percent), {}});
  const std::pair<int, const char*> titles[] = {{5, " 5% "},     {38, " 38% "},  {62, " 62% "},  {74, " 74% "},
                                                {88, "88%"},     {97, " 97% "},  {100, "100%"},  {30, "7.42 GB"},
                                                {82, "10.3 GB"}, {60, "128 GB"}, {95, "980 MB"}, {12, "0.98 GB"}};
  for (const auto& [percent, title] : titles) {
    all.push_back({QStringLiteral("icon_memory_%1").arg(percent), gaugeBadge(QString::fromLatin1(title))});
  }
  return all;
}

/// One row of all pictures at `size`, magnified; returns its height.
int drawRow(QPainter& painter, int top, int size, int zoom, const QColor& bar, int columns) {
  const std::vector<Picture> all = pictures();
  const int cell = size * zoom + kMargin;
  const int lines = (static_cast<int>(all.size()) + columns - 1) / columns;
  painter.fillRect(0, top, columns * cell + kMargin, lines * cell + kMargin, bar);
  for (std::size_t number = 0; number < all.size(); ++number) {
    const int column = static_cast<int>(number) % columns;
    const int line = static_cast<int>(number) / columns;
    const QImage image = gaugeIcon(all[number].name, size, all[number].badge);
    painter.drawImage(QRect(kMargin + column * cell, top + kMargin + line * cell, size * zoom, size * zoom), image);
  }
  return lines * cell + kMargin;
}

}  // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  const QGuiApplication application(argc, argv);
  const QStringList arguments = QGuiApplication::arguments();
  if (arguments.size() < 2) {
    QTextStream(stderr) << "usage: halvard-icon-sheet OUTPUT.png [SIZE ZOOM]\n";
    return 2;
  }
  QImage sheet(1560, 4000, QImage::Format_RGB32);
  sheet.fill(Qt::gray);
  QPainter painter(&sheet);
  int bottom = 0;
  const bool single = arguments.size() > 3;
  const std::vector<int> sizes = single ? std::vector{arguments[2].toInt()} : std::vector{16, 22, 24, 32, 48, 64, 96};
  const int zoom = single ? arguments[3].toInt() : 1;
  for (const int size : sizes) {
    const int columns = (1560 - kMargin) / (size * zoom + kMargin);
    for (const QColor& bar : {QColor(0xF2, 0xF2, 0xF2), QColor(0x24, 0x27, 0x2B)}) {
      bottom += drawRow(painter, bottom, size, zoom, bar, columns);
    }
  }
  painter.end();
  return sheet.copy(0, 0, sheet.width(), bottom).save(arguments[1]) ? 0 : 1;
}
