// What the counters must do when the memory of the whole machine changes in a known way.
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <QTemporaryFile>
#include <QtTest>
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <cstring>
#include <functional>
#include <thread>

#include "platform/linux/procfs/linux_host_statistics.h"

using namespace halvard;

namespace {

constexpr std::size_t kSize = std::size_t{64} << 20;
constexpr double kMebibytes = 64;
/// What an experiment may miss its 64 MiB by. The kernel keeps freed pages and pages on their way to a list in batches
/// of its own for each processor (some MiB, which count as wired), and other programs go on living.
constexpr double kTolerance = 12;
/// Every experiment is repeated, and its median counts: a neighbour's burst spoils single rounds only.
constexpr std::size_t kRounds = 45;

struct Unmap {
  void operator()(char* block) const { ::munmap(block, kSize); }
};

double usedMebibytes(LinuxHostStatistics& host) {
  VmStatistics64 record;
  std::uint32_t words = 0;
  if (host.hostStatistics64(record, words) != HostStatistics::kSuccess) qFatal("no counters");
  const PageCount application = record.internal_page_count - record.purgeable_count;
  const PageCount used = application + record.wire_count + record.compressor_page_count;
  return static_cast<double>(used) * static_cast<double>(*host.pageSize()) / (1 << 20);
}

}  // namespace

class TestMemoryExperiments : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<char, Unmap> m_block;

  // A new block each round: pages that are touched again return to their list only when the kernel looks for victims.
  void map(int flags = MAP_PRIVATE) {
    void* const block = ::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_ANONYMOUS | flags, -1, 0);
    if (block == MAP_FAILED) qFatal("mmap");
    m_block.reset(static_cast<char*>(block));
  }
  void touch() {
    for (std::size_t offset = 0; offset < kSize; offset += 4096)
      std::memcpy(m_block.get() + offset, &offset, sizeof offset);
  }
  void mapAndTouch() {
    map();
    touch();
  }
  // Not through libc: an address sanitizer makes mlock do nothing.
  bool lock() { return ::syscall(SYS_mlock, m_block.get(), kSize) == 0; }

  /// Fails unless `act` changes what is used by so much.
  void expect(double mebibytes, const std::function<void()>& prepare, const std::function<void()>& act) {
    LinuxHostStatistics host;
    std::array<double, kRounds> changes;
    for (double& change : changes) {
      prepare();
      const auto start = std::chrono::steady_clock::now();
      const double before = usedMebibytes(host);
      act();
      change = usedMebibytes(host) - before;
      const auto duration = std::chrono::steady_clock::now() - start;
      m_block.reset();
      // What the rest of the machine does meanwhile is taken off: nothing is done for as long.
      const double quiet = usedMebibytes(host);
      std::this_thread::sleep_for(duration);
      change -= usedMebibytes(host) - quiet;
    }
    std::ranges::sort(changes);
    // The error of so many rounds' median is about a quarter of this distance.
    const bool isBusy = changes[kRounds * 3 / 4] - changes[kRounds / 4] > 1.5 * kTolerance;
    if (isBusy) QSKIP("the machine is too busy to measure 64 MiB on it");
    const double median = changes[kRounds / 2];
    QVERIFY2(std::abs(median - mebibytes) <= kTolerance, qPrintable(QStringLiteral("%1 MiB").arg(median)));
  }

 private Q_SLOTS:
  void touchedMemoryIsUsed() {
    for (const int flags : {MAP_PRIVATE, MAP_SHARED})
      expect(
          kMebibytes, [this, flags] { map(flags); }, [this] { touch(); });
  }

  void lazilyFreeableMemoryIsNot() {
    const auto giveUp = [this] { QCOMPARE(::madvise(m_block.get(), kSize, MADV_FREE), 0); };
    expect(
        -kMebibytes, [this] { mapAndTouch(); }, giveUp);
  }

  // It leaves the lists, from where it must not be missed.
  void lockedMemoryStaysUsed() {
    map();
    if (!lock()) QSKIP("locking 64 MiB needs CAP_IPC_LOCK or a larger RLIMIT_MEMLOCK");
    expect(
        0, [this] { mapAndTouch(); }, [this] { QVERIFY(lock()); });
  }

  void writtenFilesAreNotUsed() {
    struct statfs fileSystem {};
    constexpr auto kTmpfs = 0x01021994;
    if (::statfs(".", &fileSystem) != 0 || fileSystem.f_type == kTmpfs) QSKIP("the working folder is in memory itself");
    const QByteArray content(static_cast<qsizetype>(kSize), 'x');
    std::unique_ptr<QTemporaryFile> file;
    expect(
        0, [&] { file = std::make_unique<QTemporaryFile>(QStringLiteral("experiment")); },
        [&] { QVERIFY(file->open() && file->write(content) == content.size() && file->flush()); });
  }
};

QTEST_GUILESS_MAIN(TestMemoryExperiments)
#include "test_memory_experiments.moc"
