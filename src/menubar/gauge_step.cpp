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
  // In single precision, as the fraction is: 0.77 is then 77 and no hair less.
  const float percent = std::round(usedFraction * 100.0F / static_cast<float>(step)) * static_cast<float>(step);
  if (!(percent > 5)) return 5;
  return static_cast<int>(std::min(percent, 100.0F));
}

QString gaugeIconName(int step) {
  return QStringLiteral("icon_memory_%1").arg(step);
}

}  // namespace halvard
