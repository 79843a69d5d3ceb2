#pragma once

#include <QColor>

/// The measures and colours that the disk-usage section adds to the common look. Logical pixels.
namespace halvard::disk_usage_style {

inline constexpr int kWidth = 250;
inline constexpr int kMargin = 20;
inline constexpr int kDetailedHeight = 250;
inline constexpr int kCompactHeight = 120;
inline constexpr int kCompactHeightWithButton = 100;

/// Junk, duplicates, large and old files, applications: the colour of each figure's mark.
inline const QColor kMarks[]{QColor(94, 190, 220), QColor(126, 139, 214), QColor(236, 160, 74), QColor(106, 190, 130)};

}  // namespace halvard::disk_usage_style
