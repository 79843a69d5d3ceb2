#include "preferences/cleaning_frequency.h"

#include <QCoreApplication>
#include <QStringList>
#include <algorithm>
#include <cmath>

namespace halvard::cleaning_frequency {

using namespace std::chrono_literals;

const std::array<std::chrono::minutes, 15>& available() {
  static constexpr std::array<std::chrono::minutes, 15> intervals{
      1min, 2min, 5min, 10min, 15min, 20min, 30min, 40min, 50min, 60min, 1h + 30min, 2h, 3h, 4h, 8h};
  return intervals;
}

int indexOf(double storedSeconds) {
  const auto& intervals = available();
  const auto close = std::find_if(intervals.begin(), intervals.end(), [storedSeconds](std::chrono::seconds interval) {
    return std::abs(static_cast<double>(interval.count()) - storedSeconds) < 10;
  });
  return static_cast<int>(close == intervals.end() ? intervals.size() / 2 : std::size_t(close - intervals.begin()));
}

QString briefText(std::chrono::minutes interval) {
  const auto hours = interval.count() / 60;
  const auto minutes = interval.count() % 60;
  QStringList parts;
  if (hours != 0) parts << QCoreApplication::translate("halvard::cleaning_frequency", "%1 hr").arg(hours);
  if (minutes != 0 || hours == 0) {
    parts << QCoreApplication::translate("halvard::cleaning_frequency", "%1 min").arg(minutes);
  }
  return parts.join(QLatin1Char(' '));
}

}  // namespace halvard::cleaning_frequency
