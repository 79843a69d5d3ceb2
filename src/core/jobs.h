#pragma once

#include <QMetaObject>
#include <QObject>
#include <QThreadPool>
#include <memory>
#include <mutex>
#include <optional>
#include <stop_token>
#include <type_traits>
#include <utility>

namespace halvard {

/// One request given to a JobQueue. Letting go of it neither cancels the work nor drops the result.
class Job {
 public:
  Job() = default;
  /// Asks the work to stop and drops its result.
  void cancel();
  /// True until the result was delivered or dropped.
  bool isPending() const;

 private:
  friend class JobQueue;
  struct State {
    std::stop_source stop;
    std::mutex mutex;
    QObject* owner = nullptr;  // guarded by mutex; null once the result is unwanted or delivered
    QMetaObject::Connection ownerGone;
  };
  explicit Job(std::shared_ptr<State> state) : m_state(std::move(state)) {}
  std::shared_ptr<State> m_state;
};

/// Work off the main thread: the result arrives on the owner's thread, and is dropped when the owner is gone or the
/// job was cancelled. With one thread the queue is serial, in order of submission.
class JobQueue {
 public:
  /// `threads` is at least 1. `name` names the threads.
  explicit JobQueue(const QString& name, int threads = 1);
  /// Asks running work to stop and waits for it.
  ~JobQueue();
  JobQueue(const JobQueue&) = delete;
  JobQueue& operator=(const JobQueue&) = delete;

  /// Runs `work(std::stop_token)` on a thread of the queue, then `done(result)` on the thread of `owner`.
  /// Call it on the thread of `owner`.
  template <class Work, class Done>
  Job run(QObject* owner, Work work, Done done) {
    auto state = makeState(owner);
    m_pool.start([state, work = std::move(work), done = std::move(done)]() mutable {
      const std::stop_token token = state->stop.get_token();
      if (token.stop_requested()) return;
      using R = std::invoke_result_t<Work&, std::stop_token>;
      if constexpr (std::is_void_v<R>) {
        work(token);
        deliver(state, std::move(done));
      } else {
        deliver(state, [done = std::move(done), result = std::make_shared<R>(work(token))]() mutable {
          done(std::move(*result));
        });
      }
    });
    return Job(state);
  }

  /// Runs `work(std::stop_token)` on a thread of the queue and tells nobody, so that no thread needs to wake up for it.
  /// Runs in any case; when the queue goes, with a token that says so. Any thread.
  template <class Work>
  void runSilently(Work work) {
    m_pool.start([token = m_ending.get_token(), work = std::move(work)]() mutable { work(token); });
  }

 private:
  std::shared_ptr<Job::State> makeState(QObject* owner);

  template <class Callback>
  static void deliver(const std::shared_ptr<Job::State>& state, Callback callback) {
    const std::lock_guard lock(state->mutex);
    if (!state->owner) return;
    // The owner cannot be destroyed while the lock is held: its destroyed signal waits for it.
    QMetaObject::invokeMethod(
        state->owner,
        [state, callback = std::move(callback)]() mutable {
          if (finish(*state)) callback();
        },
        Qt::QueuedConnection);
  }

  /// True when the result is still wanted; afterwards it is not.
  static bool finish(Job::State& state);

  std::stop_source m_ending;
  QThreadPool m_pool;
  struct Registry;
  std::shared_ptr<Registry> m_registry;
};

/// The newest of a row of requests: starting one cancels the one before.
class LatestJob {
 public:
  void replace(Job job) {
    m_job.cancel();
    m_job = std::move(job);
  }
  void cancel() { m_job.cancel(); }
  bool isPending() const { return m_job.isPending(); }

 private:
  Job m_job;
};

}  // namespace halvard
