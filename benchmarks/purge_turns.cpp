#include "purge_turns.h"

#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

#include <QEventLoop>
#include <QFile>
#include <algorithm>
#include <cstdio>
#include <functional>
#include <utility>

#include "memory/purge_manager.h"
#include "platform/linux/procfs/file_descriptor.h"
#include "platform/linux/procfs/linux_host_statistics.h"
#include "platform/linux/purge/worker_purgeable_memory.h"
#include "platform/linux/reclaim/fill_strategy.h"
#include "platform/linux/reclaim/page_out_strategy.h"
#include "platform/linux/reclaim/strategic_purgeable_memory.h"

namespace halvard::bench {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;
using test::IdleProcess;

double secondsSince(steady_clock::time_point start) {
  return std::chrono::duration<double>(steady_clock::now() - start).count();
}

double secondsOf(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
}

/// Of this program and of the children that it has waited for.
double processorSeconds() {
  double sum = 0;
  for (const auto who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage usage{};
    ::getrusage(who, &usage);
    sum += secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime);
  }
  return sum;
}

/// As the panel counts it.
double usedBytes() {
  LinuxHostStatistics host;
  VmStatistics64 record;
  std::uint32_t words = HostStatistics::kWords64;
  if (host.hostStatistics64(record, words) != HostStatistics::kSuccess) return 0;
  const PageCount pages =
      record.internal_page_count - record.purgeable_count + record.wire_count + record.compressor_page_count;
  return static_cast<double>(pages * host.pageSize().value_or(4096));
}

/// What changes for the idle program and the machine while `act` runs.
Turn during(const IdleProcess& idle, const std::function<void()>& act) {
  Turn turn;
  const auto resident = static_cast<double>(idle.residentBytes());
  const double used = usedBytes();
  const double processor = processorSeconds();
  const auto start = steady_clock::now();
  act();
  turn.seconds = secondsSince(start);
  turn.processorSeconds = processorSeconds() - processor;
  turn.pagedOutBytes = resident - static_cast<double>(idle.residentBytes());
  turn.gainedBytes = used - usedBytes();
  return turn;
}

/// Private writable mappings of no file.
std::vector<iovec> anonymousMappings(pid_t process) {
  std::vector<iovec> mappings;
  QFile file(QStringLiteral("/proc/%1/maps").arg(process));
  if (!file.open(QIODevice::ReadOnly)) return mappings;
  for (const QByteArray& line : file.readAll().split('\n')) {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
    char rights[5] = {};
    unsigned long inode = 1;
    const int found = std::sscanf(line.constData(), "%lx-%lx %4s %*x %*x:%*x %lu", &begin, &end, rights, &inode);
    if (found != 4 || inode != 0 || rights[1] != 'w' || rights[3] != 'p' || line.contains("[stack]")) continue;
    mappings.push_back({reinterpret_cast<void*>(begin), end - begin});
  }
  return mappings;
}

/// In pieces, so that no call is longer than the probe's frames.
void adviseAll(int process, const std::vector<iovec>& mappings) {
  constexpr std::size_t kPiece = std::size_t{10} << 20;
  for (const iovec& mapping : mappings) {
    auto* const base = static_cast<char*>(mapping.iov_base);
    for (std::size_t offset = 0; offset < mapping.iov_len; offset += kPiece) {
      const iovec piece{base + offset, std::min(kPiece, mapping.iov_len - offset)};
      (void)::syscall(SYS_process_madvise, process, &piece, 1UL, MADV_PAGEOUT, 0U);
    }
  }
}

/// The real reading, of which only one process is left.
class OnlyVictim : public VictimSource {
 public:
  OnlyVictim(Clock& clock, pid_t pid) : m_everybody(clock, [] { return QStringList(); }), m_pid(pid) {}

  Reading read() override {
    Reading reading = m_everybody.read();
    std::erase_if(reading.candidates, [this](const ReclaimCandidate& candidate) { return candidate.pid != m_pid; });
    // It is a child of this program, which would spare it for that.
    reading.policy.self = 0;
    return reading;
  }
  std::optional<std::int32_t> focusedProcess() override { return m_everybody.focusedProcess(); }

 private:
  LinuxVictimSource m_everybody;
  pid_t m_pid;
};

Turn watchedPurge(PurgeableMemory& memory, const IdleProcess& idle, const FrameProbe& probe, Clock& clock) {
  WatchedMemory watched(memory, probe);
  ReclaimOutcome outcome;
  Turn turn = during(idle, [&] { outcome = purgeOnce(watched, clock); });
  turn.stepSeconds = watched.steps().duration.count();
  turn.frames = probe.between(watched.steps().firstFrame, watched.steps().lastFrame);
  turn.explanation = outcome.explanation;
  return turn;
}

}  // namespace

ReclaimOutcome purgeOnce(PurgeableMemory& memory, Clock& clock) {
  LinuxHostStatistics host;
  PurgeManager manager(host, memory, clock);
  QEventLoop loop;
  manager.purgeWithCompletion([&loop] { loop.quit(); });
  loop.exec();
  return manager.lastOutcome();
}

std::vector<double> quietFrames(const FrameProbe& probe, Clock& clock) {
  const std::size_t first = probe.now();
  clock.sleepFor(4s);
  return probe.between(first, probe.now());
}

Turn rawPageOut(const IdleProcess& idle, const FrameProbe& probe) {
  const FileDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, idle.pid(), 0U)));
  const std::vector<iovec> mappings = anonymousMappings(idle.pid());
  const std::size_t first = probe.now();
  Turn turn = during(idle, [&] { adviseAll(process.get(), mappings); });
  turn.stepSeconds = turn.seconds;
  turn.frames = probe.between(first, probe.now());
  return turn;
}

Turn targetedPurge(const IdleProcess& idle, const FrameProbe& probe, Clock& clock) {
  OnlyVictim victim(clock, idle.pid());
  ProcfsGuardReadings readings(clock);
  PageOutStrategy pageOut(victim, readings, clock);
  StrategicPurgeableMemory memory({pageOut});
  return watchedPurge(memory, idle, probe, clock);
}

Turn fillPurge(const IdleProcess& idle, const FrameProbe& probe, Clock& clock) {
  ProcfsGuardReadings readings(clock);
  WorkerPurgeableMemory memory(readings, clock);
  return watchedPurge(memory, idle, probe, clock);
}

}  // namespace halvard::bench
