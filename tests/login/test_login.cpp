#include <QtTest>

#include "launcher/launcher.h"
#include "support/login_desk.h"
#include "support/test_folder.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;
using test::LoginDesk;

namespace {

const QString launcherIdentifier = text("com.example.Main.launcher");

JobDescription job(std::initializer_list<std::pair<const char*, StoredValue>> entries) {
  JobDescription description;
  for (const auto& [key, value] : entries)
    description.emplace(text(key), value);
  return description;
}

}  // namespace

class TestLogin : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void jobCountsAsLoginItemByItsKeys() {
    JobDescription running = job({{"PID", {std::int64_t{5}}}});
    QVERIFY(LoginItem::jobIsSandboxed({}));
    QVERIFY(LoginItem::jobIsSandboxed(running));
    running[text("ProgramArguments")] = {StoredValue::Array{}};
    QVERIFY(!LoginItem::jobIsSandboxed(running));
    const std::pair<StoredValue, bool> onDemand[] = {
        {{std::int64_t{0}}, true}, {{false}, true},     {{0.0}, true}, {{0.5}, false},
        {{true}, false},           {{text("0")}, false}};
    for (const auto& [value, counts] : onDemand) {
      running[text("OnDemand")] = value;
      QCOMPARE(LoginItem::jobIsSandboxed(running), counts);
    }
    running[text("EnableTransactions")] = {false};
    QVERIFY(LoginItem::jobIsSandboxed(running));
    running.erase(text("PID"));
    running.erase(text("EnableTransactions"));
    QVERIFY(LoginItem::jobIsSandboxed(running));
  }

  void itemTakesTheIdentityOfItsBundleElseItsLabel() {
    FakeLoginItemService service;
    service.bundles[text("/named")] = {std::nullopt, text("Helper")};
    service.bundles[text("/known")] = {text("com.example.helper"), std::nullopt};
    service.bundles[text("/")] = {text("root"), std::nullopt};
    const std::pair<StoredValue, const char*> programs[] = {
        {{text("/absent/Contents/MacOS/helper")}, "label|-|-"},
        {{text("/named/Contents/MacOS/helper")}, "label|-|Helper"},
        {{text("/known/Contents/MacOS/helper")}, "com.example.helper|/known/Contents/MacOS/helper|-"},
        {{text("/a")}, "root|/a|-"},
        {{true}, "label|-|-"},
    };
    const QString none = text("-");
    for (const auto& [program, identity] : programs) {
      const LoginItem item = LoginItem::itemFromServiceManagementDictionary(
          job({{"Label", {text("label")}}, {"Program", program}}), service);
      const QStringList parts{item.bundleIdentifier, item.executablePath.value_or(none),
                              item.applicationName.value_or(none)};
      QCOMPARE(parts.join(QLatin1Char('|')), text(identity));
    }
  }

  void itemsKeepThePlatformsOrderWithoutItsOwnJobs() {
    LoginDesk desk;
    const StoredValue arguments{StoredValue::Array{}};
    desk.loginItems.bundles[text("/x")] = {launcherIdentifier, std::nullopt};
    desk.loginItems.jobs = {
        job({{"Label", {text("z")}}}),
        job({{"Label", {text("com.apple.x")}}, {"Program", {text("/x/1/2/3")}}}),
        job({{"Label", {text("running")}}, {"PID", {std::int64_t{1}}}, {"ProgramArguments", arguments}}),
        job({{"Label", {text("com.applepie")}}}),
        job({}),
    };
    QStringList identifiers;
    for (const LoginItem& item : desk.startAtLogin.loadSandboxedLoginItems())
      identifiers << item.bundleIdentifier;
    QCOMPARE(identifiers, (QStringList{text("z"), text("com.applepie"), QString()}));
    QVERIFY(!desk.startAtLogin.isEnabledToAutoLaunchWithHelperApp());
    QVERIFY(desk.startAtLogin.isAppWithBundleIdentifierEnabledForAutolaunch(text("z")));
    QVERIFY(!desk.startAtLogin.isAppWithBundleIdentifierEnabledForAutolaunch(text("Z")));
  }

  void switchingFollowsThePlatformAndTellsItsRefusalOnce() {
    LoginDesk desk;
    int failures = 0;
    const auto failed = [&] { ++failures; };
    desk.startAtLogin.setIsEnabledForHelperApp(true, failed);
    QVERIFY(desk.startAtLogin.isEnabledToAutoLaunchWithHelperApp());
    QCOMPARE(desk.loginItems.jobs.front().at(text("Label")), StoredValue{launcherIdentifier});
    desk.loginItems.jobs.clear();
    QVERIFY(!desk.startAtLogin.isEnabledToAutoLaunchWithHelperApp());
    desk.loginItems.refuses = true;
    desk.startAtLogin.setIsEnabledForHelperApp(true, failed);
    QCOMPARE(failures, 1);
    desk.startAtLogin.setIsEnabledForHelperApp(false, {});
    desk.startAtLogin.setIsEnabled(true, text("other"), failed);
    QCOMPARE(failures, 2);
  }

  void runningLauncherIsNoticedAndTerminatedOnRequest() {
    LoginDesk desk;
    const std::tuple<bool, bool, std::size_t> checks[] = {
        {false, true, 0}, {true, false, 0}, {true, true, 1}, {false, true, 1}};
    for (const auto& [runs, terminates, requests] : checks) {
      desk.loginItems.running = runs ? QStringList{launcherIdentifier} : QStringList();
      QCOMPARE(desk.startAtLogin.checkWasAutolaunchedWithHelperApp_AutoTerminateHelper(terminates), runs);
      QCOMPARE(desk.startAtLogin.wasAutolaunchedWithHelperApp(), runs);
      QCOMPARE(desk.distributed.posted.size(), requests);
    }
    const FakeDistributedNotificationCenter::Posted request{text("TERMINATEHELPER"), desk.bundleIdentifier};
    QCOMPARE(desk.distributed.posted.front(), request);
  }

  void olderEntryIsFoundByLocationAndToggled() {
    LoginDesk desk;
    desk.loginItems.sessionItems = {{text("1"), desk.program}, {text("2"), text("/other")}, {text("3"), desk.program}};
    for (const char* reference : {"3", "1"}) {
      QCOMPARE(desk.startAtLogin.itemRefInLoginItems()->reference, text(reference));
      desk.startAtLogin.toggleLaunchAtLoginValue_WithoutHelperApp();
    }
    QVERIFY(!desk.startAtLogin.isLaunchAtStartup());
    desk.startAtLogin.toggleLaunchAtLoginValue_WithoutHelperApp();
    QVERIFY(desk.startAtLogin.isLaunchAtStartup());
    QCOMPARE(desk.loginItems.sessionItems.back().location, desk.program);
    QCOMPARE(desk.loginItems.appendedHidden, std::optional(false));
  }

  void quitsOnceOnItsNotificationOrAfterItsPatience() {
    const QString identifier = text("com.tessmar.Halvard"), terminate = text("TERMINATEHELPER");
    FakeDistributedNotificationCenter notifications;
    FakeClock clock;
    int quits = 0;
    const auto quit = [&] { ++quits; };
    Launcher told(notifications, clock, identifier, quit);
    QVERIFY(told.start(text("/bin/true")));
    notifications.arrive(terminate, text("com.example.Other"));
    notifications.arrive(text("OTHER"), identifier);
    QCOMPARE(quits, 0);
    notifications.arrive(terminate, identifier);
    notifications.arrive(terminate, identifier);
    QCOMPARE(quits, 1);
    Launcher patient(notifications, clock, identifier, quit);
    QVERIFY(patient.start(text("/bin/true")));
    clock.advance(Launcher::patience - 1ms);
    QCOMPARE(quits, 1);
    clock.advance(1ms);
    notifications.arrive(terminate, identifier);
    QCOMPARE(quits, 2);
  }

  /// Beside its program, tests/desktop/login runs it.
  void launcherWithoutItsProgramSaysSo() {
    const TestFolder folder;
    const QString alone = folder.path("halvard-launcher");
    QVERIFY(QFile::copy(text(HALVARD_LAUNCHER), alone));
    QProcess launcher;
    launcher.start(alone, {});
    QVERIFY(launcher.waitForFinished());
    QCOMPARE(launcher.exitCode(), 1);
    QVERIFY(launcher.readAllStandardError().startsWith("halvard-launcher: " + folder.path("halvard").toUtf8()));
  }
};

QTEST_GUILESS_MAIN(TestLogin)
#include "test_login.moc"
