#include <fcntl.h>
#include <sys/mman.h>
#include <sys/swap.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <QDeadlineTimer>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryFile>
#include <QtTest>
#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstring>
#include <functional>
#include <thread>

#include "platform/linux/procfs/linux_host_statistics.h"
#include "platform/linux/procfs/swap_devices.h"
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
constexpr double kAgreement = kTolerance / 2;
constexpr const char* kTooBusy = "the machine is too busy to measure 64 MiB on it";

/// Differences between two readings, in MiB.
struct Change {
  double used = 0;
  double wired = 0;
  double compressor = 0;
  /// How far the median of `used` may be off.
  double uncertainty = 0;

  bool isNoise() const { return uncertainty > kAgreement; }
};

/// Anonymous memory whose every page is different and compresses well.
class Block {
 public:
  explicit Block(int descriptor = -1) {
    const int flags = descriptor < 0 ? MAP_PRIVATE | MAP_ANONYMOUS : MAP_SHARED;
    void* const address = ::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, flags, descriptor, 0);
    m_bytes = address == MAP_FAILED ? nullptr : static_cast<char*>(address);
  }
  ~Block() {
    if (m_bytes) ::munmap(m_bytes, kSize);
  }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;

  bool isValid() const { return m_bytes; }
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

class Meter {
 public:
  /// Medians over all rounds; `prepare` runs before the first reading of a round, `act` between the two, `restore`
  /// behind them. What the rest of the machine does meanwhile is taken off: each round is followed by doing nothing for
  /// as long.
  Change measure(const std::function<void()>& prepare, const std::function<void()>& act,
                 const std::function<void()>& restore) {
    std::vector<Change> changes;
    std::vector<Change> others;
    Change result;
    const QDeadlineTimer deadline(kLongestExperiment);
    do {
      prepare();
      QElapsedTimer timer;
      changes.push_back(during([&] {
        timer.start();
        act();
      }));
      const std::chrono::nanoseconds duration(timer.nsecsElapsed());
      restore();
      others.push_back(during([&] { std::this_thread::sleep_for(duration); }));
      result = difference(summary(changes), summary(others));
    } while (changes.size() < kFewestRounds || (result.isNoise() && !deadline.hasExpired()));
    return result;
  }

 private:
  Change during(const std::function<void()>& act) {
    const Change before = now();
    act();
    return difference(now(), before);
  }

  /// Uncertainties add up.
  static Change difference(const Change& left, const Change& right) {
    return {left.used - right.used, left.wired - right.wired, left.compressor - right.compressor,
            left.uncertainty + right.uncertainty};
  }

  Change now() {
    VmStatistics64 record;
    std::uint32_t words = HostStatistics::kWords64;
    if (m_host.hostStatistics64(record, words) != HostStatistics::kSuccess) qFatal("no counters");
    const double perPage = static_cast<double>(*m_host.pageSize()) / (1 << 20);
    const PageCount app = record.internal_page_count - record.purgeable_count;
    return {static_cast<double>(app + record.wire_count + record.compressor_page_count) * perPage,
            static_cast<double>(record.wire_count) * perPage,
            static_cast<double>(record.compressor_page_count) * perPage};
  }

  /// The value below which `part` of the changes are.
  static double quantile(std::vector<Change> changes, double Change::*member, double part) {
    std::sort(changes.begin(), changes.end(),
              [member](const Change& left, const Change& right) { return left.*member < right.*member; });
    return changes[static_cast<std::size_t>(static_cast<double>(changes.size() - 1) * part)].*member;
  }

  static Change summary(const std::vector<Change>& changes) {
    // The standard error of a median, twice, from the distance of the quartiles.
    const double quartiles = quantile(changes, &Change::used, 0.75) - quantile(changes, &Change::used, 0.25);
    return {quantile(changes, &Change::used, 0.5), quantile(changes, &Change::wired, 0.5),
            quantile(changes, &Change::compressor, 0.5), 1.86 * quartiles / std::sqrt(double(changes.size()))};
  }

  LinuxHostStatistics m_host;
};

bool isNear(double value, double expected) {
  if (std::abs(value - expected) <= kTolerance) return true;
  qWarning("measured %.1f MiB instead of %.1f", value, expected);
  return false;
}

QByteArray readText(const char* path) {
  QFile file(QString::fromLatin1(path));
  return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
}

double ownSwapMebibytes() {
  const QByteArray text = readText("/proc/self/status");
  const qsizetype at = text.indexOf("VmSwap:");
  return at < 0 ? 0 : text.mid(at + 7).split('k').first().trimmed().toDouble() / 1024;
}

}  // namespace

/// What the counters must do when the memory of the whole machine changes in a known way.
class TestMemoryExperiments : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void touchedAnonymousMemoryIsUsed() {
    std::unique_ptr<Block> block;
    const Change change =
        Meter().measure([&] { block = std::make_unique<Block>(); }, [&] { block->touch(); }, [&] { block.reset(); });
    if (change.isNoise()) QSKIP(kTooBusy);
    QVERIFY(isNear(change.used, kMebibytes));
    QVERIFY(isNear(change.wired, 0));
  }

  void lazilyFreeableMemoryIsNot() {
    // A new block each round: pages that are touched again return to their list only when the kernel looks for victims.
    std::unique_ptr<Block> block;
    bool advised = true;
    const Change change = Meter().measure(
        [&] {
          block = std::make_unique<Block>();
          block->touch();
        },
        [&] { advised = block->advise(MADV_FREE) && advised; }, [&] { block.reset(); });
    if (change.isNoise()) QSKIP(kTooBusy);
    QVERIFY(advised);
    QVERIFY(isNear(change.used, -kMebibytes));
    QVERIFY(isNear(change.wired, 0));
  }

  void sharedMemoryIsUsed() {
    int file = -1;
    std::unique_ptr<Block> block;
    const Change change = Meter().measure(
        [&] {
          file = ::memfd_create("halvard-test", MFD_CLOEXEC);
          if (::ftruncate(file, kSize) != 0) qFatal("memfd");
          block = std::make_unique<Block>(file);
        },
        [&] { block->touch(); },
        [&] {
          block.reset();
          ::close(file);
        });
    if (change.isNoise()) QSKIP(kTooBusy);
    QVERIFY(isNear(change.used, kMebibytes));
  }

  void lockedMemoryIsWired() {
    Block probe;
    probe.touch();
    if (!probe.lock()) QSKIP("locking 64 MiB needs CAP_IPC_LOCK or a larger RLIMIT_MEMLOCK");
    std::unique_ptr<Block> block;
    const Change change = Meter().measure(
        [&] {
          block = std::make_unique<Block>();
          block->touch();
        },
        [&] { block->lock(); }, [&] { block.reset(); });
    if (change.isNoise()) QSKIP(kTooBusy);
    QVERIFY(isNear(change.wired, kMebibytes));
    QVERIFY(isNear(change.used, 0));
  }

  void writtenFilesAreNotUsed() {
    struct statfs fileSystem {};
    constexpr auto kTmpfs = 0x01021994;
    if (::statfs(".", &fileSystem) != 0 || fileSystem.f_type == kTmpfs) QSKIP("the working folder is in memory itself");
    const QByteArray content(static_cast<qsizetype>(kSize), 'x');
    std::unique_ptr<QTemporaryFile> file;
    qint64 written = 0;
    const Change change = Meter().measure(
        [&] {
          file = std::make_unique<QTemporaryFile>(QStringLiteral("experiment"));
          if (!file->open()) qFatal("no file in the working folder");
        },
        [&] {
          written = file->write(content);
          file->flush();
        },
        [&] { file.reset(); });
    if (change.isNoise()) QSKIP(kTooBusy);
    QCOMPARE(written, content.size());
    QVERIFY(isNear(change.used, 0));
  }

  void memoryPagedOutToZramIsUsedOnlyByItsPool() {
    halvard::test::ZramSwap swap;
    if (const QString reason = swap.start(std::uint64_t{256} << 20); !reason.isEmpty()) QSKIP(qPrintable(reason));
    std::unique_ptr<Block> block;
    double pagedOut = 0;
    int rounds = 0;
    const Change change = Meter().measure(
        [&] {
          block = std::make_unique<Block>();
          block->touch();
        },
        [&] { block->advise(MADV_PAGEOUT); },
        [&] {
          // The kernel passes over pages that another processor is about to put on a list.
          pagedOut += ownSwapMebibytes();
          ++rounds;
          block.reset();
        });
    if (change.isNoise()) QSKIP(kTooBusy);
    QVERIFY(pagedOut / rounds > kMebibytes / 2);
    QVERIFY2(change.compressor > 0.25 && change.compressor < kMebibytes / 4,
             qPrintable(QString::number(change.compressor)));
    QVERIFY(isNear(change.used, change.compressor - pagedOut / rounds));
  }
};

QTEST_GUILESS_MAIN(TestMemoryExperiments)
#include "test_memory_experiments.moc"
