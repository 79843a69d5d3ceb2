#include "watched_memory.h"

#include <utility>

namespace halvard::bench {

using std::chrono::steady_clock;

class WatchedMemory::Data : public PurgeableData {
 public:
  Data(std::unique_ptr<PurgeableData> data, const PurgeableSession& session, WatchedMemory& watcher)
      : m_data(std::move(data)), m_session(session), m_watcher(watcher) {}

  void beginContentAccess() override {
    const ByteCount before = m_session.outcome().pagedOutBytes;
    const std::size_t frame = m_watcher.m_probe.now();
    const auto start = steady_clock::now();
    m_data->beginContentAccess();
    const auto end = steady_clock::now();
    const ReclaimOutcome outcome = m_session.outcome();
    if (outcome.method != ReclaimMethod::Fill && outcome.pagedOutBytes == before) return;
    Steps& steps = m_watcher.m_steps;
    if (steps.count++ == 0) steps.firstFrame = frame;
    steps.lastFrame = m_watcher.m_probe.now();
    steps.duration += end - start;
  }
  void overwriteWithZeros() override { m_data->overwriteWithZeros(); }
  void endContentAccess() override { m_data->endContentAccess(); }
  void discardContentIfPossible() override { m_data->discardContentIfPossible(); }

 private:
  std::unique_ptr<PurgeableData> m_data;
  const PurgeableSession& m_session;
  WatchedMemory& m_watcher;
};

class WatchedMemory::Session : public PurgeableSession {
 public:
  Session(std::unique_ptr<PurgeableSession> session, WatchedMemory& watcher)
      : m_session(std::move(session)), m_watcher(watcher) {}
  ~Session() override {
    if (!m_session->isAlive()) ++m_watcher.m_steps.lostWorkers;
  }

  std::unique_ptr<PurgeableData> makeData(ByteCount size) override {
    return std::make_unique<Data>(m_session->makeData(size), *m_session, m_watcher);
  }
  bool isAlive() const override { return m_session->isAlive(); }
  ReclaimOutcome outcome() const override { return m_session->outcome(); }

 private:
  std::unique_ptr<PurgeableSession> m_session;
  WatchedMemory& m_watcher;
};

std::unique_ptr<PurgeableSession> WatchedMemory::openSession() {
  return std::make_unique<Session>(m_memory.openSession(), *this);
}

}  // namespace halvard::bench
