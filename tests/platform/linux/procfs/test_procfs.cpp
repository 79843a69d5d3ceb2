#include <QtTest>
#include <cerrno>
#include <random>

#include "platform/linux/procfs/linux_host_statistics.h"
#include "platform/linux/procfs/linux_processor_ticks.h"
#include "platform/linux/procfs/memory_pressure.h"
#include "platform/linux/procfs/swap_devices.h"
#include "platform/linux/procfs/swap_traffic.h"
#include "platform/linux/procfs/zone_watermarks.h"
#include "support/test_folder.h"

using namespace halvard;

namespace {

constexpr ByteCount kB = 1024;
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
    folder.write("meminfo", text);
  }
  void writeLists(PageCount pages) {
    folder.write("zoneinfo", "  pagesets\n    cpu: 0\n              count:    " + QByteArray::number(pages) + '\n');
  }
  void writeZram(const QByteArray& device, ByteCount contents, ByteCount pool) {
    folder.write("block/" + device + "/mm_stat",
                 QByteArray::number(contents * kMiB) + " 1 " + QByteArray::number(pool * kMiB) + " 0 0\n");
  }
  // Its files are written in place, as the kernel does: the reader's descriptor must see it.
  TestFolder folder;
  LinuxHostStatistics host{root(), root(), [] { return std::optional(MemoryLevels()); }};
};

ByteCount mebibytes(PageCount pages) {
  return pages * static_cast<ByteCount>(::sysconf(_SC_PAGESIZE)) / kMiB;
}

QByteArray fixture(const char* name) {
  QFile file(QStringLiteral(HALVARD_FIXTURES "/") + QString::fromLatin1(name));
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

std::string_view view(const QByteArray& bytes) {
  return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

QByteArray replaced(QByteArray text, const char* before, const char* after) {
  return text.contains(before) ? text.replace(before, after) : QByteArray("the fixture lacks what is replaced");
}

std::optional<std::vector<ProcessorCounters>> processorStat(const QByteArray& text, std::size_t processors) {
  std::vector<ProcessorCounters> counters(processors);
  if (!parseProcessorStat(view(text), counters)) return std::nullopt;
  return counters;
}

}  // namespace

class TestProcfs : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void meminfoNeedsEachOfItsLines() {
    const QByteArray real = fixture("meminfo_swap");
    const auto withFree = [&](const char* value) {
      return replaced(real, "MemFree: ", (QByteArray("MemFree: ") + value + "\nIgnored: ").constData());
    };
    for (const QByteArray& good : {replaced(replaced(real, "Zswap: ", "Other: "), "Zswapped:", "Others:"),
                                   real + "MemTotal: -1 kB\n", QByteArray("New: 1\n\n:::\nNew2: -5 kB\n") + real,
                                   real.left(real.indexOf("KernelStack") - 1), withFree("1125899906842624 kB")}) {
      const auto info = parseMemoryInfo(view(good));
      QVERIFY2(info && info->total == 24684084 * kB && info->available == 24089660 * kB, good.constData());
    }
    for (const char* bad : {"1125899906842625 kB", "18446744073709551616 kB", "-1 kB", "1 MB", "1", "kB"})
      QVERIFY2(!parseMemoryInfo(view(withFree(bad))), bad);
    QVERIFY(!parseMemoryInfo(view(replaced(real, "MemTotal: ", "MemTotal: 0 kB\nIgnored: "))));
    for (const char* name : {"MemTotal:", "MemFree:", "MemAvailable:", "Active:", "Inactive:", "Active(anon):",
                             "Inactive(anon):", "SwapTotal:", "SwapFree:", "AnonPages:", "Shmem:", "SReclaimable:"})
      QVERIFY2(!parseMemoryInfo(view(replaced("\n" + real, (QByteArray("\n") + name).constData(), "\nX:"))), name);
  }

  void processorFreePagesAreSummed() {
    const QByteArray real = fixture("zoneinfo");
    QCOMPARE(parseProcessorFreePages(view(real)), 38822u + 36998u);
    QCOMPARE(parseProcessorFreePages(view(real.left(real.lastIndexOf("36998") + 4))), 38822u);
    QCOMPARE(parseProcessorFreePages(" count: 5\n count: -1\n count: x\n count: 7 \n count: 2\nrecount: 9\n count:"),
             7u);
    QCOMPARE(parseProcessorFreePages(" count: 281474976710656\n count: 1\n"), 0u);
  }

  void backgroundReclaimMarkIsLowAndWhatIsKept() {
    const QByteArray zones =
        "Node 0, zone DMA\n  pages free 9\n  low 13\n  managed 3840\n  protection: (0, 3019, 24090)\n"
        "Node 0, zone DMA32\n  low 2888\n  managed 772915\n  protection: (0, 0, 21071)\n count: 1\n"
        "Node 0, zone Normal\n  low 20163\n  managed 5394266\n  protection: (0, 0, 0)\n";
    QCOMPARE(parseBackgroundReclaimMark(view(zones)), 3840u + 2888 + 21071 + 20163);
    QCOMPARE(parseBackgroundReclaimMark(view(zones.left(zones.indexOf("protection: (0, 0, 21071)")))), 3840u);
    QVERIFY(parseBackgroundReclaimMark(view(fixture("zoneinfo"))) > 0);
    QCOMPARE(parseBackgroundReclaimMark("  low 1\n  protection: (1)\n"), 0u);
  }

  void zramStatistics() {
    const auto real = parseZramStatistics(view(fixture("mm_stat")));
    QVERIFY(real && real->contents == 268439552 && real->pool == 7352320);
    for (const char* bad :
         {"8192 100\n", "8192 100 40", "-1 100 4096 0\n", "1 1 1152921504606846977 0\n", "\xff 2 3\n"})
      QVERIFY2(!parseZramStatistics(bad), bad);
  }

  void swapTrafficCountsEachPageOnce() {
    const auto traffic = [](std::string_view text) { return parseSwapTraffic(text, 4096); };
    const auto pages = [](quint64 out, quint64 in) { return std::optional(SwapTraffic{out * 4096, in * 4096}); };
    QVERIFY(traffic("nr_free 1\npswpin_x 3\npswpin 1\nxpswpout 2\npswpout 2\n") == pages(2, 1));
    QVERIFY(traffic("pswpin 3\npswpout 5\nswpin_zero 20\nswpout_zero 10\nzswpin 200\nzswpout 100\nzswpwb 4\n") ==
            pages(5 + 10 + 96, 3 + 20 + 200));
    // Written back from an earlier time.
    QVERIFY(traffic("pswpin 0\npswpout 9\nzswpout 4\nzswpwb 5\n") == pages(9, 0));
    // Not counted, cut inside a number, beyond any machine.
    for (const char* bad : {"nr_free 1\nzswpin 2\n", "pswpin 3\npswpout 5", "pswpin 3\npswpout 18446744073709551615\n"})
      QVERIFY2(!traffic(bad), bad);
  }

  void swapsTellZramFromOthers() {
    const auto real = parseSwapDevices(view(fixture("swaps")));
    QVERIFY(real && real->usedElsewhere == 0 && real->zramCount == 1 && real->zram()[0] == 0);
    const QByteArray header = "Filename\tType\tSize\tUsed\tPriority\n";
    const auto mixed = parseSwapDevices(view(header + "/dev/zram12 partition 100 50 100\n"
                                                      "/dev/dm-1 partition 1000 7 -2\n"
                                                      "/home/zram3 file 1000 5 -3\n"
                                                      "/a\\040b\\040(deleted) file 1000 1 -4"));
    QVERIFY(mixed && mixed->zramCount == 1 && mixed->zram()[0] == 12);
    QCOMPARE(mixed->usedElsewhere, 13 * kB);
    QVERIFY(parseSwapDevices(view(header)));
    const QByteArray tooMany = header + QByteArray("/dev/zram1 partition 2 1 0\n").repeated(33);
    for (const QByteArray& bad :
         {QByteArray("/dev/sda1 partition 2 1 0\n"), header + "/dev/sda1 partition 2 1\n",
          header + "/dev/sda1 partition 2 3 0\n", header + "/dev/sda1 partition -2 -1 0\n", header + "\n", tooMany,
          header + QByteArray("/s file 1125899906842624 1125899906842624 0\n").repeated(2)})
      QVERIFY2(!parseSwapDevices(view(bad)), bad.constData());
  }

  void pressureNeedsTheWholeLine() {
    QVERIFY(parseMemoryPressure(view(fixture("pressure_memory"))));
    const QByteArray some = "some avg10=99.99 avg60=1.00 avg300=0.00 total=9\n";
    const QByteArray full = "full avg10=18.47 avg60=3.05 avg300=0.60 total=4123456\n";
    const auto busy = parseMemoryPressure(view(some + full));
    QVERIFY(busy && busy->average10 == 1847 && busy->total == std::chrono::microseconds(4123456));
    QCOMPARE(parseMemoryPressure("full avg10=100.00 avg60=100.00 avg300=100.00 total=1\n")->average10, 10000u);
    for (const QByteArray& bad : {some, full.chopped(1), full.left(30), replaced(full, "18.47", "18.4"),
                                  replaced(full, "18.47", "100.01"), replaced(full, "18.47", "-8.47"),
                                  replaced(full, "4123456", "9223372036854775808"), replaced(full, "avg60", "avg99")})
      QVERIFY2(!parseMemoryPressure(view(bad)), bad.constData());
  }

  void processorStatSumsTheKernelsStates() {
    QCOMPARE(processorStat(fixture("stat"), 2).value()[1],
             (ProcessorCounters{18747, 7507 + 145 + 17, 218746 + 1605, 0}));
    const QByteArray text =
        "cpu  1 2 3 4 5 6 7 8 9 10\ncpu0 1 2 3 4 5 6 7 8 9 10\ncpu3 10 20 30 40 50 60 70 80\nintr 1\n";
    QVERIFY2(processorStat(text, 1), "a processor beyond the count is left out");
    for (const QByteArray& bad : {QByteArray("intr 1\n"), replaced(text, "intr 1\n", ""),
                                  replaced(text, " 70 80\n", "\n"), replaced(text, " 40 ", " -40 "),
                                  replaced(text, "cpu0", "cpux"), replaced(text, " 40 ", " 18446744073709551616 ")})
      QVERIFY2(!processorStat(bad, 5), bad.constData());
  }

  void processorListGivesTheHighestNumberPlusOne() {
    QCOMPARE(parseProcessorList("0\n"), std::optional(1u));
    QCOMPARE(parseProcessorList("8-11,0-3\n"), std::optional(12u));
    for (const char* bad : {"", "0-1", "0-\n", "3-1\n", "0,,2\n", "-1\n", "0-65536\n", "0-1 \n", "all\n"})
      QVERIFY2(!parseProcessorList(bad), bad);
  }

  void cutAndMutatedFilesNeverCrash() {
    std::mt19937 random(20240115);
    std::array<ProcessorCounters, 4> counters{};
    for (const char* name : {"meminfo_swap", "zoneinfo", "stat", "swaps", "mm_stat", "pressure_memory"}) {
      const QByteArray original = fixture(name);
      for (int round = 0; round < 2000; ++round) {
        // An own copy, so that an address sanitizer sees a read behind the end.
        QByteArray text = original.left(static_cast<qsizetype>(random() % static_cast<unsigned>(original.size() + 1)));
        for (unsigned change = random() % 8; change > 0 && !text.isEmpty(); --change)
          text[static_cast<qsizetype>(random() % static_cast<unsigned>(text.size()))] = static_cast<char>(random());
        (void)parseMemoryInfo(view(text));
        (void)parseProcessorFreePages(view(text));
        (void)parseBackgroundReclaimMark(view(text));
        (void)parseZramStatistics(view(text));
        (void)parseSwapDevices(view(text));
        (void)parseMemoryPressure(view(text));
        (void)parseProcessorStat(view(text), counters);
        (void)parseProcessorList(view(text));
      }
    }
  }

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
    machine.folder.write("meminfo", "MemTotal: 5 kB\n");
    QCOMPARE(machine.host.hostStatistics64(record, words), EBADMSG);
    machine.folder.write("meminfo", "");
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
    machine.folder.write("block/zram0/mm_stat", "");
    QVERIFY(QDir(machine.folder.path("block/zram0")).removeRecursively());
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
    for (int round = 1; round < 30; ++round) {
      if (!machine.host.isUnmoved()) QCOMPARE(machine.reading()->wire_count, wired + 2 * mebibyte + 2560);
    }
    QCOMPARE(machine.reading()->wire_count, wired + 2 * mebibyte);
  }

  void swapUsageTellsCompressedFromMoved() {
    Machine machine;
    QVERIFY(!machine.host.swapUsage());
    machine.writeMeminfo();
    QCOMPARE(machine.host.swapUsage()->compressedBytes, 0u);
    machine.writeMeminfo({{"SwapTotal", 3000}, {"SwapFree", 2300}, {"SwapCached", 25}, {"Zswapped", 40}});
    QVERIFY2(!machine.host.swapUsage(), "no list of swap areas");
    machine.folder.write("swaps",
                         "Filename Type Size Used Priority\n/dev/zram0 partition 1024000 512000 100\n"
                         "/dev/sda2 partition 2048000 102400 -2\n");
    QVERIFY2(!machine.host.swapUsage(), "no statistics of the device");
    machine.writeZram("zram0", 480, 100);
    machine.writeZram("zram1", 77, 77);
    QCOMPARE(machine.host.swapUsage()->compressedBytes, (480 + 40) * kMiB);
    QCOMPARE(machine.host.swapUsage()->swappedToDiskBytes, (100 - 40) * kMiB);
    QCOMPARE(machine.host.swapUsage()->awayBytes, (3000 - 2300 - 25) * kMiB);
    QVERIFY(!machine.host.swapUsage()->traffic);
    machine.folder.write("vmstat", QByteArray(9000, 'x') + " 1\npswpin 3\npswpout 5\nswpout_zero 2\n");
    const auto page = static_cast<ByteCount>(::sysconf(_SC_PAGESIZE));
    QVERIFY(machine.host.swapUsage()->traffic == std::optional(SwapTraffic{7 * page, 3 * page}));
  }

  void processorCountersNeverGoBack() {
    Machine machine;
    const auto stat = [&](const QByteArray& processors) {
      machine.folder.write("stat", "cpu  0 0 0 0 0 0 0 0 0 0\n" + processors + "intr 0\n");
    };
    machine.folder.write("devices/system/cpu/present", "0-2\n");
    LinuxProcessorTicks ticks(machine.root(), machine.root());
    QCOMPARE(ticks.processorCount(), std::optional(3u));
    QVERIFY(!ticks.processorLoad());
    stat("cpu0 10 1 5 100 20 6 7 8 0 0\ncpu2 4294967299 0 0 7 0 0 0 0 0 0\n");
    const auto first = ticks.processorLoad().value();
    QCOMPARE(first[0], (ProcessorLoad{10, 5 + 6 + 7 + 8, 120, 1}));
    QVERIFY2(first[1] == ProcessorLoad{}, "offline since the start");
    QVERIFY2((first[2] == ProcessorLoad{3, 0, 7, 0}), "wraps at 32 bits");
    // iowait went back, and processor 2 went offline.
    stat("cpu0 11 1 5 100 18 6 7 8 0 0\n");
    const auto second = ticks.processorLoad().value();
    QCOMPARE(second[0], (ProcessorLoad{11, 5 + 6 + 7 + 8, 120, 1}));
    QCOMPARE(second[2], first[2]);
    stat("cpu0 broken\n");
    QVERIFY(!ticks.processorLoad());
    QVERIFY(!LinuxProcessorTicks(machine.root(), machine.root() + "/nowhere").processorCount());
  }

  void nothingHasMovedWhileAllLevelsAreTheSameAndNotForEver() {
    std::optional<MemoryLevels> levels;
    LinuxHostStatistics host("/nowhere", "/nowhere", [&levels] { return levels; });
    QVERIFY(!host.isUnmoved() && !host.isUnmoved());
    levels = MemoryLevels{7, 6, 5, 4, 3, 2, 1};
    QVERIFY(!host.isUnmoved());
    for (const auto level : {&MemoryLevels::total, &MemoryLevels::free, &MemoryLevels::shared, &MemoryLevels::buffers,
                             &MemoryLevels::swapTotal, &MemoryLevels::swapFree, &MemoryLevels::threads}) {
      QVERIFY(host.isUnmoved());
      ++((*levels).*level);
      QVERIFY(!host.isUnmoved());
    }
    for (int time = 0; time < LinuxHostStatistics::kMostUnmoved; ++time)
      QVERIFY(host.isUnmoved());
    QVERIFY(!host.isUnmoved());
    QVERIFY(host.isUnmoved());
  }

  void thisMachineIsReadable() {
    const LinuxHostStatistics host;
    QVERIFY(host.swapUsage() && host.swapUsage()->traffic);
    const auto levels = currentMemoryLevels();
    QVERIFY(levels && levels->free > 0 && levels->free < levels->total && levels->swapFree <= levels->swapTotal);
    QCOMPARE(LinuxProcessorTicks().processorCount(),
             std::optional(static_cast<std::uint32_t>(::sysconf(_SC_NPROCESSORS_CONF))));
    if (QFile::exists(QStringLiteral("/proc/pressure/memory"))) QVERIFY(MemoryPressureReader().read());
    QVERIFY(!MemoryPressureReader("/nowhere").read());
  }
};

QTEST_APPLESS_MAIN(TestProcfs)
#include "test_procfs.moc"
