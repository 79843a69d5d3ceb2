#include <QtTest>

#include "memory/controller_parts.h"
#include "memory/purge_journal.h"
#include "memory/purge_record.h"
#include "preferences/stored_keys.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

constexpr ByteCount kMiB = 1 << 20;

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

/// A controller on a made-up machine, and its journal.
struct Program : ControllerParts {
  Program() {
    managerHost.setPhysicalMemory(2 * PurgeManager::kAllocationBlockSize);
    controller.initValues();
    QObject::connect(&journal, &PurgeJournal::recorded, [this](const PurgeReport& report) { recorded << report; });
    QObject::connect(&journal, &PurgeJournal::rechecked, [this](const PurgeReport& report) { rechecked << report; });
  }
  void setUsed(ByteCount used, const SwapUsage& usage) {
    VmStatistics64 counters;
    counters.internal_page_count = used * kMiB / 4096;
    host.setStatistics64(counters);
    host.setSwapUsage(usage);
  }
  void purge(ByteCount usedAfter, const SwapUsage& usage) {
    const qsizetype before = recorded.size();
    controller.onFreeMemory(ZPPurgeController::Sender::None);
    setUsed(usedAfter, usage);
    QTRY_COMPARE(recorded.size(), before + 1);
  }
  QJsonObject latest() { return PurgeHistory(store).records().last().toObject(); }

  PurgeControllerView view;
  ZPPurgeController controller{{host,
                                manager,
                                preferences,
                                defaults,
                                clock,
                                notifications,
                                userNotifications,
                                cpu,
                                watch,
                                script,
                                version,
                                {},
                                {}},
                               view};
  PurgeJournal journal{controller, host, version, store, clock};
  QList<PurgeReport> recorded;
  QList<PurgeReport> rechecked;
};

}  // namespace

class TestPurgeLedger : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void ledgerBalances_data() {
    QTest::addColumn<LedgerReading>("before");
    QTest::addColumn<LedgerReading>("after");
    QTest::addColumn<QList<qint64>>("figures");  // gained, freed, compressed, into, disk, given back, kernel, out
    const auto at = [](ByteCount application, ByteCount compressor, const SwapUsage& usage) {
      return reading(application, 100, compressor, usage);
    };
    QTest::newRow("compressed") << at(1000, 10, swap(50, 0, 60, 500, 7)) << at(400, 160, swap(640, 0, 660, 1100, 9))
                                << QList<qint64>{450, 450, 590, 150, 0, 0, 0, 600};
    QTest::newRow("to the disk, while applications gave back")
        << at(1000, 0, swap(0, 5, 5, 0, 0)) << at(600, 0, swap(0, 305, 305, 300, 0))
        << QList<qint64>{400, 400, 0, 0, 300, 100, 0, 300};
    QTest::newRow("an application with swapped memory ended")
        << at(1000, 80, swap(400, 0, 400, 0, 0)) << at(900, 20, swap(100, 0, 100, 0, 0))
        << QList<qint64>{160, 160, -300, -60, 0, 400, 0, 0};
    QTest::newRow("applications took more than was paged out")
        << at(1000, 0, swap(0, 0, 0, 0, 0)) << at(1100, 30, swap(100, 0, 100, 100, 0))
        << QList<qint64>{-130, 0, 100, 30, 0, -200, 0, 100};
    QTest::newRow("the kernel took it") << reading(1000, 100, 0, swap(0, 0, 0, 0, 0))
                                        << reading(900, 250, 0, swap(0, 100, 100, 100, 0))
                                        << QList<qint64>{-50, 0, 0, 0, 100, 0, 150, 100};
  }
  void ledgerBalances() {
    QFETCH(LedgerReading, before);
    QFETCH(LedgerReading, after);
    const PurgeReport report = ledgerOf(before, after);
    QVERIFY(report.swap && report.swap->pagedOutBytes);
    const SwapLedger& swap = *report.swap;
    const QList<qint64> figures{mebibytes(report.gainedBytes),      static_cast<qint64>(report.freedBytes / kMiB),
                                mebibytes(swap.compressedBytes),    mebibytes(swap.compressedIntoBytes),
                                mebibytes(swap.swappedToDiskBytes), mebibytes(swap.givenBackBytes),
                                mebibytes(report.kernelBytes),      mebibytes(*swap.pagedOutBytes)};
    QTEST(figures, "figures");
    const auto away = static_cast<std::int64_t>(after.swap->awayBytes - before.swap->awayBytes);
    QCOMPARE(report.gainedBytes, away + swap.givenBackBytes - swap.compressedIntoBytes - report.kernelBytes);
  }

  void whatTheMachineDoesNotTellIsLeftOut() {
    const LedgerReading silent = reading(10, 0, 0, std::nullopt);
    SwapUsage uncounted = swap(1, 2, 3, 0, 0);
    uncounted.traffic.reset();
    const LedgerReading without = reading(10, 0, 0, uncounted);
    QVERIFY(!ledgerOf(silent, without).swap && !ledgerOf(without, silent).swap);
    QVERIFY(ledgerOf(without, without).swap && !ledgerOf(without, without).swap->pagedOutBytes);
    PurgeReport report = ledgerOf(silent, silent);
    report.recheck = recheckOf(report, silent, silent);
    const QJsonObject record = purgeRecord(report);
    for (const char* key :
         {"compressedBytes", "swappedToDiskBytes", "givenBackBytes", "pagedOutBytes", "cameBackBytes"})
      QVERIFY2(!record.contains(QLatin1String(key)), key);
    QCOMPARE(record.value(QLatin1String("stillFreeBytes")).toInteger(), 0);
  }

  void theSecondLookComesAMinuteLater() {
    Program program;
    program.memory.nextOutcome = {ReclaimMethod::PageOut, 600 * kMiB, QStringLiteral("it does this")};
    program.setUsed(2000, swap(0, 0, 0, 10, 0));
    program.purge(1500, swap(500, 0, 500, 510, 0));
    QCOMPARE(program.latest().value(QLatin1String("method")).toString(), QStringLiteral("page-out"));
    QCOMPARE(program.latest().value(QLatin1String("strategy")).toString(),
             QStringLiteral("By page-out: it does this."));
    QVERIFY(!program.latest().contains(QLatin1String("stillFreeBytes")));
    program.setUsed(1600, swap(400, 0, 400, 530, 120));
    program.clock.advance(PurgeJournal::kRecheckDelay - 1ms);
    QVERIFY(program.rechecked.isEmpty());
    program.clock.advance(1ms);
    QCOMPARE(program.rechecked.size(), 1);
    const QJsonObject record = program.latest();
    QCOMPARE(record, purgeRecord(program.rechecked[0]));
    QCOMPARE(mebibytes(record.value(QLatin1String("gainedBytes")).toInteger()), 500);
    QCOMPARE(mebibytes(record.value(QLatin1String("stillFreeBytes")).toInteger()), 400);
    QCOMPARE(mebibytes(record.value(QLatin1String("cameBackBytes")).toInteger()), 120);
    QCOMPARE(record.value(QLatin1String("recheckSeconds")).toDouble(), 60.0);
    QCOMPARE(PurgeHistory(program.store).records().size(), 1);
  }

  void aPurgeMeanwhileDropsTheSecondLook() {
    Program program;
    program.memory.nextOutcome.method = ReclaimMethod::PageOut;
    program.setUsed(2000, {});
    program.purge(1500, {});
    program.clock.advance(30s);
    program.purge(1400, {});
    program.setUsed(2500, {});
    program.clock.advance(59s);
    QVERIFY(program.rechecked.isEmpty());
    program.clock.advance(1s);
    const QJsonArray records = PurgeHistory(program.store).records();
    QCOMPARE(records.size(), 2);
    QVERIFY(!records[0].toObject().contains(QLatin1String("stillFreeBytes")));
    QCOMPARE(mebibytes(records[1].toObject().value(QLatin1String("stillFreeBytes")).toInteger()), -1000);
    program.purge(1400, {});
    program.host.setKernelReturn(5);  // nothing can be said then
    program.clock.advance(60s);
    QCOMPARE(program.rechecked.size(), 1);
  }

  void historyIsBoundedAndFruitlessAttemptsShareALine() {
    FakeDefaultsStore store;
    PurgeHistory history(store);
    QCOMPARE(history.records(), QJsonArray());
    const auto record = [](int time, ReclaimMethod method, int gained = 0) {
      return QJsonObject{{QStringLiteral("time"), QString::number(time)},
                         {QStringLiteral("method"), methodName(method)},
                         {QStringLiteral("gainedBytes"), gained}};
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

  void whatIsNoHistoryCountsAsNothing_data() {
    QTest::addColumn<QString>("stored");
    QTest::addColumn<int>("count");
    QTest::newRow("empty") << QString() << 0;
    QTest::newRow("cut off") << QStringLiteral("[{\"time\":\"1\"},{\"ti") << 0;
    QTest::newRow("an object") << QStringLiteral("{}") << 0;
    QTest::newRow("strangers in it") << QStringLiteral("[1,{\"time\":\"1\"},null]") << 1;
  }
  void whatIsNoHistoryCountsAsNothing() {
    QFETCH(QString, stored);
    FakeDefaultsStore store;
    store.setObject(stored_keys::cleaningHistory, {stored});
    QTEST(static_cast<int>(PurgeHistory(store).records().size()), "count");
  }
};

QTEST_GUILESS_MAIN(TestPurgeLedger)
#include "test_purge_ledger.moc"
