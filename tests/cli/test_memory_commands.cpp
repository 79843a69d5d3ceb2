#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

#include "cli/memory_commands.h"
#include "memory/purge_history.h"
#include "memory/purge_record.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_host_statistics.h"
#include "platform/fake/fake_processor_ticks.h"
#include "platform/fake/fake_purgeable_memory.h"
#include "platform/linux/control/dbus_control_client.h"
#include "platform/linux/control/dbus_control_server.h"
#include "platform/ports/process_information.h"
#include "platform/ports/script_runner.h"
#include "support/captured_output.h"
#include "support/private_bus.h"

using namespace halvard;
using namespace std::chrono_literals;
using halvard::test::CapturedOutput;
using halvard::test::PrivateBus;

namespace {

struct NoScripts : ScriptRunner {
  bool run(const QString&) override { return false; }
};

struct NoProcesses : ProcessInformation {
  std::optional<QByteArray> processStatus(const QStringList&) override { return std::nullopt; }
  std::optional<TaskTimes> taskTimes(std::int32_t) override { return std::nullopt; }
};

struct Machine {
  Machine() {
    VmStatistics64 counters;
    counters.internal_page_count = 1000;
    host.setStatistics64(counters);
    purgeHost.setPhysicalMemory(2 * PurgeManager::kAllocationBlockSize);
  }
  /// Lets the next purge see free memory rise at once, so that it does not wait for it.
  void letFreeMemoryRise() {
    VmStatistics64 taken;
    taken.active_count = 1000;
    purgeHost.queueStatistics64(taken);
    purgeHost.queueStatistics64({});
  }
  CliServices services() {
    return {host, purgeHost, ticks, processes, memory, store, scripts, clock, QStringLiteral("1.0")};
  }
  FakeHostStatistics host;
  FakeHostStatistics purgeHost;
  FakeProcessorTicks ticks;
  NoProcesses processes;
  FakePurgeableMemory memory;
  FakeDefaultsStore store;
  NoScripts scripts;
  SystemClock clock;
};

/// A running program that answers with fixed records.
struct Program : ControlHandler {
  QJsonObject status() override { return {{QStringLiteral("pageSize"), 12345}, {QStringLiteral("usedFraction"), 0.5}}; }
  bool startCleaning() override {
    ++cleanings;
    return !busy;
  }
  void showPanel() override { ++shows; }
  QMap<QString, QString> preferences() override { return {}; }
  Result<void> setPreference(const QString&, const QString&) override { return {}; }
  bool busy = false;
  int cleanings = 0;
  int shows = 0;
};

QJsonObject parsed(const CapturedOutput& captured) {
  return QJsonDocument::fromJson(captured.out().toUtf8()).object();
}

}  // namespace

class TestMemoryCommands : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void initTestCase() {
    if (!m_bus.isRunning()) QSKIP("no dbus-daemon on this machine");
  }

  void withoutAProgramTheWorkIsDoneHere() {
    Machine machine;
    DBusControlClient nobody(m_bus.connect());
    QVERIFY(!nobody.isProgramRunning());
    {
      CapturedOutput captured;
      MemoryCommands commands(machine.services(), nobody, captured.output(), false);
      QCOMPARE(commands.runStatus({QStringLiteral("--json")}), 0);
      QCOMPARE(parsed(captured).value(QStringLiteral("usedPages")).toInt(), 1000);
      QCOMPARE(parsed(captured).size(), 14);
    }
    {
      CapturedOutput captured;
      MemoryCommands commands(machine.services(), nobody, captured.output(), true);
      VmStatistics64 after;
      after.internal_page_count = 900;
      machine.memory.onOperation = [&machine, after](const std::string& operation) {
        if (operation == "discard") machine.host.setStatistics64(after);
      };
      machine.letFreeMemoryRise();
      QCOMPARE(commands.runClean({QStringLiteral("--json")}), 0);
      QCOMPARE(parsed(captured).value(QStringLiteral("freedBytes")).toInt(), 100 * 4096);
      QVERIFY(captured.err().contains(QStringLiteral("100%")));
      QCOMPARE(machine.memory.sessionsOpened(), 1);
    }
    {  // Nothing gained is no failure.
      CapturedOutput captured;
      MemoryCommands commands(machine.services(), nobody, captured.output(), false);
      machine.letFreeMemoryRise();
      QCOMPARE(commands.runClean({}), 0);
      QVERIFY(captured.out().startsWith(QStringLiteral("Nothing could be freed")));
      QCOMPARE(captured.err(), QString());
    }
    machine.host.setKernelReturn(5);
    CapturedOutput captured;
    MemoryCommands commands(machine.services(), nobody, captured.output(), false);
    QCOMPARE(commands.runStatus({}), 1);
    QCOMPARE(commands.runClean({}), 1);
    QCOMPARE(captured.err().count(u'\n'), 2);
  }

  void aDryRunTellsAndChangesNothing() {
    Machine machine;
    DBusControlClient nobody(m_bus.connect());
    machine.memory.nextForecast.explanation = QStringLiteral("there is no swap to page out to");
    {
      CapturedOutput captured;
      MemoryCommands commands(machine.services(), nobody, captured.output(), false);
      QCOMPARE(commands.runClean({QStringLiteral("--dry-run")}), 0);
      QCOMPARE(captured.out(), QStringLiteral("Nothing useful to free: there is no swap to page out to.\n"));
    }
    machine.memory.nextForecast = {ReclaimMethod::PageOut,
                                   {{QStringLiteral("Browser"), 7, 3, 600 << 20}, {QStringLiteral("mail"), 9, 1, 5000}},
                                   600 << 20,
                                   400 << 20,
                                   QStringLiteral("it does this")};
    {
      CapturedOutput captured;
      MemoryCommands commands(machine.services(), nobody, captured.output(), false);
      QCOMPARE(commands.runClean({QStringLiteral("--dry-run")}), 0);
      QCOMPARE(captured.out(), QStringLiteral("About 400 MB could be freed, by paging out 600 MB of idle memory:\n"
                                              "     600 MB  Browser  (3 processes)\n"
                                              "    4.88 KB  mail\n"
                                              "By page-out: it does this.\n"));
    }
    CapturedOutput captured;
    MemoryCommands commands(machine.services(), nobody, captured.output(), false);
    QCOMPARE(commands.runClean({QStringLiteral("--json"), QStringLiteral("--dry-run")}), 0);
    QCOMPARE(parsed(captured), forecastRecord(machine.memory.nextForecast));
    QCOMPARE(parsed(captured).value(QStringLiteral("sources")).toArray().size(), 2);
    QCOMPARE(machine.memory.sessionsOpened(), 0);
    QCOMPARE(PurgeHistory(machine.store).records().size(), 0);
  }

  void waitingShowsTheSecondLook() {
    Machine machine;
    FakeClock clock;
    DBusControlClient nobody(m_bus.connect());
    for (const bool json : {false, true}) {
      CapturedOutput captured;
      CliServices services{machine.host,  machine.purgeHost, machine.ticks, machine.processes,    machine.memory,
                           machine.store, machine.scripts,   clock,         QStringLiteral("1.0")};
      MemoryCommands commands(services, nobody, captured.output(), false);
      QTimer pump;
      QObject::connect(&pump, &QTimer::timeout, [&clock] { clock.advance(1s); });
      pump.start(1);
      machine.letFreeMemoryRise();
      QCOMPARE(commands.runClean(json ? QStringList{QStringLiteral("--wait"), QStringLiteral("--json")}
                                      : QStringList{QStringLiteral("--wait")}),
               0);
      if (json)
        QCOMPARE(parsed(captured).value(QStringLiteral("stillFreeBytes")).toInt(-1), 0);
      else
        QVERIFY(captured.out().endsWith(QStringLiteral("\nAfter 60 s still free: 0 bytes of 0 bytes.\n")));
    }
  }

  void aRunningProgramIsAsked() {
    Machine machine;
    Program program;
    DBusControlServer server(m_bus.connect());
    QVERIFY(server.start(program));
    DBusControlServer second(m_bus.connect());
    QVERIFY(!second.start(program));
    // The blocking calls of a command line need the program in another thread's loop; here one loop serves both.
    DBusControlClient client(m_bus.connect());
    QSignalSpy finished(&client, &ControlClient::finished);
    QSignalSpy progressed(&client, &ControlClient::progressed);
    QTRY_VERIFY(client.isProgramRunning());
    server.publishProgress(0.25);
    PurgeReport report;
    report.freedBytes = ByteCount{5} << 30;
    server.publishFinished(purgeRecord(report));
    QTRY_COMPARE(finished.size(), 1);
    QCOMPARE(progressed.value(0).value(0).toDouble(), 0.25);
    QSignalSpy rechecked(&client, &ControlClient::rechecked);
    report.recheck = PurgeRecheck{60s, -5, 7};
    server.publishRechecked(purgeRecord(report));
    QTRY_COMPARE(rechecked.size(), 1);
    QCOMPARE(rechecked[0][0].toJsonObject(), purgeRecord(report));
    QCOMPARE(finished[0][0].toJsonObject().value(QStringLiteral("freedBytes")).toInteger(), qint64{5} << 30);
  }

  void wrongWordsAreToldInOneLine() {
    Machine machine;
    DBusControlClient nobody(m_bus.connect());
    CapturedOutput captured;
    MemoryCommands commands(machine.services(), nobody, captured.output(), false);
    QCOMPARE(commands.runStatus({QStringLiteral("--xml")}), 2);
    QCOMPARE(commands.runClean({QStringLiteral("now")}), 2);
    QCOMPARE(commands.runClean({QStringLiteral("--json"), QStringLiteral("--json")}), 2);
    QCOMPARE(commands.runClean({QStringLiteral("--wait"), QStringLiteral("--dry-run")}), 2);
    QCOMPARE(commands.runWatch({QStringLiteral("now")}), 2);
    QCOMPARE(captured.err(), QStringLiteral("halvardctl: usage: status [--json]\n"
                                            "halvardctl: usage: clean [--wait | --dry-run] [--json]\n"
                                            "halvardctl: usage: clean [--wait | --dry-run] [--json]\n"
                                            "halvardctl: usage: clean [--wait | --dry-run] [--json]\n"
                                            "halvardctl: usage: watch\n"));
    QCOMPARE(machine.memory.sessionsOpened(), 0);
  }

 private:
  PrivateBus m_bus;
};

QTEST_GUILESS_MAIN(TestMemoryCommands)
#include "test_memory_commands.moc"
