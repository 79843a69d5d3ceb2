#include "files_searcher/shared_stack.h"

#include <thread>

namespace halvard {
namespace {
// Waking a thread takes longer than reading a folder, so one that runs out of work looks around for a moment first.
constexpr std::chrono::microseconds kLookAround{60};
}  // namespace

// More threads than processors are there for a disk that keeps some of them waiting: looking around would take the
// processor from the others.
SharedStack::SharedStack(int threads)
    : m_threads(threads),
      m_patience(threads <= static_cast<int>(std::thread::hardware_concurrency()) ? kLookAround
                                                                                  : std::chrono::microseconds(0)) {}

void SharedStack::offer(std::unique_ptr<StackItem> item) {
  if (!item) return;
  {
    const std::lock_guard lock(m_mutex);
    m_items.pushItem(std::move(item));
    m_offered.store(static_cast<int>(m_items.nDepth()));
  }
  m_changed.notify_one();
}

std::unique_ptr<StackItem> SharedStack::tryTake() {
  if (m_offered.load() == 0) return nullptr;
  // Whoever holds it will be gone before a wait for it had begun.
  const std::unique_lock lock(m_mutex, std::try_to_lock);
  if (!lock) return nullptr;
  std::unique_ptr<StackItem> item = m_items.popItem();
  if (item) m_waiting.fetch_sub(1);
  m_offered.store(static_cast<int>(m_items.nDepth()));
  return item;
}

std::unique_ptr<StackItem> SharedStack::take() {
  m_waiting.fetch_add(1);
  const auto until = std::chrono::steady_clock::now() + m_patience;
  do {
    if (auto item = tryTake()) return item;
    if (m_waiting.load() == m_threads) break;
  } while (!m_closed && std::chrono::steady_clock::now() < until);

  std::unique_lock lock(m_mutex);
  for (;;) {
    if (m_closed) return nullptr;
    if (auto item = m_items.popItem()) {
      m_waiting.fetch_sub(1);
      m_offered.store(static_cast<int>(m_items.nDepth()));
      return item;
    }
    if (m_waiting.load() == m_threads) {
      m_closed = true;
      m_changed.notify_all();
      return nullptr;
    }
    m_changed.wait(lock);
  }
}

void SharedStack::close() {
  {
    const std::lock_guard lock(m_mutex);
    m_closed = true;
  }
  m_changed.notify_all();
}

}  // namespace halvard
