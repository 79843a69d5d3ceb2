#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

#include "files_searcher/stack_collection.h"

namespace halvard {

/// Where the threads of one walk hand folders to each other. A thread without work asks here and waits; those that
/// have work see that somebody waits and give some away.
class SharedStack {
 public:
  explicit SharedStack(int threads);

  /// True when a thread waits for which nothing has been offered yet. Only a hint.
  bool isWanted() const {
    return m_waiting.load(std::memory_order_relaxed) > m_offered.load(std::memory_order_relaxed);
  }

  /// Null is ignored.
  void offer(std::unique_ptr<StackItem> item);

  /// Waits for an item. Null when every thread waits, so that no more can come, or after close().
  std::unique_ptr<StackItem> take();

  /// Ends all waiting.
  void close();

 private:
  std::unique_ptr<StackItem> tryTake();

  const int m_threads;
  const std::chrono::microseconds m_patience;  // before a thread without work goes to sleep
  std::atomic<int> m_waiting = 0;
  std::atomic<int> m_offered = 0;
  std::atomic<bool> m_closed = false;
  std::mutex m_mutex;
  std::condition_variable m_changed;
  StackCollection m_items;  // guarded by m_mutex
};

}  // namespace halvard
