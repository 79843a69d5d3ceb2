#pragma once

#include <chrono>
#include <memory>

#include "frame_probe.h"
#include "platform/ports/purgeable_memory.h"

namespace halvard::bench {

/// Looks over a purge's shoulder: how long its steps took, and which frames fell into them.
class WatchedMemory : public PurgeableMemory {
 public:
  struct Steps {
    /// Those steps that reclaimed something; all of them where the method cannot tell (the fill).
    int count = 0;
    std::chrono::duration<double> duration{0};
    /// Frames from the first of them to the last.
    std::size_t firstFrame = 0;
    std::size_t lastFrame = 0;
    /// Sessions whose worker was gone at their end.
    int lostWorkers = 0;
  };

  /// Both outlive this object.
  WatchedMemory(PurgeableMemory& memory, const FrameProbe& probe) : m_memory(memory), m_probe(probe) {}

  std::unique_ptr<PurgeableSession> openSession() override;
  /// Not while a purge runs.
  const Steps& steps() const { return m_steps; }

 private:
  class Session;
  class Data;
  PurgeableMemory& m_memory;
  const FrameProbe& m_probe;
  Steps m_steps;
};

}  // namespace halvard::bench
