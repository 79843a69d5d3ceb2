#include "full_machine.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QFile>
#include <QStringList>
#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <optional>
#include <thread>
#include <vector>

#include "platform/linux/procfs/file_descriptor.h"
#include "platform/linux/procfs/kept_file.h"
#include "platform/linux/procfs/memory_info.h"
#include "platform/linux/reclaim/linux_purgeable_memory.h"
#include "purge_turns.h"

namespace halvard::bench {
namespace {

using namespace std::chrono_literals;

constexpr ByteCount kMiB = ByteCount{1} << 20;

std::optional<MemoryInfo> memoryInfo() {
  std::array<char, 8192> buffer;
  return parseMemoryInfo(readFile("/proc/meminfo", buffer));
}

/// Holds what the machine has above a tenth, and follows the others within hundredths of a second: what they take, it
/// gives back. The kernel's first victim, should that be too slow.
class Ballast {
 public:
  explicit Ballast(ByteCount leftFree) : m_process(::fork()) {
    if (m_process == 0) hold(leftFree);
  }
  ~Ballast() {
    ::kill(m_process, SIGKILL);
    ::waitpid(m_process, nullptr, 0);
  }
  Ballast(const Ballast&) = delete;
  Ballast& operator=(const Ballast&) = delete;

  bool isAlive() const { return ::waitpid(m_process, nullptr, WNOHANG) == 0; }

 private:
  static constexpr ByteCount kPiece = 16 * kMiB;

  [[noreturn]] static void hold(ByteCount leftFree) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    QFile score(QStringLiteral("/proc/self/oom_score_adj"));
    if (!score.open(QIODevice::WriteOnly | QIODevice::Unbuffered) || score.write("1000") != 4) ::_exit(1);
    std::vector<void*> pieces;
    for (;; std::this_thread::sleep_for(20ms)) {
      const auto info = memoryInfo();
      if (!info) ::_exit(1);
      for (ByteCount free = info->available; free < leftFree && !pieces.empty(); free += kPiece) {
        ::munmap(pieces.back(), kPiece);
        pieces.pop_back();
      }
      // At most some pieces at a time, so that it is the others who decide.
      const ByteCount above = info->available > leftFree + kPiece ? info->available - leftFree - kPiece : 0;
      for (ByteCount piece = std::min<ByteCount>(above / kPiece, 4); piece > 0; --piece) {
        void* const memory =
            ::mmap(nullptr, kPiece, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_POPULATE, -1, 0);
        if (memory != MAP_FAILED) pieces.push_back(memory);
      }
    }
  }

  pid_t m_process;
};

/// Whom the kernel kills from now on because the machine, and not only a control group, is out of memory.
class KillLog {
 public:
  KillLog() : m_log(::open("/dev/kmsg", O_RDONLY | O_NONBLOCK | O_CLOEXEC)) {
    if (m_log) ::lseek(m_log.get(), 0, SEEK_END);
  }
  bool isOpen() const { return static_cast<bool>(m_log); }

  /// Command names, as far as the log still has them.
  QStringList killed() {
    QStringList names;
    std::array<char, 8192> record;
    for (ssize_t length = 0; (length = ::read(m_log.get(), record.data(), record.size())) >= 0 || errno == EPIPE;) {
      const QByteArray text(record.data(), std::max<ssize_t>(length, 0));
      const qsizetype at = text.indexOf("Out of memory: Killed process ");
      if (at >= 0) names << QString::fromLocal8Bit(text.mid(at).split('(').value(1).split(')').value(0));
    }
    return names;
  }

 private:
  FileDescriptor m_log;
};

bool waitUntilFull(const Ballast& ballast, ByteCount leftFree) {
  for (int tenths = 0; tenths < 1200 && ballast.isAlive(); ++tenths) {
    const auto info = memoryInfo();
    if (info && info->available < leftFree + 64 * kMiB) return true;
    std::this_thread::sleep_for(100ms);
  }
  return false;
}

struct Result {
  WatchedMemory::Steps steps;
  QString explanation;
  QStringList killed;
  ByteCount leastAvailable = ~ByteCount{0};
  double longestPurge = 0;
};

Result purgeInARow(int purges, const FrameProbe& probe) {
  SystemClock clock;
  LinuxPurgeableMemory memory(clock, [] { return QStringList(); });
  WatchedMemory watched(memory, probe);
  Result result;
  KillLog kills;
  for (int purge = 0; purge < purges; ++purge) {
    const auto start = clock.monotonicNow();
    result.explanation = purgeOnce(watched, clock).explanation;
    result.longestPurge =
        std::max(result.longestPurge, std::chrono::duration<double>(clock.monotonicNow() - start).count());
    if (const auto info = memoryInfo()) result.leastAvailable = std::min(result.leastAvailable, info->available);
  }
  result.steps = watched.steps();
  result.killed = kills.killed();
  return result;
}

}  // namespace

int purgeOnAFullMachine(int purges) {
  const auto info = memoryInfo();
  if (!KillLog().isOpen()) {
    std::puts("bench purge: needs root, to read whom the kernel kills");
    return 77;
  }
  if (!info || info->swapTotal != 0) {
    std::puts("bench purge: a machine without swap is wanted: swapoff -a");
    return 77;
  }
  const ByteCount leftFree = info->total / 10;
  const FrameProbe probe;
  const Ballast ballast(leftFree);
  if (!waitUntilFull(ballast, leftFree)) {
    std::puts("bench purge: nine tenths of the memory could not be filled");
    return 77;
  }
  const std::size_t first = probe.now();
  const Result result = purgeInARow(purges, probe);
  const std::vector<double> frames = probe.between(first, probe.now());
  const double worst = *std::max_element(frames.begin(), frames.end());
  const auto workers = result.killed.count(QStringLiteral("halvard-purge-w"));
  const bool isWell = result.killed.size() == workers && ballast.isAlive() && worst < 1000;
  std::printf("%d purges, %.0f MiB of %.0f available at the least, the longest %.1f s\n", purges,
              static_cast<double>(result.leastAvailable / kMiB), static_cast<double>(info->total / kMiB),
              result.longestPurge);
  std::printf("killed for memory: %s; workers lost: %d; worst of %zu frames: %.1f ms\n",
              result.killed.isEmpty() ? "nobody" : qPrintable(result.killed.join(QStringLiteral(", "))),
              result.steps.lostWorkers, frames.size(), worst);
  std::printf("the purge says: %s\n%s\n", qPrintable(result.explanation), isWell ? "met" : "MISSED");
  return isWell ? 0 : 1;
}

}  // namespace halvard::bench
