#include "core/jobs.h"

#include <algorithm>
#include <vector>

namespace halvard {

struct JobQueue::Registry {
  std::mutex mutex;
  std::vector<std::weak_ptr<Job::State>> running;
};

void Job::cancel() {
  if (!m_state) return;
  m_state->stop.request_stop();
  const std::lock_guard lock(m_state->mutex);
  QObject::disconnect(m_state->ownerGone);
  m_state->owner = nullptr;
}

bool Job::isPending() const {
  if (!m_state) return false;
  const std::lock_guard lock(m_state->mutex);
  return m_state->owner != nullptr;
}

JobQueue::JobQueue(const QString& name, int threads) : m_registry(std::make_shared<Registry>()) {
  m_pool.setObjectName(name);
  m_pool.setMaxThreadCount(std::max(1, threads));
  m_pool.setExpiryTimeout(60000);
}

JobQueue::~JobQueue() {
  m_ending.request_stop();
  {
    const std::lock_guard lock(m_registry->mutex);
    for (const auto& entry : m_registry->running) {
      if (const auto state = entry.lock()) Job(state).cancel();
    }
  }
  m_pool.waitForDone();
}

std::shared_ptr<Job::State> JobQueue::makeState(QObject* owner) {
  auto state = std::make_shared<Job::State>();
  state->owner = owner;
  state->ownerGone = QObject::connect(owner, &QObject::destroyed, [weak = std::weak_ptr(state)] {
    if (const auto alive = weak.lock()) Job(alive).cancel();
  });
  const std::lock_guard lock(m_registry->mutex);
  std::erase_if(m_registry->running, [](const auto& entry) { return entry.expired(); });
  m_registry->running.push_back(state);
  return state;
}

bool JobQueue::finish(Job::State& state) {
  const std::lock_guard lock(state.mutex);
  const bool wanted = state.owner != nullptr;
  QObject::disconnect(state.ownerGone);
  state.owner = nullptr;
  return wanted;
}

}  // namespace halvard
