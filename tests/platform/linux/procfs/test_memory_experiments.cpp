// What the counters must do when the memory of the whole machine changes in a known way.
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <QTemporaryFile>
#include <QtTest>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <functional>

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

/// Memory whose every page is different.
class Block {
 public:
  explicit Block(int flags) {
    m_bytes = static_cast<char*>(::mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_ANONYMOUS | flags, -1, 0));
    if (m_bytes == MAP_FAILED) qFatal("mmap");
  }
  ~Block() { ::munmap(m_bytes, kSize); }
  Block(const Block&) = delete;
  Block& operator=(const Block&) = delete;

  void touch() {
    for (std::size_t offset = 0; offset < kSize; offset += 4096)
      std::memcpy(m_bytes + offset, &offset, sizeof offset);
  }
  bool giveUp() { return ::madvise(m_bytes, kSize, MADV_FREE) == 0; }
  // Not through libc: an address sanitizer makes mlock do nothing.
  bool lock() { return ::syscall(SYS_mlock, m_bytes, kSize) == 0; }

 private:
  char* m_bytes;
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
  std::unique_ptr<Block> m_block;

  // A new block each round: pages that are touched again return to their list only when the kernel looks for victims.
  void makeBlock(int flags = MAP_PRIVATE) { m_block = std::make_unique<Block>(flags); }
  void makeTouchedBlock() {
    makeBlock();
    m_block->touch();
  }

  /// Fails unless `act` changes what is used by so much.
  void expect(double mebibytes, const std::function<void()>& prepare, const std::function<void()>& act) {
    LinuxHostStatistics host;
    std::array<double, kRounds> changes;
    for (double& change : changes) {
      prepare();
      const double before = usedMebibytes(host);
      act();
      change = usedMebibytes(host) - before;
      m_block.reset();
    }
    std::ranges::sort(changes);
    // The error of so many rounds' median is about a quarter of this distance.
    const bool isBusy = changes[kRounds * 3 / 4] - changes[kRounds / 4] > 2 * kTolerance;
    if (isBusy) QSKIP("the machine is too busy to measure 64 MiB on it");
    const double median = changes[kRounds / 2];
    QVERIFY2(std::abs(median - mebibytes) <= kTolerance, qPrintable(QStringLiteral("%1 MiB").arg(median)));
  }

 private Q_SLOTS:
  void touchedMemoryIsUsed() {
    for (const int flags : {MAP_PRIVATE, MAP_SHARED})
      expect(
          kMebibytes, [this, flags] { makeBlock(flags); }, [this] { m_block->touch(); });
  }

  void lazilyFreeableMemoryIsNot() {
    expect(
        -kMebibytes, [this] { makeTouchedBlock(); }, [this] { QVERIFY(m_block->giveUp()); });
  }

  // It leaves the lists, from where it must not be missed.
  void lockedMemoryStaysUsed() {
    if (!Block(MAP_PRIVATE).lock()) QSKIP("locking 64 MiB needs CAP_IPC_LOCK or a larger RLIMIT_MEMLOCK");
    expect(
        0, [this] { makeTouchedBlock(); }, [this] { QVERIFY(m_block->lock()); });
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
