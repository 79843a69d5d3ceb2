#pragma once

#include <QString>
#include <chrono>
#include <optional>

#include "core/clock.h"
#include "platform/linux/purge/purge_guard.h"

namespace halvard {

/// Asks the guard before each step of a page-out, and waits as long as it says so. One session.
class ReclaimPace {
 public:
  /// Longest waits for one step and for a session, and longest time that a session works.
  static constexpr std::chrono::milliseconds kWaitForStep{1000};
  static constexpr std::chrono::milliseconds kWaitInAll{30'000};
  static constexpr std::chrono::milliseconds kWorkInAll{90'000};

  /// Both outlive this object.
  ReclaimPace(GuardReadingsSource& readings, Clock& clock);

  /// False from the first refusal on.
  bool mayStep();
  /// Why it refused, as the end of a sentence ("swap is four fifths full"); empty before.
  const QString& refusal() const { return m_refusal; }

 private:
  bool refuse(const QString& reason);

  GuardReadingsSource& m_readings;
  Clock& m_clock;
  const std::chrono::steady_clock::time_point m_started;
  std::optional<GuardReadings> m_before;
  std::chrono::milliseconds m_waited{0};
  QString m_refusal;
};

/// Why nothing may be paged out at all, or nothing when it may.
std::optional<QString> obstacleToPagingOut(const std::optional<GuardReadings>& readings);

}  // namespace halvard
