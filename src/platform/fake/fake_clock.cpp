#include "platform/fake/fake_clock.h"

#include <QObject>
#include <algorithm>
#include <mutex>

namespace halvard {

using namespace std::chrono;

struct FakeClock::Sleeps {
  std::mutex mutex;
  std::vector<milliseconds> durations;
};

FakeClock::FakeClock()
    : m_start(sys_days(year(2024) / January / 15) + hours(12)), m_sleeps(std::make_shared<Sleeps>()) {}

Clock::Instant FakeClock::now() const {
  return m_start + m_elapsed;
}

steady_clock::time_point FakeClock::monotonicNow() const {
  return steady_clock::time_point(m_elapsed);
}

void FakeClock::callAfter(milliseconds delay, QObject* context, Action action) {
  m_calls.push_back({m_elapsed + std::max(delay, milliseconds(0)), m_nextNumber++, context, std::move(action)});
}

void FakeClock::sleepFor(milliseconds duration, std::stop_token) {
  {
    const std::lock_guard lock(m_sleeps->mutex);
    m_sleeps->durations.push_back(duration);
  }
  if (onSleep) onSleep(duration);
}

void FakeClock::advance(milliseconds duration) {
  const milliseconds target = m_elapsed + duration;
  for (;;) {
    std::erase_if(m_calls, [](const Call& call) { return call.context.isNull(); });
    const auto next = std::min_element(m_calls.begin(), m_calls.end(), [](const Call& left, const Call& right) {
      return std::tie(left.due, left.number) < std::tie(right.due, right.number);
    });
    if (next == m_calls.end() || next->due > target) break;
    const Call call = std::move(*next);
    m_calls.erase(next);
    m_elapsed = std::max(m_elapsed, call.due);
    call.action();
  }
  m_elapsed = target;
}

void FakeClock::setNow(Instant instant) {
  m_start = instant - m_elapsed;
}

std::size_t FakeClock::pendingCalls() const {
  return static_cast<std::size_t>(
      std::count_if(m_calls.begin(), m_calls.end(), [](const Call& call) { return !call.context.isNull(); }));
}

std::vector<milliseconds> FakeClock::sleeps() const {
  const std::lock_guard lock(m_sleeps->mutex);
  return m_sleeps->durations;
}

}  // namespace halvard
