#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/ports/purgeable_memory.h"

namespace halvard {

/// Purgeable buffers that hold no memory: what is done to them is written into a log. Thread safe, except for the
/// functions that script it and `onOperation`, which are used before openSession(). Sessions may outlive it.
class FakePurgeableMemory : public PurgeableMemory {
 public:
  FakePurgeableMemory();

  std::unique_ptr<PurgeableSession> openSession() override;
  ReclaimForecast forecast() override { return nextForecast; }

  /// What sessions opened from now on, and the forecasts to come, tell.
  ReclaimOutcome nextOutcome;
  ReclaimForecast nextForecast;

  /// Sessions opened from now on are dead once they have done `steps` operations; 0: never alive.
  void dieAfter(int steps);
  /// Called after each operation was logged, with its name, on the thread that does it and without a lock held.
  std::function<void(const std::string&)> onOperation;

  /// Every operation of every session in order: "make", "begin", "zero", "end", "discard". What is asked of a dead
  /// session is not there.
  std::vector<std::string> operations() const;
  /// The same with the number of the buffer in its session, from 0: "make 0", "begin 0".
  std::vector<std::string> numberedOperations() const;
  /// Bytes of each buffer made, in order.
  std::vector<ByteCount> sizes() const;
  /// Sessions opened so far, and those of them that still exist.
  int sessionsOpened() const;
  int sessionsOpen() const;

 private:
  struct Log;
  class Session;
  class Data;
  std::shared_ptr<Log> m_log;
  int m_steps = -1;
};

}  // namespace halvard
