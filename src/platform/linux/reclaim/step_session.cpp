#include "platform/linux/reclaim/step_session.h"

#include <utility>

namespace halvard {

class StepSession::Data : public PurgeableData {
 public:
  Data(std::shared_ptr<std::unique_ptr<ReclaimSteps>> steps, ByteCount size)
      : m_steps(std::move(steps)), m_size(size) {}

  void beginContentAccess() override {
    if (*m_steps) (*m_steps)->step(m_size);
  }
  void overwriteWithZeros() override {}
  void endContentAccess() override {}
  void discardContentIfPossible() override {}

 private:
  std::shared_ptr<std::unique_ptr<ReclaimSteps>> m_steps;
  ByteCount m_size;
};

StepSession::StepSession(std::unique_ptr<ReclaimSteps> steps)
    : m_steps(std::make_shared<std::unique_ptr<ReclaimSteps>>(std::move(steps))) {}

StepSession::~StepSession() {
  m_steps->reset();
}

std::unique_ptr<PurgeableData> StepSession::makeData(ByteCount size) {
  return std::make_unique<Data>(m_steps, size);
}

bool StepSession::isAlive() const {
  return (*m_steps)->isAlive();
}

ReclaimOutcome StepSession::outcome() const {
  return (*m_steps)->outcome();
}

}  // namespace halvard
