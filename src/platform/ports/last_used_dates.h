#pragma once

#include <QByteArray>
#include <optional>

#include "core/clock.h"

namespace halvard {

/// When files were last used. Any thread.
class LastUsedDates {
 public:
  virtual ~LastUsedDates() = default;

  /// The best the system knows: a recorded use, else the last reading, else the last change. Nothing when there is no
  /// such file.
  virtual std::optional<Clock::Instant> lastUsedDate(const QByteArray& path) const = 0;
};

}  // namespace halvard
