#include "widgets/application_icon.h"

namespace halvard {

QIcon applicationIcon() {
  QIcon icon;
  for (const int size : {16, 22, 24, 32, 48, 64, 128, 256, 512}) {
    icon.addFile(QStringLiteral(":/halvard/icons/hicolor/%1x%1/apps/com.tessmar.Halvard.png").arg(size));
  }
  return icon;
}

}  // namespace halvard
