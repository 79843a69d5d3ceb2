#pragma once

#include <QString>
#include <cstdint>

#include "core/units.h"
#include "platform/ports/status_bar_item.h"

namespace halvard {

class MemorySnapshot;

/// The texts of the status item and its menu line, from one reading.
namespace status_item_text {

/// What the text beside the icon tells. `visionIndex`: 1 the used percentage, 2 the used bytes, 3 the free bytes,
/// anything else nothing.
std::int64_t titleFigure(const MemorySnapshot& snapshot, std::int64_t visionIndex);
/// The text of such a figure.
QString title(std::int64_t visionIndex, std::int64_t figure);

/// White on a dark bar, slate on a light one.
AttributedTitle attributedTitle(const QString& text, bool onDarkBar);
/// The same text while the item is highlighted: always white.
AttributedTitle attributedAlternateTitle(const QString& text);

/// Three lines: the program's name, used and free memory.
QString toolTip(const QString& displayName, ByteCount usedSize, ByteCount freeSize);

/// The information line of the menu: "57.43% of 15.6 GB used".
QString information(const MemorySnapshot& snapshot);

}  // namespace status_item_text
}  // namespace halvard
