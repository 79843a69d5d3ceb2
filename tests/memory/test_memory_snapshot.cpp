#include <QJsonDocument>
#include <QtTest>

#include "core/macos_version.h"
#include "memory/memory_snapshot.h"
#include "memory/memory_status.h"
#include "platform/fake/fake_host_statistics.h"

using namespace halvard;

namespace {

struct Machine {
  explicit Machine(const VmStatistics64& counters = {}) { host.setStatistics64(counters); }
  FakeHostStatistics host;
  MacOSVersion version;
  MemorySnapshot snapshot{host, version};
};

}  // namespace

class TestMemorySnapshot : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void figuresAreDerivedFromTheCountersAndToldByTheirKeys() {
    Machine machine({.active_count = 100000,
                     .inactive_count = 100000,
                     .wire_count = 50,
                     .purgeable_count = 100,
                     .compressor_page_count = 25,
                     .internal_page_count = 500});
    machine.host.setPhysicalMemory(4096 * 1000 + 4095);
    machine.snapshot.initValues();
    QCOMPARE(machine.snapshot.calculateUsedPages(), 0u);
    QCOMPARE(machine.snapshot.updateMemoryStatictics(), HostStatistics::kSuccess);
    QCOMPARE(machine.host.lastWordCount(), 38u);
    QCOMPARE(QJsonDocument(memoryStatus(machine.snapshot, {0.25, true, 11, 22})).toJson(QJsonDocument::Compact),
             QByteArray(R"({"cleanedBytes":22,"compressorPages":25,"cpuUsage":0.25,"freeBytes":2150400,)"
                        R"("internalPages":500,"lastPurgedBytes":11,"pageSize":4096,"physicalBytes":4100095,)"
                        R"("purgeablePages":100,"purging":true,"totalPages":1000,"usedFraction":0.475,)"
                        R"("usedPages":475,"wiredPages":50})"));
  }

  void impossibleCountersNeverWrapAroundAndAFailedReadingKeepsThem() {
    Machine machine({.wire_count = 11, .purgeable_count = 2, .internal_page_count = 1});
    machine.host.setPhysicalMemory(4096 * 10);
    QCOMPARE(machine.snapshot.updateMemoryStatictics(), HostStatistics::kSuccess);
    machine.host.setStatistics64({.wire_count = 8});
    machine.host.setKernelReturn(5);
    QCOMPARE(machine.snapshot.updateMemoryStatictics(), 5);
    QCOMPARE(machine.snapshot.calculateUsedPages(), 11u);
    QCOMPARE(machine.snapshot.calculateFreePages(), 0u);
  }

  void pageSizeFallsBack() {
    Machine machine;
    const std::pair<std::optional<std::uint32_t>, ByteCount> cases[] = {{{}, 4096}, {0, 4096}, {16384, 16384}};
    for (const auto& [told, size] : cases) {
      machine.host.setPageSize(told);
      machine.snapshot.initValues();
      QCOMPARE(machine.snapshot.pageSize(), size);
    }
  }
};

QTEST_GUILESS_MAIN(TestMemorySnapshot)
#include "test_memory_snapshot.moc"
