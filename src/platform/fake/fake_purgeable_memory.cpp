#include "platform/fake/fake_purgeable_memory.h"

#include <mutex>

namespace halvard {

struct FakePurgeableMemory::Log {
  struct Entry {
    std::string name;
    int buffer;
  };
  std::mutex mutex;
  std::vector<Entry> entries;
  std::vector<ByteCount> sizes;
  int opened = 0;
  int open = 0;
};

/// What a session and its buffers share: a buffer may outlive its session.
class FakePurgeableMemory::Session : public PurgeableSession {
 public:
  struct State {
    std::shared_ptr<Log> log;
    std::function<void(const std::string&)> onOperation;
    int stepsLeft;  // negative: without end. Guarded by log->mutex, like `closed`.
    bool closed = false;
    int buffers = 0;

    bool perform(const char* name, int buffer) {
      {
        const std::lock_guard lock(log->mutex);
        if (stepsLeft == 0 || closed) return false;
        if (stepsLeft > 0) --stepsLeft;
        log->entries.push_back({name, buffer});
      }
      if (onOperation) onOperation(name);
      return true;
    }
  };

  Session(std::shared_ptr<State> state, ReclaimOutcome outcome)
      : m_state(std::move(state)), m_outcome(std::move(outcome)) {}
  ~Session() override;
  ReclaimOutcome outcome() const override { return m_outcome; }
  std::unique_ptr<PurgeableData> makeData(ByteCount size) override;
  bool isAlive() const override;

 private:
  std::shared_ptr<State> m_state;
  const ReclaimOutcome m_outcome;
};

class FakePurgeableMemory::Data : public PurgeableData {
 public:
  Data(std::shared_ptr<Session::State> state, int number) : m_state(std::move(state)), m_number(number) {}
  void beginContentAccess() override { m_state->perform("begin", m_number); }
  void overwriteWithZeros() override { m_state->perform("zero", m_number); }
  void endContentAccess() override { m_state->perform("end", m_number); }
  void discardContentIfPossible() override { m_state->perform("discard", m_number); }

 private:
  std::shared_ptr<Session::State> m_state;
  int m_number;
};

FakePurgeableMemory::Session::~Session() {
  const std::lock_guard lock(m_state->log->mutex);
  m_state->closed = true;
  --m_state->log->open;
}

std::unique_ptr<PurgeableData> FakePurgeableMemory::Session::makeData(ByteCount size) {
  const int number = m_state->buffers++;
  if (m_state->perform("make", number)) {
    const std::lock_guard lock(m_state->log->mutex);
    m_state->log->sizes.push_back(size);
  }
  return std::make_unique<Data>(m_state, number);
}

bool FakePurgeableMemory::Session::isAlive() const {
  const std::lock_guard lock(m_state->log->mutex);
  return m_state->stepsLeft != 0;
}

FakePurgeableMemory::FakePurgeableMemory() : m_log(std::make_shared<Log>()) {}

std::unique_ptr<PurgeableSession> FakePurgeableMemory::openSession() {
  const std::lock_guard lock(m_log->mutex);
  ++m_log->opened;
  ++m_log->open;
  return std::make_unique<Session>(std::make_shared<Session::State>(Session::State{m_log, onOperation, m_steps}),
                                   nextOutcome);
}

void FakePurgeableMemory::dieAfter(int steps) {
  m_steps = steps;
}

std::vector<std::string> FakePurgeableMemory::operations() const {
  const std::lock_guard lock(m_log->mutex);
  std::vector<std::string> names;
  for (const Log::Entry& entry : m_log->entries)
    names.push_back(entry.name);
  return names;
}

std::vector<std::string> FakePurgeableMemory::numberedOperations() const {
  const std::lock_guard lock(m_log->mutex);
  std::vector<std::string> names;
  for (const Log::Entry& entry : m_log->entries)
    names.push_back(entry.name + ' ' + std::to_string(entry.buffer));
  return names;
}

std::vector<ByteCount> FakePurgeableMemory::sizes() const {
  const std::lock_guard lock(m_log->mutex);
  return m_log->sizes;
}

int FakePurgeableMemory::sessionsOpened() const {
  const std::lock_guard lock(m_log->mutex);
  return m_log->opened;
}

int FakePurgeableMemory::sessionsOpen() const {
  const std::lock_guard lock(m_log->mutex);
  return m_log->open;
}

}  // namespace halvard
