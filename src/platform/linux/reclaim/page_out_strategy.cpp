#include "platform/linux/reclaim/page_out_strategy.h"

#include <algorithm>
#include <utility>

#include "platform/linux/purge/page_out_protocol.h"
#include "platform/linux/purge/worker_process.h"
#include "platform/linux/purge/worker_purgeable_memory.h"
#include "platform/linux/reclaim/reclaim_forecast.h"
#include "platform/linux/reclaim/reclaim_pace.h"
#include "platform/linux/reclaim/step_session.h"
#include "platform/linux/reclaim/victim_queue.h"

namespace halvard {
namespace {

constexpr std::chrono::seconds kAnswerLimit{30};

const QString kWhatItDoes = QStringLiteral("idle programs are paged out page for page; nobody else has to wait");
const QString kNobody = QStringLiteral("no idle program holds memory worth paging out");

class PageOutSteps : public ReclaimSteps {
 public:
  PageOutSteps(std::unique_ptr<WorkerProcess> worker, VictimQueue victims, GuardReadingsSource& readings, Clock& clock)
      : m_worker(std::move(worker)),
        m_victims(std::move(victims)),
        m_hasWork(m_victims.current() != nullptr),
        m_pace(readings, clock) {}

  bool isAlive() const override { return m_worker->isAlive(); }

  void step(ByteCount bytes) override {
    ByteCount gone = 0;
    while (gone < bytes) {
      const Victim* const victim = m_victims.current();
      if (!victim || !m_pace.mayStep()) break;
      gone += advise(*victim, std::min<ByteCount>(bytes - gone, purge_worker::kMaxPageOut));
    }
    m_gone += gone;
  }

  ReclaimOutcome outcome() const override {
    const ReclaimMethod method = m_gone > 0 ? ReclaimMethod::PageOut : ReclaimMethod::None;
    ReclaimOutcome outcome{method, m_gone, m_hasWork ? kWhatItDoes : kNobody};
    if (!m_pace.refusal().isEmpty()) outcome.explanation = QStringLiteral("stopped early: ") + m_pace.refusal();
    return outcome;
  }

 private:
  ByteCount advise(const Victim& victim, ByteCount bytes) {
    purge_worker::PageOutCommand command;
    command.pid = victim.pid;
    command.startTime = victim.startTime;
    command.bytes = bytes;
    purge_worker::PageOutAnswer answer;
    const bool isAnswered = m_worker->exchange(command, answer) == 0;
    if (!isAnswered) m_victims.clear();
    if (isAnswered && (answer.error != 0 || answer.more == 0)) m_victims.next();
    return isAnswered ? answer.bytes : 0;
  }

  std::unique_ptr<WorkerProcess> m_worker;
  VictimQueue m_victims;
  const bool m_hasWork;
  ReclaimPace m_pace;
  ByteCount m_gone = 0;
};

}  // namespace

std::string defaultPageOutWorkerPath() {
  const std::string worker = defaultWorkerPath();
  return worker.substr(0, worker.rfind('/') + 1) + "halvard-pageout-worker";
}

PageOutStrategy::PageOutStrategy(VictimSource& victims, GuardReadingsSource& readings, Clock& clock,
                                 std::string workerPath)
    : m_victims(victims), m_readings(readings), m_clock(clock), m_workerPath(std::move(workerPath)) {}

Result<std::unique_ptr<WorkerProcess>> PageOutStrategy::startWorker() {
  if (const auto obstacle = obstacleToPagingOut(m_readings.read())) return Error{*obstacle};
  auto worker = WorkerProcess::start(m_workerPath, kAnswerLimit);
  if (worker) return worker;
  return Error{QStringLiteral("the page-out worker cannot be used (it needs the capability cap_sys_nice): ") +
               worker.error().message};
}

Result<std::unique_ptr<PurgeableSession>> PageOutStrategy::open() {
  auto worker = startWorker();
  if (!worker) return worker.error();
  VictimSource::Reading reading = m_victims.read();
  std::vector<Victim> chosen = selectVictims(reading.candidates, reading.policy);
  VictimQueue victims(m_victims, m_clock, std::move(reading), std::move(chosen), selectVictims);
  auto steps = std::make_unique<PageOutSteps>(std::move(worker).value(), std::move(victims), m_readings, m_clock);
  return std::unique_ptr<PurgeableSession>(std::make_unique<StepSession>(std::move(steps)));
}

Result<ReclaimForecast> PageOutStrategy::forecast() {
  const auto worker = startWorker();
  const auto readings = m_readings.read();
  if (!worker) return worker.error();
  const VictimSource::Reading reading = m_victims.read();
  ReclaimForecast forecast = forecastOf(ReclaimMethod::PageOut, selectVictims(reading.candidates, reading.policy),
                                        readings ? roomInSwap(*readings) : 0, keptShare());
  forecast.explanation = forecast.sources.empty() ? kNobody : kWhatItDoes;
  return forecast;
}

}  // namespace halvard
