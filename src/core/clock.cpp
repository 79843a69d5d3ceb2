#include "core/clock.h"

#include <QObject>
#include <QTimer>
#include <condition_variable>
#include <mutex>

namespace halvard {

ScheduledCall::ScheduledCall(Clock& clock) : m_clock(clock) {}

ScheduledCall::~ScheduledCall() = default;

void ScheduledCall::start(std::chrono::milliseconds delay, Clock::Action action) {
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
  return std::chrono::system_clock::now();
}

std::chrono::steady_clock::time_point SystemClock::monotonicNow() const {
  return std::chrono::steady_clock::now();
}

void SystemClock::callAfter(std::chrono::milliseconds delay, QObject* context, Action action) {
  QTimer::singleShot(delay, Qt::CoarseTimer, context, std::move(action));
}

void SystemClock::sleepFor(std::chrono::milliseconds duration, std::stop_token stop) {
  std::mutex mutex;
  std::condition_variable_any never;
  std::unique_lock lock(mutex);
  never.wait_for(lock, std::move(stop), duration, [] { return false; });
}

}  // namespace halvard
