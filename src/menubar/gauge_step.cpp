#include "menubar/gauge_step.h"

#include <algorithm>
#include <cmath>

namespace halvard {

int gaugeStep(float usedFraction) {
  const double fraction = static_cast<double>(usedFraction);
  int step = 5;
  if (fraction > 0.74 && fraction < 0.76) {
    step = 1;
  } else if (fraction >= 0.9) {
    step = 1;
  } else if (fraction >= 0.5) {
    step = 2;
  }
  const double percent = std::round(fraction * 100 / step) * step;
  if (!(percent > 5)) return 5;
  return static_cast<int>(std::min(percent, 100.0));
}

QString gaugeIconName(int step) {
  return QStringLiteral("icon_memory_%1").arg(step);
}

}  // namespace halvard
