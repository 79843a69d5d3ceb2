#include <QTemporaryDir>
#include <QtTest>
#include <cerrno>

#include "platform/linux/procfs/linux_host_statistics.h"
#include "platform/linux/procfs/linux_processor_ticks.h"
#include "platform/linux/procfs/memory_pressure.h"

using namespace halvard;

namespace {

constexpr ByteCount kMiB = 1 << 20;

/// A machine of 4000 MiB in a folder, which stands for /proc and /sys.
struct Machine {
  std::string root() const { return folder.path().toStdString(); }
  std::optional<VmStatistics64> reading() {
    VmStatistics64 record;
    std::uint32_t words = 0;
    if (host.hostStatistics64(record, words) != HostStatistics::kSuccess) return std::nullopt;
    return record;
  }

  // In place, as the kernel does: the reader's descriptor must see it.
  void write(const QByteArray& path, const QByteArray& text) {
    const QString whole = folder.filePath(QString::fromLatin1(path));
    QDir().mkpath(QFileInfo(whole).path());
    QFile file(whole);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    file.write(text);
  }
  /// `others` takes the place of the usual lines.
  void writeMeminfo(const QMap<QByteArray, ByteCount>& others = {}) {
    QMap<QByteArray, ByteCount> lines{{"MemTotal", 4000},    {"MemFree", 1000},     {"MemAvailable", 2000},
                                      {"Active", 900},       {"Inactive", 700},     {"SwapTotal", 0},
                                      {"Active(anon)", 400}, {"SwapFree", 0},       {"Inactive(anon)", 200},
                                      {"Shmem", 100},        {"SReclaimable", 100}, {"AnonPages", 550}};
    lines.insert(others);
    QByteArray text;
    for (const auto& [name, mebibytes] : lines.asKeyValueRange())
      text += name + ": " + QByteArray::number(mebibytes * 1024) + " kB\n";
    write("meminfo", text);
  }
  void writeLists(PageCount pages) {
    write("zoneinfo", "  pagesets\n    cpu: 0\n              count:    " + QByteArray::number(pages) + '\n');
  }
  void writeZram(const QByteArray& device, ByteCount contents, ByteCount pool) {
    write("block/" + device + "/mm_stat",
          QByteArray::number(contents * kMiB) + " 1 " + QByteArray::number(pool * kMiB) + " 0 0\n");
  }
  void remove(const QByteArray& path) { QVERIFY(QDir(folder.filePath(QString::fromLatin1(path))).removeRecursively()); }

  QTemporaryDir folder;
  LinuxHostStatistics host{root(), root()};
};

ByteCount mebibytes(PageCount pages) {
  return pages * static_cast<ByteCount>(::sysconf(_SC_PAGESIZE)) / kMiB;
}

}  // namespace

class TestProcfsReaders : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void countersComeFromMeminfoAndPools() {
    Machine machine;
    machine.writeMeminfo({{"SwapTotal", 2000}, {"Zswap", 20}});
    machine.writeZram("zram0", 500, 100);
    machine.writeZram("zram7", 50, 30);
    machine.writeZram("zramp1", 999, 999);
    machine.writeLists(2560);
    const auto record = machine.reading();
    QVERIFY(record);
    QCOMPARE(machine.host.physicalMemory(), 4000 * kMiB);
    QCOMPARE(mebibytes(record->internal_page_count), 650u);
    QCOMPARE(mebibytes(record->purgeable_count), 50u);
    QCOMPARE(mebibytes(record->compressor_page_count), 150u);
    QCOMPARE(mebibytes(record->wire_count), 4000u - 1000 - mebibytes(2560) - 900 - 700 - 100 - 150);
    machine.writeMeminfo({{"MemFree", 3900}, {"AnonPages", 100}, {"Shmem", 0}});
    const auto odd = machine.reading();
    QVERIFY2(odd && odd->wire_count == 0 && odd->purgeable_count == 0, "differences stop at zero");
  }

  void aFailedReadingLeavesTheRecordUntouched() {
    Machine machine;
    QVERIFY(machine.host.physicalMemory() > 0);
    VmStatistics64 record;
    record.wire_count = 42;
    std::uint32_t words = 7;
    QCOMPARE(machine.host.hostStatistics64(record, words), ENOENT);
    machine.write("meminfo", "MemTotal: 5 kB\n");
    QCOMPARE(machine.host.hostStatistics64(record, words), EBADMSG);
    machine.write("meminfo", "");
    QCOMPARE(machine.host.hostStatistics64(record, words), ENODATA);
    QCOMPARE(record.wire_count, 42u);
    QCOMPARE(words, 7u);
    machine.writeMeminfo();
    QCOMPARE(machine.host.hostStatistics64(record, words), HostStatistics::kSuccess);
    QCOMPARE(words, HostStatistics::kWords64);
  }

  void poolsAreFoundWhenTheSwapSizeChangesAndForgottenWhenTheyGo() {
    Machine machine;
    machine.writeMeminfo();
    machine.writeZram("zram0", 500, 100);
    QCOMPARE(machine.reading()->compressor_page_count, 0u);
    machine.writeMeminfo({{"SwapTotal", 2000}});
    QCOMPARE(mebibytes(machine.reading()->compressor_page_count), 100u);
    machine.writeZram("zram0", 500, 130);
    QCOMPARE(mebibytes(machine.reading()->compressor_page_count), 130u);
    // A removed device's file can be read no more, although its descriptor is still open.
    machine.writeZram("zram1", 1, 2);
    machine.write("block/zram0/mm_stat", "");
    machine.remove("block/zram0");
    QCOMPARE(mebibytes(machine.reading()->compressor_page_count), 2u);
  }

  void theProcessorsOwnListsAreReadAnewWhenMemoryMovesAndNowAndThen() {
    Machine machine;
    machine.writeMeminfo();
    machine.writeLists(2560);
    const PageCount wired = machine.reading()->wire_count;
    const PageCount mebibyte = kMiB / static_cast<ByteCount>(::sysconf(_SC_PAGESIZE));
    machine.writeLists(0);
    machine.writeMeminfo({{"MemFree", 999}});
    QCOMPARE(machine.reading()->wire_count, wired + mebibyte);
    machine.writeMeminfo({{"MemFree", 998}});
    QCOMPARE(machine.reading()->wire_count, wired + 2 * mebibyte + 2560);
    machine.writeLists(2560);
    for (int round = 1; round < 10; ++round)
      QCOMPARE(machine.reading()->wire_count, wired + 2 * mebibyte + 2560);
    QCOMPARE(machine.reading()->wire_count, wired + 2 * mebibyte);
  }

  void swapUsageTellsCompressedFromMoved() {
    Machine machine;
    QVERIFY(!machine.host.swapUsage());
    machine.writeMeminfo();
    QCOMPARE(machine.host.swapUsage()->compressedBytes, 0u);
    machine.writeMeminfo({{"SwapTotal", 3000}, {"SwapFree", 2300}, {"SwapCached", 25}, {"Zswapped", 40}});
    QVERIFY2(!machine.host.swapUsage(), "no list of swap areas");
    machine.write("swaps",
                  "Filename Type Size Used Priority\n/dev/zram0 partition 1024000 512000 100\n"
                  "/dev/sda2 partition 2048000 102400 -2\n");
    QVERIFY2(!machine.host.swapUsage(), "no statistics of the device");
    machine.writeZram("zram0", 480, 100);
    machine.writeZram("zram1", 77, 77);
    QCOMPARE(machine.host.swapUsage()->compressedBytes, (480 + 40) * kMiB);
    QCOMPARE(machine.host.swapUsage()->swappedToDiskBytes, (100 - 40) * kMiB);
    QCOMPARE(machine.host.swapUsage()->awayBytes, (3000 - 2300 - 25) * kMiB);
    QVERIFY(!machine.host.swapUsage()->traffic);
    machine.write("vmstat", QByteArray(9000, 'x') + " 1\npswpin 3\npswpout 5\nswpout_zero 2\n");
    const auto page = static_cast<ByteCount>(::sysconf(_SC_PAGESIZE));
    QVERIFY(machine.host.swapUsage()->traffic == std::optional(SwapTraffic{7 * page, 3 * page}));
  }

  void processorCountersNeverGoBack() {
    Machine machine;
    const auto stat = [&](const QByteArray& processors) {
      machine.write("stat", "cpu  0 0 0 0 0 0 0 0 0 0\n" + processors + "intr 0\n");
    };
    machine.write("devices/system/cpu/present", "0-2\n");
    LinuxProcessorTicks ticks(machine.root(), machine.root());
    QCOMPARE(ticks.processorCount(), std::optional(3u));
    QVERIFY(!ticks.processorLoad());
    stat("cpu0 10 1 5 100 20 0 0 0 0 0\ncpu2 4294967299 0 0 7 0 0 0 0 0 0\n");
    const auto first = ticks.processorLoad().value();
    QCOMPARE(first[0], (ProcessorLoad{10, 5, 120, 1}));
    QVERIFY2(first[1] == ProcessorLoad{}, "offline since the start");
    QVERIFY2((first[2] == ProcessorLoad{3, 0, 7, 0}), "wraps at 32 bits");
    // iowait went back, and processor 2 went offline.
    stat("cpu0 11 1 5 100 18 0 0 0 0 0\n");
    const auto second = ticks.processorLoad().value();
    QCOMPARE(second[0], (ProcessorLoad{11, 5, 120, 1}));
    QCOMPARE(second[2], first[2]);
    stat("cpu0 broken\n");
    QVERIFY(!ticks.processorLoad());
    QVERIFY(!LinuxProcessorTicks(machine.root(), machine.root() + "/nowhere").processorCount());
  }

  void thisMachineIsReadable() {
    const LinuxHostStatistics host;
    QVERIFY(host.swapUsage() && host.swapUsage()->traffic);
    QCOMPARE(LinuxProcessorTicks().processorCount(),
             std::optional(static_cast<std::uint32_t>(::sysconf(_SC_NPROCESSORS_CONF))));
    if (QFile::exists(QStringLiteral("/proc/pressure/memory"))) QVERIFY(MemoryPressureReader().read());
    QVERIFY(!MemoryPressureReader("/nowhere").read());
  }
};

QTEST_APPLESS_MAIN(TestProcfsReaders)
#include "test_procfs_readers.moc"
