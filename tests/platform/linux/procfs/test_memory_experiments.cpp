// What the counters must do when the memory of the whole machine changes in a known way.
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QTemporaryFile>
#include <QtTest>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <functional>
#include <thread>

#include "platform/linux/procfs/linux_host_statistics.h"
#include "support/process_files.h"
#include "support/zram_swap.h"

using namespace halvard;

namespace {

constexpr std::size_t kSize = std::size_t{64} << 20;
constexpr double kMebibytes = 64;
/// What an experiment may miss its 64 MiB by. The kernel keeps freed pages and pages on their way to a list in batches
/// of its own for each processor (some MiB, which count as wired), and other programs go on living.
constexpr double kTolerance = 12;
/// Every experiment is repeated, and its median counts: a neighbour's burst spoils single rounds only. It is repeated
/// until the rounds agree well enough, or until there is no hope of that.
constexpr std::size_t kFewestRounds = 15;
constexpr std::chrono::seconds kLongestExperiment{10};

/// Readings in MiB, or differences of two.
struct Figures {
  double used = 0;
  double wired = 0;
  double compressor = 0;

  Figures operator-(const Figures& other) const {
    return {used - other.used, wired - other.wired, compressor - other.compressor};
  }
};

/// Memory whose every page is different and compresses well.
class Block {
 public:
  explicit Block(int file = -1) {
    const int flags = file < 0 ? MAP_PRIVATE | MAP_ANONYMOUS : MAP_SHARED;
    m_bytes = static_cast<char*>(::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, flags, file, 0));
    if (m_bytes == MAP_FAILED) qFatal("mmap");
  }
  ~Block() { ::munmap(m_bytes, kSize); }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;

  void touch() {
    for (std::size_t offset = 0; offset < kSize; offset += 4096)
      std::memcpy(m_bytes + offset, &offset, sizeof offset);
  }
  bool advise(int advice) { return ::madvise(m_bytes, kSize, advice) == 0; }
  // Not through libc: an address sanitizer makes mlock do nothing.
  bool lock() { return ::syscall(SYS_mlock, m_bytes, kSize) == 0; }

 private:
  char* m_bytes;
};

Figures read(LinuxHostStatistics& host) {
  VmStatistics64 record;
  std::uint32_t words = 0;
  if (host.hostStatistics64(record, words) != HostStatistics::kSuccess) qFatal("no counters");
  const double perPage = static_cast<double>(*host.pageSize()) / (1 << 20);
  const PageCount app = record.internal_page_count - record.purgeable_count;
  return {static_cast<double>(app + record.wire_count + record.compressor_page_count) * perPage,
          static_cast<double>(record.wire_count) * perPage,
          static_cast<double>(record.compressor_page_count) * perPage};
}

/// The value below which `part` of the rounds are.
double quantile(std::vector<Figures> rounds, double Figures::*member, double part) {
  std::ranges::sort(rounds, {}, member);
  return rounds[static_cast<std::size_t>(static_cast<double>(rounds.size() - 1) * part)].*member;
}

/// The median of what `act` changes, between `prepare` and `restore`; nothing when the machine is too busy to tell.
/// What the rest of it does meanwhile is taken off: each round is followed by doing nothing for as long.
std::optional<Figures> measure(const std::function<void()>& prepare, const std::function<void()>& act,
                               const std::function<void()>& restore) {
  LinuxHostStatistics host;
  std::vector<Figures> rounds;
  const auto uncertainty = [&] {
    // The standard error of a median, twice, from the distance of the quartiles.
    const double quartiles = quantile(rounds, &Figures::used, 0.75) - quantile(rounds, &Figures::used, 0.25);
    return 1.86 * quartiles / std::sqrt(static_cast<double>(rounds.size()));
  };
  const QDeadlineTimer deadline(kLongestExperiment);
  do {
    prepare();
    QElapsedTimer timer;
    const Figures before = read(host);
    timer.start();
    act();
    const std::chrono::nanoseconds duration(timer.nsecsElapsed());
    const Figures change = read(host) - before;
    restore();
    const Figures quiet = read(host);
    std::this_thread::sleep_for(duration);
    rounds.push_back(change - (read(host) - quiet));
  } while (rounds.size() < kFewestRounds || (uncertainty() > kTolerance / 2 && !deadline.hasExpired()));
  if (uncertainty() > kTolerance / 2) return std::nullopt;
  return Figures{quantile(rounds, &Figures::used, 0.5), quantile(rounds, &Figures::wired, 0.5),
                 quantile(rounds, &Figures::compressor, 0.5)};
}

bool isNear(double value, double expected) {
  if (std::abs(value - expected) <= kTolerance) return true;
  qWarning("measured %.1f MiB instead of %.1f", value, expected);
  return false;
}

#define MEASURE(change, ...)                \
  const auto change = measure(__VA_ARGS__); \
  if (!change) QSKIP("the machine is too busy to measure 64 MiB on it")

}  // namespace

class TestMemoryExperiments : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<Block> m_block;
  // A new block each round: pages that are touched again return to their list only when the kernel looks for victims.
  const std::function<void()> m_makeBlock = [this] { m_block = std::make_unique<Block>(); };
  const std::function<void()> m_makeTouchedBlock = [this] {
    m_makeBlock();
    m_block->touch();
  };
  const std::function<void()> m_touch = [this] { m_block->touch(); };
  const std::function<void()> m_giveBack = [this] { m_block.reset(); };

 private Q_SLOTS:
  void touchedAnonymousMemoryIsUsed() {
    MEASURE(change, m_makeBlock, m_touch, m_giveBack);
    QVERIFY(isNear(change->used, kMebibytes));
    QVERIFY(isNear(change->wired, 0));
  }

  void lazilyFreeableMemoryIsNot() {
    MEASURE(
        change, m_makeTouchedBlock, [&] { QVERIFY(m_block->advise(MADV_FREE)); }, m_giveBack);
    QVERIFY(isNear(change->used, -kMebibytes));
    QVERIFY(isNear(change->wired, 0));
  }

  void sharedMemoryIsUsed() {
    const auto makeShared = [this] {
      const int file = ::memfd_create("halvard-test", MFD_CLOEXEC);
      if (::ftruncate(file, kSize) != 0) qFatal("memfd");
      m_block = std::make_unique<Block>(file);
      ::close(file);
    };
    MEASURE(change, makeShared, m_touch, m_giveBack);
    QVERIFY(isNear(change->used, kMebibytes));
  }

  void lockedMemoryIsWired() {
    if (!Block().lock()) QSKIP("locking 64 MiB needs CAP_IPC_LOCK or a larger RLIMIT_MEMLOCK");
    MEASURE(
        change, m_makeTouchedBlock, [&] { m_block->lock(); }, m_giveBack);
    QVERIFY(isNear(change->wired, kMebibytes));
    QVERIFY(isNear(change->used, 0));
  }

  void writtenFilesAreNotUsed() {
    struct statfs fileSystem {};
    constexpr auto kTmpfs = 0x01021994;
    if (::statfs(".", &fileSystem) != 0 || fileSystem.f_type == kTmpfs) QSKIP("the working folder is in memory itself");
    const QByteArray content(static_cast<qsizetype>(kSize), 'x');
    std::unique_ptr<QTemporaryFile> file;
    const auto create = [&] {
      file = std::make_unique<QTemporaryFile>(QStringLiteral("experiment"));
      if (!file->open()) qFatal("no file in the working folder");
    };
    const auto write = [&] {
      QCOMPARE(file->write(content), content.size());
      file->flush();
    };
    MEASURE(change, create, write, [&] { file.reset(); });
    QVERIFY(isNear(change->used, 0));
  }

  void memoryPagedOutToZramIsUsedOnlyByItsPool() {
    test::ZramSwap swap;
    if (const QString reason = swap.start(std::uint64_t{256} << 20); !reason.isEmpty()) QSKIP(qPrintable(reason));
    double pagedOut = 0;
    int rounds = 0;
    const auto countAndGiveBack = [&] {
      // The kernel passes over pages that another processor is about to put on a list.
      pagedOut += static_cast<double>(test::processBytes(::getpid(), "VmSwap:")) / (1 << 20);
      ++rounds;
      m_block.reset();
    };
    MEASURE(
        change, m_makeTouchedBlock, [&] { m_block->advise(MADV_PAGEOUT); }, countAndGiveBack);
    QVERIFY(pagedOut / rounds > kMebibytes / 2);
    QVERIFY(change->compressor > 0.25 && change->compressor < kMebibytes / 4);
    QVERIFY(isNear(change->used, change->compressor - pagedOut / rounds));
  }
};

QTEST_GUILESS_MAIN(TestMemoryExperiments)
#include "test_memory_experiments.moc"
