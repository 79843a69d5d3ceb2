#pragma once

#include <QIcon>

namespace halvard {

/// The program's icon in the sizes 16 to 512, built in, so that windows have it before anything is installed.
QIcon applicationIcon();

}  // namespace halvard
