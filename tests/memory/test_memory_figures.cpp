#include <QJsonDocument>
#include <QtTest>

#include "memory/controller_parts.h"
#include "memory/memory_status.h"
#include "memory/purge_journal.h"
#include "memory/purge_record.h"
#include "preferences/stored_keys.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

constexpr ByteCount kMiB = 1 << 20;

struct Machine {
  explicit Machine(const VmStatistics64& counters = {}) { host.setStatistics64(counters); }
  FakeHostStatistics host;
  MacOSVersion version;
  MemorySnapshot snapshot{host, version};
};

LedgerReading reading(ByteCount application, ByteCount wired, ByteCount compressor, std::optional<SwapUsage> swap) {
  return {{}, (application + wired + compressor) * kMiB, application * kMiB, wired * kMiB, compressor * kMiB, swap};
}

/// In MiB.
SwapUsage swap(ByteCount compressed, ByteCount disk, ByteCount away, ByteCount out, ByteCount in) {
  return {compressed * kMiB, disk * kMiB, away * kMiB, SwapTraffic{out * kMiB, in * kMiB}};
}

qint64 mebibytes(std::int64_t bytes) {
  return bytes / static_cast<std::int64_t>(kMiB);
}
qint64 mebibytes(const QJsonValue& record, const char* key) {
  return mebibytes(record.toObject().value(QLatin1String(key)).toInteger());
}

/// A controller on a made-up machine, and its journal.
struct Program : ControllerParts {
  Program() { controller.initValues(); }
  void set(ByteCount usedMebibytes, const SwapUsage& usage = {}) {
    setUsed(usedMebibytes * kMiB);
    host.setSwapUsage(usage);
  }
  void purge(ByteCount usedAfter, const SwapUsage& usage = {}) {
    QSignalSpy recorded(&journal, &PurgeJournal::recorded);
    controller.onFreeMemory(ZPPurgeController::Sender::None);
    set(usedAfter, usage);
    QTRY_COMPARE(recorded.size(), 1);
  }
  QJsonObject latest() { return PurgeHistory(store).records().last().toObject(); }

  PurgeControllerView view;
  ZPPurgeController controller{services(), view};
  bool isAlone = true;
  PurgeJournal journal{controller, host, version, store, clock, [this] { return isAlone; }};
  QSignalSpy rechecked{&journal, &PurgeJournal::rechecked};
};

}  // namespace

class TestMemoryFigures : public QObject {
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

  void ledgerBalances() {
    const struct {
      LedgerReading before, after;
      QList<qint64> figures;  // gained, freed, compressed, into, disk, given back, kernel, out
    } cases[] = {
        // Compressed.
        {reading(1000, 100, 10, swap(50, 0, 60, 500, 7)),
         reading(400, 100, 160, swap(640, 0, 660, 1100, 9)),
         {450, 450, 590, 150, 0, 0, 0, 600}},
        // To the disk, while applications gave back.
        {reading(1000, 100, 0, swap(0, 5, 5, 0, 0)),
         reading(600, 100, 0, swap(0, 305, 305, 300, 0)),
         {400, 400, 0, 0, 300, 100, 0, 300}},
        // An application with swapped memory ended.
        {reading(1000, 100, 80, swap(400, 0, 400, 0, 0)),
         reading(900, 100, 20, swap(100, 0, 100, 0, 0)),
         {160, 160, -300, -60, 0, 400, 0, 0}},
        // Applications and the kernel took more than was paged out.
        {reading(1000, 100, 0, swap(0, 0, 0, 0, 0)),
         reading(1100, 250, 30, swap(100, 0, 100, 100, 0)),
         {-280, 0, 100, 30, 0, -200, 150, 100}},
    };
    for (const auto& [before, after, figures] : cases) {
      const PurgeReport report = ledgerOf(before, after);
      QVERIFY(report.swap && report.swap->pagedOutBytes);
      const SwapLedger& swap = *report.swap;
      QCOMPARE((QList<qint64>{mebibytes(report.gainedBytes), static_cast<qint64>(report.freedBytes / kMiB),
                              mebibytes(swap.compressedBytes), mebibytes(swap.compressedIntoBytes),
                              mebibytes(swap.swappedToDiskBytes), mebibytes(swap.givenBackBytes),
                              mebibytes(report.kernelBytes), mebibytes(*swap.pagedOutBytes)}),
               figures);
      const auto away = static_cast<std::int64_t>(after.swap->awayBytes - before.swap->awayBytes);
      QCOMPARE(report.gainedBytes, away + swap.givenBackBytes - swap.compressedIntoBytes - report.kernelBytes);
    }
  }

  void whatTheMachineDoesNotTellIsLeftOut() {
    const LedgerReading silent = reading(10, 0, 0, std::nullopt);
    const LedgerReading uncounted = reading(10, 0, 0, SwapUsage{1, 2, 3});
    QVERIFY(!ledgerOf(silent, uncounted).swap && !ledgerOf(uncounted, silent).swap);
    QVERIFY(ledgerOf(uncounted, uncounted).swap && !ledgerOf(uncounted, uncounted).swap->pagedOutBytes);
    PurgeReport report = ledgerOf(silent, silent);
    report.recheck = recheckOf(report, silent, silent);
    const QJsonObject record = purgeRecord(report);
    for (const char* key :
         {"compressedBytes", "swappedToDiskBytes", "givenBackBytes", "pagedOutBytes", "cameBackBytes"})
      QVERIFY2(!record.contains(QLatin1String(key)), key);
    QVERIFY(record.contains(QLatin1String("stillFreeBytes")));
  }

  void theSecondLookComesAMinuteLater() {
    Program program;
    program.memory.nextOutcome = {ReclaimMethod::PageOut, 600 * kMiB, text("it does this")};
    program.set(2000, swap(0, 0, 0, 10, 0));
    program.purge(1500, swap(500, 0, 500, 510, 0));
    QCOMPARE(program.latest().value(QLatin1String("method")).toString(), text("page-out"));
    QCOMPARE(program.latest().value(QLatin1String("strategy")).toString(), text("By page-out: it does this."));
    QVERIFY(!program.latest().contains(QLatin1String("stillFreeBytes")));
    program.set(1600, swap(400, 0, 400, 530, 120));
    program.clock.advance(PurgeJournal::kRecheckDelay - 1ms);
    QVERIFY(program.rechecked.isEmpty());
    program.clock.advance(1ms);
    QCOMPARE(program.rechecked.size(), 1);
    const QJsonObject record = program.latest();
    QCOMPARE(record, purgeRecord(program.rechecked[0][0].value<PurgeReport>()));
    QCOMPARE(mebibytes(record, "gainedBytes"), 500);
    QCOMPARE(mebibytes(record, "compressedBytes"), 500);
    QCOMPARE(mebibytes(record, "pagedOutBytes"), 500);
    QCOMPARE(mebibytes(record, "stillFreeBytes"), 400);
    QCOMPARE(mebibytes(record, "cameBackBytes"), 120);
    QCOMPARE(record.value(QLatin1String("recheckSeconds")).toDouble(), 60.0);
    QCOMPARE(PurgeHistory(program.store).records().size(), 1);
  }

  void aPurgeMeanwhileDropsTheSecondLook() {
    Program program;
    program.memory.nextOutcome.method = ReclaimMethod::PageOut;
    program.set(2000);
    program.purge(1500);
    program.clock.advance(30s);
    program.purge(1400);
    program.set(2500);
    program.clock.advance(59s);
    QVERIFY(program.rechecked.isEmpty());
    program.clock.advance(1s);
    const QJsonArray records = PurgeHistory(program.store).records();
    QCOMPARE(records.size(), 2);
    QVERIFY(!records[0].toObject().contains(QLatin1String("stillFreeBytes")));
    QCOMPARE(mebibytes(records[1], "stillFreeBytes"), -1000);
    program.purge(1400);
    program.isAlone = false;
    program.clock.advance(60s);
    QCOMPARE(program.rechecked.size(), 1);
    program.isAlone = true;
    program.purge(1400);
    program.host.setKernelReturn(5);  // nothing can be said then
    program.clock.advance(60s);
    QCOMPARE(program.rechecked.size(), 1);
  }

  void historyIsBoundedAndFruitlessAttemptsShareALine() {
    FakeDefaultsStore store;
    PurgeHistory history(store);
    const auto record = [](int time, ReclaimMethod method, int gained = 0) {
      return QJsonObject{
          {text("time"), QString::number(time)}, {text("method"), methodName(method)}, {text("gainedBytes"), gained}};
    };
    for (int time = 0; time < PurgeHistory::kMost + 5; ++time)
      history.put(record(time, ReclaimMethod::Fill));
    QCOMPARE(history.records().size(), PurgeHistory::kMost);
    QCOMPARE(history.records().first().toObject(), record(5, ReclaimMethod::Fill));
    for (int time = 100; time < 110; ++time)
      history.put(record(time, ReclaimMethod::None));
    QCOMPARE(history.records().last().toObject(), record(109, ReclaimMethod::None));
    QCOMPARE(history.records().at(PurgeHistory::kMost - 2).toObject(), record(54, ReclaimMethod::Fill));
    history.put(record(110, ReclaimMethod::None, 7));  // somebody gave something back
    QCOMPARE(history.records().at(PurgeHistory::kMost - 2).toObject(), record(109, ReclaimMethod::None));
  }

  void whatIsNoHistoryCountsAsNothing() {
    FakeDefaultsStore store;
    for (const char* stored : {"", "[{\"time\":\"1\"},{\"ti", "{}", "[1,{\"time\":\"1\"},null]"}) {
      store.setObject(stored_keys::cleaningHistory, {QString::fromLatin1(stored)});
      QCOMPARE(PurgeHistory(store).records().size(), QByteArray(stored).endsWith(']') ? 1 : 0);
    }
  }
};

QTEST_GUILESS_MAIN(TestMemoryFigures)
#include "test_memory_figures.moc"
