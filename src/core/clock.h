#pragma once

#include <QPointer>
#include <chrono>
#include <functional>
#include <memory>
#include <stop_token>

class QObject;

namespace halvard {

/// Where all time comes from, so that a test can own it.
class Clock {
 public:
  using Instant = std::chrono::system_clock::time_point;
  using Action = std::function<void()>;

  virtual ~Clock() = default;

  /// The calendar time (UTC). It may jump when the user sets the machine's clock.
  virtual Instant now() const = 0;

  /// A time that only grows; for measuring durations.
  virtual std::chrono::steady_clock::time_point monotonicNow() const = 0;

  /// Runs `action` once, on the thread and event loop of `context`, `delay` from now (0: on the next turn of the loop).
  /// Dropped when `context` is destroyed before. Call it on the thread of `context`.
  virtual void callAfter(std::chrono::milliseconds delay, QObject* context, Action action) = 0;

  /// Blocks the calling thread, at most until `stop` is requested; never call it on the main thread.
  virtual void sleepFor(std::chrono::milliseconds duration, std::stop_token stop = {}) = 0;
};

/// One delayed call that can be cancelled; destroying it cancels it too.
class ScheduledCall {
 public:
  /// `clock` must outlive this object.
  explicit ScheduledCall(Clock& clock);
  ~ScheduledCall();

  /// Replaces a pending call.
  void start(std::chrono::milliseconds delay, Clock::Action action);
  void cancel();
  /// True from start() until the call runs or is cancelled; false while the action itself runs.
  bool isPending() const;

 private:
  Clock& m_clock;
  std::unique_ptr<QObject> m_context;
  bool m_isPending = false;
};

/// `delay` so that it ends on a whole second of the monotonic clock, or a twentieth of it nearer to one. What waits
/// again and again comes to end together with all else, and the processor wakes once for everything.
std::chrono::milliseconds joinedDelay(std::chrono::milliseconds delay, std::chrono::steady_clock::time_point now);

/// The machine's real clock. Delayed calls come up to 5 % early or late: those of a second or more as joinedDelay()
/// says, shorter ones by coarse timers.
class SystemClock : public Clock {
 public:
  Instant now() const override;
  std::chrono::steady_clock::time_point monotonicNow() const override;
  void callAfter(std::chrono::milliseconds delay, QObject* context, Action action) override;
  void sleepFor(std::chrono::milliseconds duration, std::stop_token stop = {}) override;
};

}  // namespace halvard
