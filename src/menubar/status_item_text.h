#pragma once

#include <QString>

#include "platform/ports/status_bar_item.h"

namespace halvard {

class MemorySnapshot;

/// The texts of the status item and its menu line, from one reading.
namespace status_item_text {

/// The text beside the icon. `visionIndex`: 1 the used percentage, 2 the used size, 3 the free size, anything else
/// none.
QString title(const MemorySnapshot& snapshot, std::int64_t visionIndex);

/// White on a dark bar, slate on a light one.
AttributedTitle attributedTitle(const QString& text, bool onDarkBar);
/// The same text while the item is highlighted: always white.
AttributedTitle attributedAlternateTitle(const QString& text);

/// Three lines: the program's name, used and free memory.
QString toolTip(const QString& displayName, const QString& usedSize, const QString& freeSize);

/// The information line of the menu: "57.43% of 15.6 GB used".
QString information(const MemorySnapshot& snapshot);

}  // namespace status_item_text
}  // namespace halvard
