#include "core/clock.h"

#include <QBasicTimer>
#include <QObject>
#include <QTimer>
#include <QTimerEvent>
#include <algorithm>
#include <condition_variable>
#include <limits>
#include <mutex>

namespace halvard {

using namespace std::chrono;

namespace {

constexpr milliseconds kShortestJoined = seconds(1);
constexpr int kJoinedShare = 20;

/// Goes with its context, or once it has called. A timer without the signal and the slot of QTimer's single shots.
class DelayedCall : public QObject {
 public:
  DelayedCall(milliseconds delay, QObject* context, Clock::Action action)
      : QObject(context), m_action(std::move(action)) {
    const bool isJoined = delay >= kShortestJoined;  // and then not to be moved again
    const milliseconds wait = isJoined ? joinedDelay(delay, steady_clock::now()) : delay;
    m_timer.start(static_cast<int>(wait.count()), isJoined ? Qt::PreciseTimer : Qt::CoarseTimer, this);
  }

 protected:
  void timerEvent(QTimerEvent*) override {
    const Clock::Action action = std::move(m_action);
    delete this;  // first, because the action may end the context
    action();
  }

 private:
  Clock::Action m_action;
  QBasicTimer m_timer;
};

}  // namespace

milliseconds joinedDelay(milliseconds delay, steady_clock::time_point now) {
  const milliseconds end = round<milliseconds>(now.time_since_epoch()) + delay;
  const milliseconds most = delay / kJoinedShare;
  return delay + std::clamp<milliseconds>(round<seconds>(end) - end, -most, most);
}

ScheduledCall::ScheduledCall(Clock& clock) : m_clock(clock) {}

ScheduledCall::~ScheduledCall() = default;

void ScheduledCall::start(milliseconds delay, Clock::Action action) {
  m_context = std::make_unique<QObject>();
  m_clock.callAfter(delay, m_context.get(), [this, action = std::move(action)] {
    // The context is the sender of this very call: it goes later, and the call is no longer pending from here on.
    m_context.release()->deleteLater();
    action();
  });
}

void ScheduledCall::cancel() {
  m_context.reset();
}

bool ScheduledCall::isPending() const {
  return m_context != nullptr;
}

Clock::Instant SystemClock::now() const {
  return system_clock::now();
}

steady_clock::time_point SystemClock::monotonicNow() const {
  return steady_clock::now();
}

void SystemClock::callAfter(milliseconds delay, QObject* context, Action action) {
  if (delay.count() > 0 && delay.count() <= std::numeric_limits<int>::max()) {
    new DelayedCall(delay, context, std::move(action));
  } else {
    QTimer::singleShot(delay, Qt::CoarseTimer, context, std::move(action));
  }
}

void SystemClock::sleepFor(milliseconds duration, std::stop_token stop) {
  std::mutex mutex;
  std::condition_variable_any never;
  std::unique_lock lock(mutex);
  never.wait_for(lock, std::move(stop), duration, [] { return false; });
}

}  // namespace halvard
