#include <QtTest>

#include "core/macos_version.h"
#include "memory/memory_snapshot.h"
#include "memory/memory_status.h"
#include "platform/fake/fake_host_statistics.h"

using namespace halvard;

class TestMemorySnapshot : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void figuresAreDerivedFromTheCounters() {
    FakeHostStatistics host;
    host.setPhysicalMemory(4096 * 1000 + 4095);
    VmStatistics64 counters;
    counters.internal_page_count = 500;
    counters.purgeable_count = 100;
    counters.wire_count = 50;
    counters.compressor_page_count = 25;
    counters.active_count = 100000;
    counters.inactive_count = 100000;
    host.setStatistics64(counters);
    const MacOSVersion version;
    MemorySnapshot snapshot(host, version);
    snapshot.initValues();
    QCOMPARE(snapshot.calculateUsedPages(), 0u);
    QCOMPARE(snapshot.updateMemoryStatictics(), HostStatistics::kSuccess);
    QCOMPARE(host.lastWordCount(), 38u);
    QCOMPARE(snapshot.calculateTotalPages(), 1000u);
    QCOMPARE(snapshot.calculateUsedPages(), 475u);
    QCOMPARE(snapshot.calculateFreePages(), 525u);
    QCOMPARE(snapshot.calculateFreeSize(), 525u * 4096u);
    QCOMPARE(snapshot.usedFraction(), 0.475);
  }

  void impossibleCountersNeverWrapAround() {
    FakeHostStatistics host;
    host.setPhysicalMemory(4096 * 10);
    VmStatistics64 counters;
    counters.internal_page_count = 1;
    counters.purgeable_count = 2;
    counters.wire_count = 11;
    host.setStatistics64(counters);
    const MacOSVersion version;
    MemorySnapshot snapshot(host, version);
    snapshot.updateMemoryStatictics();
    QCOMPARE(snapshot.calculateUsedPages(), 11u);
    QCOMPARE(snapshot.calculateFreePages(), 0u);
  }

  void failedRefreshKeepsTheReading() {
    FakeHostStatistics host;
    VmStatistics64 counters;
    counters.wire_count = 7;
    host.setStatistics64(counters);
    const MacOSVersion version;
    MemorySnapshot snapshot(host, version);
    snapshot.updateMemoryStatictics();
    counters.wire_count = 8;
    host.setStatistics64(counters);
    host.setKernelReturn(5);
    QCOMPARE(snapshot.updateMemoryStatictics(), 5);
    QCOMPARE(snapshot.calculateUsedPages(), 7u);
  }

  void pageSizeFallsBackWithAMessage() {
    FakeHostStatistics host;
    const MacOSVersion version;
    for (const std::optional<std::uint32_t> bad : {std::optional<std::uint32_t>(), std::optional<std::uint32_t>(0)}) {
      host.setPageSize(bad);
      MemorySnapshot snapshot(host, version);
      snapshot.initValues();
      QCOMPARE(snapshot.pageSize(), 4096u);
    }
    host.setPageSize(16384);
    MemorySnapshot snapshot(host, version);
    snapshot.initValues();
    QCOMPARE(snapshot.pageSize(), 16384u);
  }

  void versionsBefore109ReadTheLegacyRecordAndShowNothingUsed() {
    FakeHostStatistics host;
    VmStatistics64 counters;
    counters.wire_count = 7;
    host.setStatistics64(counters);
    const MacOSVersion version(QStringLiteral("10.8.5"));
    MemorySnapshot snapshot(host, version);
    QCOMPARE(snapshot.updateMemoryStatictics(), HostStatistics::kSuccess);
    QCOMPARE(host.lastWordCount(), 15u);
    QCOMPARE(snapshot.calculateUsedPages(), 0u);
  }

  void statusRecordHoldsEveryKey() {
    FakeHostStatistics host;
    VmStatistics64 counters;
    counters.internal_page_count = 20;
    counters.purgeable_count = 5;
    counters.wire_count = 3;
    counters.compressor_page_count = 2;
    host.setStatistics64(counters);
    const MacOSVersion version;
    MemorySnapshot snapshot(host, version);
    snapshot.updateMemoryStatictics();
    const QJsonObject status = memoryStatus(snapshot, {0.25, true, 11, 22});
    const QJsonObject expected{{QStringLiteral("pageSize"), 4096},
                               {QStringLiteral("physicalBytes"), qint64{4} << 30},
                               {QStringLiteral("internalPages"), 20},
                               {QStringLiteral("purgeablePages"), 5},
                               {QStringLiteral("wiredPages"), 3},
                               {QStringLiteral("compressorPages"), 2},
                               {QStringLiteral("usedPages"), 20},
                               {QStringLiteral("totalPages"), 1 << 20},
                               {QStringLiteral("usedFraction"), 20.0 / (1 << 20)},
                               {QStringLiteral("freeBytes"), (qint64{1} << 32) - 20 * 4096},
                               {QStringLiteral("cpuUsage"), 0.25},
                               {QStringLiteral("purging"), true},
                               {QStringLiteral("lastPurgedBytes"), 11},
                               {QStringLiteral("cleanedBytes"), 22}};
    QCOMPARE(status, expected);
  }
};

QTEST_GUILESS_MAIN(TestMemorySnapshot)
#include "test_memory_snapshot.moc"
