#include "menubar/status_item_text.h"

#include <QCoreApplication>
#include <cmath>

#include "core/size_format.h"
#include "memory/memory_snapshot.h"

namespace halvard::status_item_text {
namespace {

QString tr(const char* text) {
  return QCoreApplication::translate("StatusItem", text);
}

QString sizeText(ByteCount bytes) {
  return size_format::stringFromSize(static_cast<std::int64_t>(bytes));
}

constexpr Color kWhite{255, 255, 255, 255};
constexpr Color kSlate{70, 86, 103, 255};

}  // namespace

std::int64_t titleFigure(const MemorySnapshot& snapshot, std::int64_t visionIndex) {
  switch (visionIndex) {
    case 1:
      return snapshot.usedFraction() >= 0.995 ? 100 : std::lrint(snapshot.usedFraction() * 100);
    case 2:
      return static_cast<std::int64_t>(snapshot.calculateUsedSize());
    case 3:
      return static_cast<std::int64_t>(snapshot.calculateFreeSize());
    default:
      return 0;
  }
}

QString title(std::int64_t visionIndex, std::int64_t figure) {
  switch (visionIndex) {
    case 1:
      return figure == 100 ? QStringLiteral("100%") : QStringLiteral(" %1% ").arg(figure, 2);
    case 2:
    case 3:
      return size_format::stringFromSize(figure);
    default:
      return {};
  }
}

AttributedTitle attributedTitle(const QString& text, bool onDarkBar) {
  return {text, onDarkBar ? kWhite : kSlate};
}

AttributedTitle attributedAlternateTitle(const QString& text) {
  return {text, kWhite};
}

QString toolTip(const QString& displayName, ByteCount usedSize, ByteCount freeSize) {
  return tr("%1\nUsed Memory: %2\nFree Memory: %3").arg(displayName, sizeText(usedSize), sizeText(freeSize));
}

QString information(const MemorySnapshot& snapshot) {
  const QString percent = QString::asprintf("%2.2f%c", snapshot.usedFraction() * 100, '%');
  return tr("%1 of %2 used").arg(percent, sizeText(snapshot.pageSize() * snapshot.calculateTotalPages()));
}

}  // namespace halvard::status_item_text
