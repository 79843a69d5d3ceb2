#include <QtTest>

#include "cli/login_command.h"
#include "cli/memory_commands.h"
#include "cli/preferences_command.h"
#include "memory/controller_parts.h"
#include "memory/purge_history.h"
#include "memory/purge_record.h"
#include "platform/fake/fake_processor_ticks.h"
#include "platform/linux/control/dbus_control_client.h"
#include "platform/linux/control/dbus_control_server.h"
#include "platform/ports/process_information.h"
#include "preferences/preference_list.h"
#include "preferences/stored_keys.h"
#include "support/captured_output.h"
#include "support/login_desk.h"
#include "support/private_bus.h"

using namespace halvard;
using namespace halvard::test;
using namespace std::chrono_literals;

namespace {

constexpr int kPage = 4096;

struct NoProcesses : ProcessInformation {
  std::optional<QByteArray> processStatus(const QStringList&) override { return std::nullopt; }
  std::optional<TaskTimes> taskTimes(std::int32_t) override { return std::nullopt; }
};

/// A machine on which no program runs. Its time flies.
struct Machine : ControllerParts {
  Machine() {
    setUsed(1000 * kPage);
    pump.callOnTimeout([this] { clock.advance(1s); });
    pump.start(1);
  }
  QString run(int (MemoryCommands::*command)(const QStringList&), const char* line, bool showsProgress = false) {
    return ran([&](auto& output) {
      return (MemoryCommands(cliServices, nobody, output, showsProgress).*command)(words(line));
    });
  }
  QString status(const char* line) { return run(&MemoryCommands::runStatus, line); }
  /// The purge sees free memory rise at once, so that it does not wait for it.
  QString clean(const char* line, bool showsProgress = false) {
    VmStatistics64 taken;
    taken.active_count = 1000;
    managerHost.queueStatistics64(taken);
    managerHost.queueStatistics64({});
    return run(&MemoryCommands::runClean, line, showsProgress);
  }
  FakeProcessorTicks ticks;
  NoProcesses processes;
  QTimer pump;
  CliServices cliServices{host, managerHost, ticks, processes, memory, store, scripts, clock, text("1.0")};
  DBusControlClient nobody{QDBusConnection(text("not connected"))};
};

/// The record that a command has printed.
QJsonObject record(const QString& answer) {
  return QJsonDocument::fromJson(answer.left(answer.lastIndexOf(u'}') + 1).toUtf8()).object();
}

/// A running program: the real model behind the real server.
struct Program : LoginDesk, ControlHandler {
  QJsonObject status() override { return {}; }
  bool startCleaning() override { return false; }
  void showPanel() override {}
  QMap<QString, QString> preferences() override { return preferenceValues(list); }
  Result<void> setPreference(const QString& name, const QString& value) override {
    return setNamedPreference(list, name, value);
  }
  std::vector<NamedPreference> list = preferenceList(model);
};

/// What `halvardctl preferences` does where nobody answers.
QString run(const QStringList& words, DefaultsStore& store) {
  DBusControlClient nobody((QDBusConnection(text("not connected"))));
  return ran([&](auto& output) { return runPreferencesCommand(words, store, nobody, output); });
}

}  // namespace

class TestControlCommands : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void withoutAProgramTheWorkIsDoneHere() {
    Machine machine;
    const QJsonObject status = record(machine.status("--json"));
    QCOMPARE(status[u"usedPages"].toInt(), 1000);
    QCOMPARE(status.size(), 14);
    // Nothing gained is no failure.
    QVERIFY(machine.clean("").startsWith(text("Nothing could be freed")));
    machine.memory.onOperation = [&machine](const std::string& operation) {
      if (operation == "discard") machine.setUsed(900 * kPage);
    };
    const QString answer = machine.clean("--json", true);
    QCOMPARE(record(answer)[u"freedBytes"].toInteger(), 100 * kPage);
    QVERIFY(answer.contains(text("100%")) && answer.endsWith(u'0'));
    QCOMPARE(machine.memory.sessionsOpened(), 2);
    machine.host.setKernelReturn(5);
    const QString failed = text("halvardctl: the memory counters of this machine cannot be read\n1");
    QCOMPARE(machine.status(""), failed);
    QCOMPARE(machine.clean(""), failed);
  }

  void aDryRunTellsAndChangesNothing() {
    Machine machine;
    ReclaimForecast& forecast = machine.memory.nextForecast;
    forecast.explanation = text("there is no swap to page out to");
    QCOMPARE(machine.clean("--dry-run"), text("Nothing useful to free: there is no swap to page out to.\n0"));
    forecast = {ReclaimMethod::PageOut, {}, 600 << 20, 400 << 20, text("it does this")};
    forecast.sources = {{text("Browser"), 7, 3, 600 << 20}, {text("mail"), 9, 1, 5000}};
    QCOMPARE(machine.clean("--dry-run"), text("About 400 MB could be freed, by paging out 600 MB of idle memory:\n"
                                              "     600 MB  Browser  (3 processes)\n"
                                              "    4.88 KB  mail\n"
                                              "By page-out: it does this.\n0"));
    const QJsonObject json = record(machine.clean("--json --dry-run"));
    QCOMPARE(json, forecastRecord(forecast));
    QCOMPARE(json[u"sources"].toArray().size(), 2);
    QCOMPARE(machine.memory.sessionsOpened(), 0);
    QCOMPARE(PurgeHistory(machine.store).records().size(), 0);
  }

  void waitingShowsTheSecondLook() {
    Machine machine;
    QCOMPARE(record(machine.clean("--wait --json"))[u"stillFreeBytes"].toInt(-1), 0);
    QVERIFY(machine.clean("--wait").endsWith(text("\nAfter 60 s still free: 0 bytes of 0 bytes.\n0")));
    // Another process may clean meanwhile, and spoil it.
    machine.clock.callAfter(30s, &machine.pump, [&machine] {
      PurgeHistory(machine.store).put({{text("time"), text("later")}, {text("method"), text("fill")}});
    });
    QVERIFY(machine.clean("--wait").endsWith(text("another cleaning came before the second look\n1")));
  }

  void wrongWordsAreToldInOneLine() {
    Machine machine;
    QCOMPARE(machine.status("--xml"), text("halvardctl: usage: status [--json]\n2"));
    for (const char* line : {"now", "--json --json", "--wait --dry-run"})
      QCOMPARE(machine.clean(line), text("halvardctl: usage: clean [--wait | --dry-run] [--json]\n2"));
    QCOMPARE(machine.run(&MemoryCommands::runWatch, "now"), text("halvardctl: usage: watch\n2"));
    QCOMPARE(machine.memory.sessionsOpened(), 0);
  }

  void everyPreferenceIsListedWithValueDefaultAndMeaning() {
    FakeDefaultsStore store;
    store.setObject(stored_keys::usageLimit, {0.655});
    store.setObject(stored_keys::frequency, {std::int64_t{3}});
    const QStringList lines = run({}, store).split(u'\n');
    QCOMPARE(lines.size(), 9);
    QCOMPARE(lines[5].simplified(), text("memory-limit 65.5% (80%) automatically only above this memory usage"));
    for (const QString& line : lines.first(8))
      QVERIFY(line.contains(QRegularExpression(text("^[a-z-]+ +\\S+ +\\(\\S+\\) +\\S"))));
    QCOMPARE(store.writes(), 2);
    // Every shown value is taken back.
    Program program;
    for (const NamedPreference& preference : program.list) {
      QVERIFY2(preference.set(preference.value()), qPrintable(preference.name));
      QCOMPARE(preference.value(), preference.defaultValue);
    }
    QCOMPARE(program.store.writes(), 0);
  }

  void valueIsStoredWhereNoProgramRuns() {
    const std::tuple<const char*, const char*, QString, const char*> values[] = {
        {"auto-free", "ON", stored_keys::autoFree, "on\n0"},
        {"notify", "no", stored_keys::showFreeUpNotification, "off\n0"},
        {"icon-text", "free", stored_keys::visionPrefIndex, "free\n0"},
        {"memory-limit", "55%", stored_keys::usageLimit, "55%\n0"},
        {"cpu-limit", "0.35", stored_keys::cpuUsageLimit, "35%\n0"},
        {"cpu-limit", "100%", stored_keys::cpuUsageLimit, "100%\n0"},
        {"interval", "1h30min", stored_keys::frequencyNew, "1h30min\n0"},
        {"interval", "24h", stored_keys::frequencyNew, "24h\n0"},
    };
    for (const auto& [name, value, key, shown] : values) {
      FakeDefaultsStore store;
      QCOMPARE(run({text(name), text(value)}, store), text("0"));
      QCOMPARE(store.keys(), QStringList{key});
      QVERIFY(!store.hasUnsavedChanges());
      QCOMPARE(run({text(name)}, store), text(shown));
    }
    FakeDefaultsStore store;
    store.failSynchronize(true);
    QCOMPARE(run(words("notify no"), store), text("halvardctl: the settings could not be written\n1"));
  }

  void badWordsAreOneLineAndChangeNothing() {
    QList<QStringList> lines{{text("interval"), QString()}, {text("interval"), text("5\nmin")}};
    for (const char* line : {"nothing-like-it on", "nothing-like-it", "auto-free maybe", "memory-limit 101%",
                             "memory-limit -1", "memory-limit nan", "cpu-limit ten", "cpu-limit inf", "interval 59s",
                             "interval 25h", "interval 5", "interval -5min", "icon-text 7", "a b c"})
      lines << words(line);
    FakeDefaultsStore store;
    const QRegularExpression oneLine(text("^halvardctl: [^\n]+\n2$"));
    for (const QStringList& line : lines)
      QVERIFY2(run(line, store).contains(oneLine), qPrintable(line.join(u' ')));
    QCOMPARE(store.writes(), 0);
  }

  void runningProgramChangesAtOnceAndTellsListenersAndClients() {
    PrivateBus bus;
    if (!bus.isRunning()) QSKIP("no dbus-daemon on this machine");
    Program program;
    ChangeListener listener;
    program.model.autoFreeUpMemory().listeners.add(listener);
    program.model.memoryUsageLimitToAutofree().listeners.add(listener);
    auto former = std::make_unique<DBusControlServer>(bus.connect());
    QVERIFY(former->start(program));
    DBusControlServer server(bus.connect());
    QVERIFY(!server.start(program));
    former.reset();  // from here on the next one answers
    const QDBusConnection forCommand = bus.connect();
    // On a thread of its own, as it is a process of its own: the command waits for the answer.
    const auto ask = [&](const char* line, DefaultsStore& store) {
      QString answer;
      const std::unique_ptr<QThread> command(QThread::create([&] {
        DBusControlClient client(forCommand);
        answer = ran([&](auto& output) { return runPreferencesCommand(words(line), store, client, output); });
      }));
      command->start();
      const bool ends = QTest::qWaitFor([&] { return command->isFinished(); });
      command->wait();
      return ends ? answer : text("no answer");
    };
    for (int time = 0; time < 2; ++time)
      QCOMPARE(ask("auto-free on", program.store), text("0"));
    QCOMPARE(listener.changed, QStringList{stored_keys::autoFree});
    QVERIFY(program.model.autoFreeUpMemory().value());
    QCOMPARE(ask("memory-limit 200%", program.store), text("halvardctl: memory-limit takes 0% to 100%, not '200%'\n2"));
    QCOMPARE(ask("auto-free", program.store), text("on\n0"));
    // As if the program had not been able to write.
    FakeDefaultsStore empty;
    QVERIFY(ask("auto-free on", empty).contains(text("'off' is stored: another program")));
    QCOMPARE(ask("auto-free off", program.store), text("0"));
    empty.setObject(stored_keys::autoFree, {false});
    QCOMPARE(ask("auto-free on", empty),
             text("halvardctl: changed in the program, which could not write its settings yet\n1"));

    DBusControlClient client(bus.connect());
    QSignalSpy progressed(&client, &ControlClient::progressed);
    QSignalSpy finished(&client, &ControlClient::finished);
    QSignalSpy rechecked(&client, &ControlClient::rechecked);
    QTRY_VERIFY(client.isProgramRunning());
    PurgeReport report;
    report.freedBytes = ByteCount{5} << 30;
    const QJsonObject record = purgeRecord(report);
    report.recheck = PurgeRecheck{std::chrono::seconds(60), -5, 7};
    server.publishProgress(0.25);
    server.publishFinished(record);
    server.publishRechecked(purgeRecord(report));
    QTRY_COMPARE(rechecked.value(0).value(0).toJsonObject(), purgeRecord(report));
    QCOMPARE(progressed.value(0).value(0).toDouble(), 0.25);
    QCOMPARE(finished.value(0).value(0).toJsonObject(), record);
  }

  void startAtLoginIsChangedWhereTheDesktopKeepsIt() {
    LoginDesk desk;
    const auto login = [&](const char* word) {
      return ran([&](auto& output) { return runLoginCommand({text(word)}, desk.startAtLogin, desk.defaults, output); });
    };
    QVERIFY(login("maybe").endsWith(text("\n2")) && desk.store.writes() == 0);
    QCOMPARE(login("on"), text("0"));
    QCOMPARE(login("status"), text("on\n0"));
    QVERIFY(!desk.defaults.showAutostartPopupAfterPurge());
    desk.loginItems.refuses = true;
    QCOMPARE(login("off"), text("halvardctl: start at login could not be changed; it is as it was\n1"));
  }
};

QTEST_GUILESS_MAIN(TestControlCommands)
#include "test_control_commands.moc"
