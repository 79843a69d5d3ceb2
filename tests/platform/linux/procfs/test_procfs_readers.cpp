#include <QTemporaryDir>
#include <QtTest>
#include <cerrno>

#include "platform/linux/procfs/linux_host_statistics.h"
#include "platform/linux/procfs/linux_processor_ticks.h"
#include "platform/linux/procfs/memory_pressure.h"

using namespace halvard;

namespace {

constexpr ByteCount kMiB = 1 << 20;

struct Meminfo {
  ByteCount free = 1000, active = 900, inactive = 700, activeAnon = 400, inactiveAnon = 200;
  ByteCount swapTotal = 0, zswap = 0, zswapped = 0, anonPages = 550, shmem = 100;
};

/// A machine of 4000 MiB in a folder, which stands for /proc and /sys.
class Machine {
 public:
  Machine() {
    for (const char* folder : {"pressure", "block", "devices/system/cpu"})
      QDir(m_folder.path()).mkpath(name(folder));
  }
  std::string root() const { return m_folder.path().toStdString(); }

  // In place, as the kernel does: the reader's descriptor must see it.
  void write(const QString& path, const QByteArray& text) {
    QDir(m_folder.path()).mkpath(QFileInfo(path).path());
    QFile file(m_folder.filePath(path));
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
  }
  void write(const Meminfo& info) {
    QByteArray text;
    const auto line = [&](const char* label, ByteCount mebibytes) {
      text += label + QByteArray(": ") + QByteArray::number(mebibytes * 1024) + " kB\n";
    };
    line("MemTotal", 4000);
    line("MemFree", info.free);
    line("MemAvailable", 2000);
    line("Active", info.active);
    line("Inactive", info.inactive);
    line("Active(anon)", info.activeAnon);
    line("Inactive(anon)", info.inactiveAnon);
    line("SwapTotal", info.swapTotal);
    line("SwapFree", 0);
    line("Zswap", info.zswap);
    line("Zswapped", info.zswapped);
    line("AnonPages", info.anonPages);
    line("Shmem", info.shmem);
    line("SReclaimable", 100);
    write(QStringLiteral("meminfo"), text);
  }
  void writeZram(const char* device, ByteCount contents, ByteCount pool) {
    write(QStringLiteral("block/%1/mm_stat").arg(name(device)),
          QByteArray::number(contents * kMiB) + " 1 " + QByteArray::number(pool * kMiB) + " 0 0\n");
  }
  void remove(const QString& path) { QVERIFY(QDir(m_folder.filePath(path)).removeRecursively()); }
  void removeFile(const QString& path) { QVERIFY(QFile::remove(m_folder.filePath(path))); }

 private:
  static QString name(const char* text) { return QString::fromLatin1(text); }
  QTemporaryDir m_folder;
};

ByteCount mebibytes(PageCount pages) {
  return pages * static_cast<ByteCount>(::sysconf(_SC_PAGESIZE)) / kMiB;
}

std::optional<VmStatistics64> reading(LinuxHostStatistics& host) {
  VmStatistics64 record;
  std::uint32_t words = 0;
  if (host.hostStatistics64(record, words) != HostStatistics::kSuccess) return std::nullopt;
  return record;
}

/// Read system calls of this process so far; the reading of the figure itself is among the next one's.
qint64 readCalls() {
  QFile file(QStringLiteral("/proc/self/io"));
  if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) return -1;
  char buffer[512] = {};
  file.read(buffer, sizeof buffer - 1);
  const QByteArray text(buffer);
  const qsizetype start = text.indexOf("syscr: ");
  return start < 0 ? -1 : text.mid(start + 7, text.indexOf('\n', start) - start - 7).toLongLong();
}

}  // namespace

class TestProcfsReaders : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void countersComeFromMeminfoAndPools() {
    Machine machine;
    machine.write(Meminfo{.swapTotal = 2000, .zswap = 20});
    machine.writeZram("zram0", 500, 100);
    machine.writeZram("zram7", 50, 30);
    machine.writeZram("zramp1", 999, 999);
    machine.write(QStringLiteral("zoneinfo"), "  pagesets\n    cpu: 0\n              count:    2560\n");
    LinuxHostStatistics host(machine.root(), machine.root());
    VmStatistics64 record;
    std::uint32_t words = 0;
    QCOMPARE(host.hostStatistics64(record, words), HostStatistics::kSuccess);
    QCOMPARE(words, HostStatistics::kWords64);
    QCOMPARE(host.physicalMemory(), 4000 * kMiB);
    QCOMPARE(mebibytes(record.active_count), 900u);
    QCOMPARE(mebibytes(record.inactive_count), 700u);
    QCOMPARE(mebibytes(record.internal_page_count), 650u);
    QCOMPARE(mebibytes(record.purgeable_count), 50u);
    QCOMPARE(mebibytes(record.compressor_page_count), 150u);
    const PageCount listed = mebibytes(2560);
    QCOMPARE(mebibytes(record.wire_count), 4000u - 1000 - listed - 900 - 700 - 100 - 150);

    VmStatistics legacy;
    QCOMPARE(host.hostStatistics(legacy, words), HostStatistics::kSuccess);
    QCOMPARE(words, HostStatistics::kWordsLegacy);
    QCOMPARE(mebibytes(legacy.free_count), 1000u + listed);
    QCOMPARE(mebibytes(legacy.wire_count), 4000u - 1000 - listed - 900 - 700 - 100);
  }

  void differencesStopAtZero() {
    Machine machine;
    machine.write(Meminfo{.free = 3900, .anonPages = 100, .shmem = 0});
    LinuxHostStatistics host(machine.root(), machine.root());
    const auto record = reading(host);
    QVERIFY(record);
    QCOMPARE(record->wire_count, 0u);
    QCOMPARE(record->purgeable_count, 0u);
    QCOMPARE(mebibytes(record->internal_page_count), 600u);
  }

  void aFailedReadingLeavesTheRecordUntouched() {
    Machine machine;
    LinuxHostStatistics host(machine.root(), machine.root());
    QVERIFY(host.physicalMemory() > 0);
    VmStatistics64 record;
    record.wire_count = 42;
    std::uint32_t words = 7;
    QCOMPARE(host.hostStatistics64(record, words), ENOENT);
    machine.write(QStringLiteral("meminfo"), "MemTotal: 5 kB\n");
    QCOMPARE(host.hostStatistics64(record, words), EBADMSG);
    machine.write(QStringLiteral("meminfo"), "");
    QCOMPARE(host.hostStatistics64(record, words), ENODATA);
    VmStatistics legacy;
    QCOMPARE(host.hostStatistics(legacy, words), ENODATA);
    QCOMPARE(record.wire_count, 42u);
    QCOMPARE(words, 7u);
    machine.write(Meminfo{});
    QCOMPARE(host.hostStatistics64(record, words), HostStatistics::kSuccess);
    QCOMPARE(host.physicalMemory(), 4000 * kMiB);
  }

  void poolsAreFoundWhenTheSwapSizeChangesAndForgottenWhenTheyGo() {
    Machine machine;
    machine.write(Meminfo{});
    LinuxHostStatistics host(machine.root(), machine.root());
    QCOMPARE(reading(host)->compressor_page_count, 0u);
    machine.writeZram("zram0", 500, 100);
    const auto unseen = reading(host);
    QCOMPARE(unseen->compressor_page_count, 0u);
    machine.write(Meminfo{.swapTotal = 2000});
    const auto seen = reading(host);
    QCOMPARE(mebibytes(seen->compressor_page_count), 100u);
    QVERIFY2(unseen->wire_count == seen->wire_count + seen->compressor_page_count, "used is the same either way");
    machine.writeZram("zram0", 500, 130);
    QCOMPARE(mebibytes(reading(host)->compressor_page_count), 130u);
    // A removed device's file can be read no more, although its descriptor is still open.
    machine.writeZram("zram1", 1, 2);
    machine.write(QStringLiteral("block/zram0/mm_stat"), "");
    machine.remove(QStringLiteral("block/zram0"));
    QCOMPARE(mebibytes(reading(host)->compressor_page_count), 2u);
  }

  void aReadingIsOneReadCallAFile() {
    LinuxHostStatistics host;
    LinuxProcessorTicks ticks;
    QVERIFY(reading(host) && ticks.processorLoad());
    if (readCalls() < 0) QSKIP("this kernel does not count read calls (/proc/self/io)");
    const qint64 before = readCalls();
    const qint64 own = readCalls() - before;
    for (int round = 0; round < 10; ++round)
      QVERIFY(reading(host) && ticks.processorLoad());
    const qint64 pools = QDir(QStringLiteral("/sys/block")).entryList({QStringLiteral("zram*")}).size();
    const qint64 calls = readCalls() - before - 2 * own;
    QVERIFY2(calls >= 10 * 2 + 1 && calls <= 10 * (3 + pools), qPrintable(QString::number(calls)));
  }

  void theProcessorsOwnListsAreReadAnewWhenMemoryMovesAndNowAndThen() {
    Machine machine;
    const auto lists = [&](PageCount pages) {
      machine.write(QStringLiteral("zoneinfo"), "  pagesets\n    cpu: 0\n  count: " + QByteArray::number(pages) + '\n');
    };
    machine.write(Meminfo{.free = 1000});
    lists(2560);
    LinuxHostStatistics host(machine.root(), machine.root());
    const PageCount wired = reading(host)->wire_count;
    const PageCount mebibyte = kMiB / static_cast<ByteCount>(::sysconf(_SC_PAGESIZE));
    lists(0);
    machine.write(Meminfo{.free = 999});
    QCOMPARE(reading(host)->wire_count, wired + mebibyte);
    machine.write(Meminfo{.free = 998});
    QCOMPARE(reading(host)->wire_count, wired + 2 * mebibyte + 2560);
    lists(2560);
    for (int round = 1; round < 10; ++round)
      QCOMPARE(reading(host)->wire_count, wired + 2 * mebibyte + 2560);
    QCOMPARE(reading(host)->wire_count, wired + 2 * mebibyte);
  }

  void swapUsageTellsCompressedFromMoved() {
    Machine machine;
    LinuxHostStatistics host(machine.root(), machine.root());
    QVERIFY(!host.swapUsage());
    machine.write(Meminfo{});
    QCOMPARE(host.swapUsage()->compressedBytes, 0u);
    machine.write(Meminfo{.swapTotal = 3000, .zswapped = 40});
    QVERIFY2(!host.swapUsage(), "no list of swap areas");
    machine.write(QStringLiteral("swaps"),
                  "Filename Type Size Used Priority\n/dev/zram0 partition 1024000 512000 100\n"
                  "/dev/sda2 partition 2048000 102400 -2\n");
    QVERIFY2(!host.swapUsage(), "no statistics of the device");
    machine.writeZram("zram0", 480, 100);
    machine.writeZram("zram1", 77, 77);
    QCOMPARE(host.swapUsage()->compressedBytes, (480 + 40) * kMiB);
    QCOMPARE(host.swapUsage()->swappedToDiskBytes, (100 - 40) * kMiB);
  }

  void processorCountersNeverGoBack() {
    Machine machine;
    const auto stat = [&](const QByteArray& processors) {
      machine.write(QStringLiteral("stat"), "cpu  0 0 0 0 0 0 0 0 0 0\n" + processors + "intr 0\n");
    };
    machine.write(QStringLiteral("devices/system/cpu/present"), "0-2\n");
    LinuxProcessorTicks ticks(machine.root(), machine.root());
    QCOMPARE(ticks.processorCount(), std::optional(3u));
    QVERIFY(!ticks.processorLoad());
    stat("cpu0 10 1 5 100 20 0 0 0 0 0\ncpu2 4294967299 0 0 7 0 0 0 0 0 0\n");
    const auto first = ticks.processorLoad();
    QVERIFY(first);
    QCOMPARE((*first)[0], (ProcessorLoad{10, 5, 120, 1}));
    QVERIFY2((*first)[1] == ProcessorLoad{}, "offline since the start");
    QVERIFY2((*first)[2] == (ProcessorLoad{3, 0, 7, 0}), "wraps at 32 bits");
    // iowait went back, and processor 2 went offline.
    stat("cpu0 11 1 5 100 18 0 0 0 0 0\n");
    const auto second = ticks.processorLoad();
    QVERIFY(second);
    QCOMPARE((*second)[0], (ProcessorLoad{11, 5, 120, 1}));
    QCOMPARE((*second)[2], (*first)[2]);
    stat("cpu0 broken\n");
    QVERIFY(!ticks.processorLoad());
    stat("cpu0 12 1 5 103 20 0 0 0 0 0\n");
    QCOMPARE((*ticks.processorLoad())[0], (ProcessorLoad{12, 5, 123, 1}));

    LinuxProcessorTicks silent(machine.root(), machine.root() + "/nowhere");
    QVERIFY(!silent.processorCount());
    QCOMPARE(silent.processorLoad()->size(), 1u);
  }

  void thisMachineIsReadable() {
    LinuxHostStatistics host;
    const auto record = reading(host);
    QVERIFY(record);
    const ByteCount page = *host.pageSize();
    QCOMPARE(page, static_cast<ByteCount>(::sysconf(_SC_PAGESIZE)));
    const ByteCount used =
        (record->internal_page_count - record->purgeable_count + record->wire_count + record->compressor_page_count) *
        page;
    QVERIFY(used > 0 && used < host.physicalMemory());
    QVERIFY(host.swapUsage());
    LinuxProcessorTicks ticks;
    QCOMPARE(ticks.processorCount(), std::optional(static_cast<std::uint32_t>(::sysconf(_SC_NPROCESSORS_CONF))));
    QVERIFY(ticks.processorLoad());
    if (QFile::exists(QStringLiteral("/proc/pressure/memory"))) QVERIFY(MemoryPressureReader().read());
    QVERIFY(!MemoryPressureReader("/nowhere").read());
  }
};

QTEST_APPLESS_MAIN(TestProcfsReaders)
#include "test_procfs_readers.moc"
