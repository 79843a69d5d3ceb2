#pragma once

#include "platform/ports/status_images.h"

namespace halvard {

/// gaugeIcon() with the title's badge, as bytes: the StatusImageSource of the program.
StatusImage statusImage(const QString& imageName, const QString& title, int pixelSize);

}  // namespace halvard
