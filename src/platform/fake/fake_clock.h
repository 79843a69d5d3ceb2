#pragma once

#include <QPointer>
#include <vector>

#include "core/clock.h"

namespace halvard {

/// A clock that stands still until told to advance. sleepFor() returns at once and is remembered.
class FakeClock : public Clock {
 public:
  /// Starts at 2024-01-15 12:00:00 UTC.
  FakeClock();

  Instant now() const override;
  std::chrono::steady_clock::time_point monotonicNow() const override;
  void callAfter(std::chrono::milliseconds delay, QObject* context, Action action) override;
  /// Thread safe, the only operation here that is.
  void sleepFor(std::chrono::milliseconds duration, std::stop_token stop = {}) override;

  /// Moves time forward and runs what falls due, in order of its time, each at its own time; a call that a call
  /// schedules within the span runs too. advance(0) runs what is due now.
  void advance(std::chrono::milliseconds duration);
  void setNow(Instant instant);

  /// Delayed calls whose context is alive.
  std::size_t pendingCalls() const;

  /// What sleepFor() was asked for so far.
  std::vector<std::chrono::milliseconds> sleeps() const;
  /// Called by sleepFor(), on the sleeping thread.
  std::function<void(std::chrono::milliseconds)> onSleep;

 private:
  struct Call {
    std::chrono::milliseconds due;
    std::uint64_t number;
    QPointer<QObject> context;
    Action action;
  };
  Instant m_start;
  std::chrono::milliseconds m_elapsed{0};
  std::uint64_t m_nextNumber = 0;
  std::vector<Call> m_calls;
  struct Sleeps;
  std::shared_ptr<Sleeps> m_sleeps;
};

}  // namespace halvard
