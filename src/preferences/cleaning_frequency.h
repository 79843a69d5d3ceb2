#pragma once

#include <QString>
#include <array>
#include <chrono>

/// The intervals of automatic cleaning that can be chosen.
namespace halvard::cleaning_frequency {

/// From one minute to eight hours, ascending.
const std::array<std::chrono::minutes, 15>& available();

/// The entry within 10 seconds of the stored interval; the middle one (40 minutes) when there is none.
int indexOf(double storedSeconds);

/// In the user's language, units abbreviated: "40 min", "2 hr", "1 hr 30 min".
QString briefText(std::chrono::minutes interval);

}  // namespace halvard::cleaning_frequency
