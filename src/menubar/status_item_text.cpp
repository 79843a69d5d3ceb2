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

QString title(const MemorySnapshot& snapshot, std::int64_t visionIndex) {
  switch (visionIndex) {
    case 1: {
      const double fraction = snapshot.usedFraction();
      if (fraction >= 0.995) return QStringLiteral("100%");
      return QStringLiteral(" %1% ").arg(static_cast<int>(std::nearbyint(fraction * 100)), 2);
    }
    case 2:
      return sizeText(snapshot.calculateUsedSize());
    case 3:
      return sizeText(snapshot.calculateFreeSize());
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

QString toolTip(const QString& displayName, const QString& usedSize, const QString& freeSize) {
  return tr("%1\nUsed Memory: %2\nFree Memory: %3").arg(displayName, usedSize, freeSize);
}

QString information(const MemorySnapshot& snapshot) {
  const QString percent = QString::asprintf("%2.2f%c", snapshot.usedFraction() * 100, '%');
  return tr("%1 of %2 used").arg(percent, sizeText(snapshot.pageSize() * snapshot.calculateTotalPages()));
}

}  // namespace halvard::status_item_text
