#include "core/clock.h"

#include <QBasicTimer>
#include <QObject>
#include <QTimer>
#include <QTimerEvent>
#include <algorithm>
#include <condition_variable>
#include <limits>
#include <mutex>
#include <utility>

namespace halvard {

using namespace std::chrono;

namespace {

constexpr milliseconds kShortestJoined = seconds(1);
constexpr int kJoinedShare = 20;

/// Goes with its context, or once it has called. A timer without the signal and the slot of QTimer's single shots,
/// which serves again where the call asks for the next of the same context, as whatever repeats itself does.
class DelayedCall : public QObject {
 public:
  static void make(milliseconds delay, QObject* context, Clock::Action action) {
    const bool isNext = t_running && t_running->call && t_running->call->isFreeFor(context);
    DelayedCall* call = isNext ? t_running->call : new DelayedCall(context);
    call->start(delay, std::move(action));
  }

  ~DelayedCall() override {
    for (Running* running = t_running; running; running = running->outer) {
      if (running->call == this) running->call = nullptr;
    }
  }

 protected:
  void timerEvent(QTimerEvent*) override {
    m_timer.stop();
    const Clock::Action action = std::move(m_action);
    Running running{this, t_running};
    t_running = &running;
    action();  // may end the context, and this with it, or wait in an event loop of its own
    t_running = running.outer;
    if (running.call && !running.call->m_timer.isActive()) delete running.call;
  }

 private:
  /// A call that has not returned yet.
  struct Running {
    DelayedCall* call;  // null once it has gone
    Running* outer;
  };
  static thread_local Running* t_running;

  explicit DelayedCall(QObject* context) : QObject(context) {}

  bool isFreeFor(const QObject* context) const { return parent() == context && !m_timer.isActive(); }

  void start(milliseconds delay, Clock::Action action) {
    m_action = std::move(action);
    const bool isJoined = delay >= kShortestJoined;  // and then not to be moved again
    const milliseconds wait = isJoined ? joinedDelay(delay, steady_clock::now()) : delay;
    m_timer.start(static_cast<int>(wait.count()), isJoined ? Qt::PreciseTimer : Qt::CoarseTimer, this);
  }

  Clock::Action m_action;
  QBasicTimer m_timer;
};

thread_local DelayedCall::Running* DelayedCall::t_running = nullptr;

}  // namespace

milliseconds joinedDelay(milliseconds delay, steady_clock::time_point now) {
  const milliseconds end = round<milliseconds>(now.time_since_epoch()) + delay;
  const milliseconds most = delay / kJoinedShare;
  return delay + std::clamp<milliseconds>(round<seconds>(end) - end, -most, most);
}

ScheduledCall::ScheduledCall(Clock& clock) : m_clock(clock) {}

ScheduledCall::~ScheduledCall() = default;

void ScheduledCall::start(milliseconds delay, Clock::Action action) {
  // What still waits goes with its context.
  if (m_isPending || !m_context) m_context = std::make_unique<QObject>();
  m_isPending = true;
  m_clock.callAfter(delay, m_context.get(), [this, action = std::move(action)] {
    m_isPending = false;
    action();
  });
}

void ScheduledCall::cancel() {
  if (std::exchange(m_isPending, false)) m_context.reset();
}

bool ScheduledCall::isPending() const {
  return m_isPending;
}

Clock::Instant SystemClock::now() const {
  return system_clock::now();
}

steady_clock::time_point SystemClock::monotonicNow() const {
  return steady_clock::now();
}

void SystemClock::callAfter(milliseconds delay, QObject* context, Action action) {
  const bool isForTimer =
      delay > milliseconds(0) && delay < milliseconds(std::numeric_limits<int>::max()) - kShortestJoined;
  if (isForTimer) {
    DelayedCall::make(delay, context, std::move(action));
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
