#pragma once

#include <memory>

#include "platform/ports/purgeable_memory.h"

namespace halvard {

/// What a strategy that needs no buffers does instead of pinning one.
class ReclaimSteps {
 public:
  virtual ~ReclaimSteps() = default;
  /// Reclaims about `bytes`. Costs nothing once there is nothing left to do.
  virtual void step(ByteCount bytes) = 0;
  virtual bool isAlive() const { return true; }
  virtual ReclaimOutcome outcome() const = 0;
};

/// A session whose buffers hold nothing: to begin to access one is one step of its size.
class StepSession : public PurgeableSession {
 public:
  explicit StepSession(std::unique_ptr<ReclaimSteps> steps);
  ~StepSession() override;

  std::unique_ptr<PurgeableData> makeData(ByteCount size) override;
  bool isAlive() const override;
  ReclaimOutcome outcome() const override;

 private:
  class Data;
  /// Buffers may outlive the session; the steps do not.
  std::shared_ptr<std::unique_ptr<ReclaimSteps>> m_steps;
};

}  // namespace halvard
