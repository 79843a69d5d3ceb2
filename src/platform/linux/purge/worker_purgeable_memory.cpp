#include "platform/linux/purge/worker_purgeable_memory.h"

#include <QtGlobal>
#include <array>
#include <utility>

#include "platform/linux/purge/worker_process.h"

namespace halvard {
namespace {

using namespace std::chrono_literals;
using purge_worker::Operation;

constexpr auto kOneWait = 100ms;
constexpr auto kCatchUpWait = 10ms;
constexpr auto kLongestCatchUp = 300ms;

/// What a session and its buffers share: a buffer may outlive its session.
class Filling {
 public:
  Filling(GuardReadingsSource& readings, Clock& clock, const WorkerPurgeableMemory::Limits& limits,
          std::unique_ptr<WorkerProcess> worker)
      : m_readings(readings), m_clock(clock), m_limits(limits), m_worker(std::move(worker)) {}

  bool isAlive() const { return m_worker && m_worker->isAlive(); }
  bool hasPinned() const { return m_hasPinned; }
  void close() { m_worker.reset(); }
  std::uint32_t nextNumber() { return m_buffers++; }

  void begin(std::uint32_t number, ByteCount size) {
    const bool pinned = mayPin(size) && perform(pinOperation(), number, size);
    m_hasPinned = m_hasPinned || pinned;
    if (!pinned) perform(Operation::MakeVolatile, number, size);
  }
  bool perform(Operation operation, std::uint32_t number, ByteCount size) {
    return m_worker && m_worker->perform(operation, number, size) == 0;
  }

 private:
  /// Asks the guard, and waits as long as it says so and the limits allow.
  bool mayPin(ByteCount size) {
    if (m_clock.monotonicNow() - m_started >= m_limits.fillInAll) return false;
    for (std::chrono::milliseconds waited = 0ms; isAlive(); waited += kOneWait) {
      const std::optional<GuardReadings> now = m_readings.read();
      if (!now) return false;
      const GuardVerdict verdict = judgeStep(*now, m_before, size);
      if (verdict == GuardVerdict::Refuse) return false;
      if (verdict == GuardVerdict::Go && m_before) rest(restAfterStep(*now, *m_before));
      m_before = verdict == GuardVerdict::Go ? onceTheKernelHasCaughtUp(*now) : *now;
      if (verdict == GuardVerdict::Go) return true;
      if (waited >= m_limits.waitForBuffer || m_waited >= m_limits.waitInAll) return false;
      rest(kOneWait);
    }
    return false;
  }

  /// Not for ever: where nothing can be paged out in the background, the guard's other questions decide.
  GuardReadings onceTheKernelHasCaughtUp(GuardReadings now) {
    for (auto waited = 0ms; isKernelBehind(now) && waited < kLongestCatchUp; waited += kCatchUpWait) {
      m_clock.sleepFor(kCatchUpWait);
      now = m_readings.read().value_or(now);
    }
    return now;
  }

  void rest(std::chrono::milliseconds duration) {
    if (duration <= 0ms) return;
    m_clock.sleepFor(duration);
    m_waited += duration;
  }

  /// By the readings that allowed the pin.
  Operation pinOperation() const { return mayUseHugePages(*m_before) ? Operation::PinHuge : Operation::Pin; }

  GuardReadingsSource& m_readings;
  Clock& m_clock;
  WorkerPurgeableMemory::Limits m_limits;
  std::unique_ptr<WorkerProcess> m_worker;
  std::optional<GuardReadings> m_before;
  const std::chrono::steady_clock::time_point m_started = m_clock.monotonicNow();
  std::chrono::milliseconds m_waited{0};
  std::uint32_t m_buffers = 0;
  bool m_hasPinned = false;
};

class WorkerData : public PurgeableData {
 public:
  WorkerData(std::shared_ptr<Filling> filling, ByteCount size)
      : m_filling(std::move(filling)), m_number(m_filling->nextNumber()), m_size(size) {}

  void beginContentAccess() override { m_filling->begin(m_number, m_size); }
  // The worker overwrites a buffer when it pins it; a refused one must stay without pages.
  void overwriteWithZeros() override {}
  void endContentAccess() override { m_filling->perform(Operation::MakeVolatile, m_number, m_size); }
  void discardContentIfPossible() override { m_filling->perform(Operation::Discard, m_number, m_size); }

 private:
  std::shared_ptr<Filling> m_filling;
  std::uint32_t m_number;
  ByteCount m_size;
};

class WorkerSession : public PurgeableSession {
 public:
  explicit WorkerSession(std::shared_ptr<Filling> filling) : m_filling(std::move(filling)) {}
  ~WorkerSession() override { m_filling->close(); }

  std::unique_ptr<PurgeableData> makeData(ByteCount size) override {
    return std::make_unique<WorkerData>(m_filling, size);
  }
  bool isAlive() const override { return m_filling->isAlive(); }
  ReclaimOutcome outcome() const override {
    return {m_filling->hasPinned() ? ReclaimMethod::Fill : ReclaimMethod::None, 0, {}};
  }

 private:
  std::shared_ptr<Filling> m_filling;
};

}  // namespace

std::string defaultWorkerPath() {
  std::array<char, 4096> buffer;
  const ssize_t length = ::readlink("/proc/self/exe", buffer.data(), buffer.size());
  const std::string executable(buffer.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
  return executable.substr(0, executable.rfind('/') + 1) + "halvard-purge-worker";
}

WorkerPurgeableMemory::WorkerPurgeableMemory(GuardReadingsSource& readings, Clock& clock, std::string workerPath)
    : WorkerPurgeableMemory(readings, clock, std::move(workerPath), Limits()) {}

WorkerPurgeableMemory::WorkerPurgeableMemory(GuardReadingsSource& readings, Clock& clock, std::string workerPath,
                                             Limits limits)
    : m_readings(readings), m_clock(clock), m_workerPath(std::move(workerPath)), m_limits(limits) {}

std::unique_ptr<PurgeableSession> WorkerPurgeableMemory::openSession() {
  Result<std::unique_ptr<WorkerProcess>> worker = WorkerProcess::start(m_workerPath, m_limits.answer);
  if (!worker) qWarning("%s", qUtf8Printable(worker.error().message));
  std::unique_ptr<WorkerProcess> process = worker ? std::move(worker).value() : nullptr;
  return std::make_unique<WorkerSession>(std::make_shared<Filling>(m_readings, m_clock, m_limits, std::move(process)));
}

}  // namespace halvard
