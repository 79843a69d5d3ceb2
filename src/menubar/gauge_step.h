#pragma once

#include <QString>

namespace halvard {

/// The picture for a used fraction: a step of 5 to 100 percent. Finer where it matters: steps of 5 below one half,
/// of 2 up to 0.9, of 1 from there on and in a narrow band around 0.75.
int gaugeStep(float usedFraction);

/// "icon_memory_" and the step.
QString gaugeIconName(int step);

}  // namespace halvard
