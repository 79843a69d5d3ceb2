#include <QRegularExpression>
#include <QThread>
#include <QtTest>
#include <atomic>

#include "cli/login_command.h"
#include "cli/preferences_command.h"
#include "login/run_at_login_manager.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_distributed_notification_center.h"
#include "platform/fake/fake_login_item_service.h"
#include "platform/linux/control/dbus_control_client.h"
#include "platform/linux/control/dbus_control_server.h"
#include "preferences/preference_list.h"
#include "preferences/preferences_model.h"
#include "preferences/showcase_defaults.h"
#include "preferences/stored_keys.h"
#include "support/captured_output.h"
#include "support/private_bus.h"

using namespace halvard;
using halvard::test::CapturedOutput;
using halvard::test::PrivateBus;

namespace {

QString latin(const char* text) {
  return QString::fromLatin1(text);
}

struct NoSwitch : StartAtLoginSwitch {
  void setIsEnabledForHelperApp(bool, const std::function<void()>&) override {}
};

struct Listener : PreferenceItemListener {
  void preferenceItemDidChangeValue(PreferenceItemBase& item) override { changed << item.key(); }
  void preferenceItemDidRejectValue(PreferenceItemBase&) override {}
  QStringList changed;
};

/// A running program: the real model behind the real server.
struct Program : ControlHandler {
  QJsonObject status() override { return {}; }
  bool startCleaning() override { return false; }
  void showPanel() override {}
  QMap<QString, QString> preferences() override { return preferenceValues(list); }
  Result<void> setPreference(const QString& name, const QString& value) override {
    return setNamedPreference(list, name, value);
  }

  FakeDefaultsStore store;
  NoSwitch noSwitch;
  PreferencesModel model{store, noSwitch};
  std::vector<NamedPreference> list = preferenceList(model);
};

/// What `halvardctl preferences` does where nobody answers.
int run(const QStringList& words, DefaultsStore& store, const CapturedOutput& captured) {
  DBusControlClient nobody((QDBusConnection(latin("not connected"))));
  return runPreferencesCommand(words, store, nobody, captured.output());
}

}  // namespace

class TestPreferencesCommand : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void everyPreferenceIsListedWithValueDefaultAndMeaning() {
    FakeDefaultsStore store;
    store.setObject(stored_keys::usageLimit, {0.655});
    store.setObject(stored_keys::frequency, {std::int64_t{3}});
    const CapturedOutput captured;
    QCOMPARE(run({}, store, captured), 0);
    const QStringList lines = captured.out().trimmed().split(QLatin1Char('\n'));
    QCOMPARE(lines.size(), 8);
    QCOMPARE(lines[5].simplified(), latin("memory-limit 65.5% (80%) automatically only above this memory usage"));
    QCOMPARE(lines[6].simplified(), latin("interval 5min (5min) automatically not more often than every"));
    for (const QString& line : lines)
      QVERIFY(line.contains(QRegularExpression(latin("^[a-z-]+ +\\S+ +\\(\\S+\\) +\\S"))));
    QCOMPARE(store.writes(), 2);
  }

  void everyShownValueIsTakenBack() {
    Program program;
    for (const NamedPreference& preference : program.list) {
      QVERIFY2(preference.set(preference.value()), qPrintable(preference.name));
      QCOMPARE(preference.value(), preference.defaultValue);
    }
    QCOMPARE(program.store.writes(), 0);
  }

  void valueIsStoredWhereNoProgramRuns_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("key");
    QTest::addColumn<QString>("shown");
    const auto row = [](const char* name, const char* text, const QString& key, const char* shown) {
      QTest::addRow("%s %s", name, text) << latin(name) << latin(text) << key << latin(shown);
    };
    row("auto-free", "ON", stored_keys::autoFree, "on");
    row("notify", "no", stored_keys::showFreeUpNotification, "off");
    row("icon-text", "free", stored_keys::visionPrefIndex, "free");
    row("memory-limit", "55%", stored_keys::usageLimit, "55%");
    row("cpu-limit", "0.35", stored_keys::cpuUsageLimit, "35%");
    row("cpu-limit", "100%", stored_keys::cpuUsageLimit, "100%");
    row("interval", "1h30min", stored_keys::frequencyNew, "1h30min");
    row("interval", "90s", stored_keys::frequencyNew, "90s");
    row("interval", "24h", stored_keys::frequencyNew, "24h");
  }
  void valueIsStoredWhereNoProgramRuns() {
    QFETCH(QString, name);
    QFETCH(QString, text);
    QFETCH(QString, key);
    FakeDefaultsStore store;
    const CapturedOutput captured;
    QCOMPARE(run({name, text}, store, captured), 0);
    QCOMPARE(store.keys(), QStringList{key});
    QVERIFY(!store.hasUnsavedChanges());
    const CapturedOutput shown;
    QCOMPARE(run({name}, store, shown), 0);
    QTEST(shown.out().trimmed(), "shown");
    store.failSynchronize(true);
    store.setObject(latin("other"), {true});
    const CapturedOutput failed;
    QCOMPARE(run({name, text}, store, failed), 1);
    QCOMPARE(failed.err(), latin("halvardctl: the settings could not be written\n"));
  }

  void badWordsAreOneLineAndChangeNothing_data() {
    QTest::addColumn<QStringList>("words");
    for (const char* words : {"nothing-like-it on", "nothing-like-it", "auto-free maybe", "memory-limit 101%",
                              "memory-limit -1", "memory-limit nan", "cpu-limit ten", "cpu-limit inf", "interval 59s",
                              "interval 25h", "interval 5", "interval -5min", "icon-text 7", "a b c"})
      QTest::newRow(words) << latin(words).split(QLatin1Char(' '));
    QTest::newRow("empty") << QStringList{latin("interval"), QString()};
    QTest::newRow("two lines") << QStringList{latin("interval"), latin("5\nmin")};
  }
  void badWordsAreOneLineAndChangeNothing() {
    QFETCH(QStringList, words);
    FakeDefaultsStore store;
    const CapturedOutput captured;
    QCOMPARE(run(words, store, captured), 2);
    QCOMPARE(store.writes(), 0);
    QCOMPARE(captured.out(), QString());
    QVERIFY(captured.err().startsWith(latin("halvardctl: ")));
    QCOMPARE(captured.err().count(QLatin1Char('\n')), 1);
  }

  void runningProgramChangesAtOnceAndTellsItsListenersOnce() {
    PrivateBus bus;
    if (!bus.isRunning()) QSKIP("no dbus-daemon on this machine");
    Program program;
    Listener listener;
    program.model.autoFreeUpMemory().listeners.add(listener);
    program.model.memoryUsageLimitToAutofree().listeners.add(listener);
    // On a thread of its own, as it is a process of its own: the command waits for the answer.
    QThread thread;
    auto* const context = new QObject;
    context->moveToThread(&thread);
    connect(&thread, &QThread::finished, context, &QObject::deleteLater);
    const QDBusConnection forCommand = bus.connect();
    DBusControlServer server(bus.connect());
    QVERIFY(server.start(program));
    thread.start();
    std::atomic<int> code = -1;
    const auto ask = [&](const QStringList& words, const CapturedOutput& captured, DefaultsStore& store) {
      code = -1;
      QMetaObject::invokeMethod(context, [&, words] {
        DBusControlClient client(forCommand);
        code = runPreferencesCommand(words, store, client, captured.output());
      });
      return QTest::qWaitFor([&] { return code >= 0; });
    };
    const CapturedOutput changed, again, refused, listed, unstored;
    for (const CapturedOutput* captured : {&changed, &again}) {
      QVERIFY(ask({latin("auto-free"), latin("on")}, *captured, program.store));
      QCOMPARE(code.load(), 0);
    }
    QCOMPARE(listener.changed, QStringList{stored_keys::autoFree});
    QVERIFY(program.model.autoFreeUpMemory().value());
    QVERIFY(ask({latin("memory-limit"), latin("200%")}, refused, program.store));
    QCOMPARE(code.load(), 2);
    QCOMPARE(refused.err(), latin("halvardctl: memory-limit takes 0% to 100%, not '200%'\n"));
    QVERIFY(ask({latin("auto-free")}, listed, program.store));
    QCOMPARE(listed.out(), latin("on\n"));
    // As if the program had not been able to write.
    FakeDefaultsStore empty;
    QVERIFY(ask({latin("auto-free"), latin("on")}, unstored, empty));
    QCOMPARE(code.load(), 1);
    QCOMPARE(unstored.err(), latin("halvardctl: changed until the program ends; the settings could not be written\n"));
    QCOMPARE(empty.writes(), 0);
    thread.quit();
    thread.wait();
  }

  void startAtLoginIsAskedAndChangedWhereTheDesktopKeepsIt() {
    FakeLoginItemService service;
    FakeDistributedNotificationCenter notifications;
    HalvardRunAtLoginManager startAtLogin(service, notifications, latin("com.example.Main"), latin("/opt/main"));
    FakeDefaultsStore store;
    FakeClock clock;
    ShowcaseDefaults defaults(store, clock, latin("1.0"));
    const auto login = [&](const char* word, const CapturedOutput& captured) {
      return runLoginCommand({latin(word)}, startAtLogin, defaults, captured.output());
    };
    const CapturedOutput before, after, wrong, refused, outside;
    QCOMPARE(login("status", before), 0);
    QCOMPARE(before.out(), latin("off\n"));
    QCOMPARE(login("maybe", wrong), 2);
    QCOMPARE(store.writes(), 0);
    QCOMPARE(login("on", after), 0);
    QCOMPARE(login("status", after), 0);
    QCOMPARE(after.out(), latin("on\n"));
    QVERIFY(!defaults.showAutostartPopupAfterPurge());
    service.refuses = true;
    QCOMPARE(login("off", refused), 1);
    QCOMPARE(refused.err(), latin("halvardctl: start at login could not be changed; it is as it was\n"));
    // Removed by hand.
    service.jobs.clear();
    QCOMPARE(login("status", outside), 0);
    QCOMPARE(outside.out(), latin("off\n"));
  }
};

QTEST_GUILESS_MAIN(TestPreferencesCommand)
#include "test_preferences_command.moc"
