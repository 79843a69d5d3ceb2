#pragma once

#include <QImage>
#include <QString>

namespace halvard {

/// The status picture of that name as a square of `pixelSize` device pixels (8 or more), ARGB32 premultiplied:
/// "icon_memory_5" to "icon_memory_100" (percent in use), "icon_start", "icon_clear". Drawn on the pixel grid of
/// just this size, so ask for the size that is shown. Null for any other name.
///
/// With a `badge` (see gaugeBadge()) the memory pictures show that text above a thin gauge, for hosts that show no
/// text beside the icon; the other pictures ignore it.
QImage gaugeIcon(const QString& imageName, int pixelSize, const QString& badge = {});

/// What of a title fits a 22 px square: " 62% " is "62", "7.42 GB" is "7.4G", "100 GB" is "100G". Empty for an
/// empty title.
QString gaugeBadge(const QString& title);

}  // namespace halvard
