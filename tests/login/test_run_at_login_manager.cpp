#include <QtTest>

#include "login/run_at_login_manager.h"
#include "platform/fake/fake_distributed_notification_center.h"
#include "platform/fake/fake_login_item_service.h"

using namespace halvard;

namespace {

QString latin(const char* text) {
  return QString::fromLatin1(text);
}

const QString mainIdentifier = latin("com.example.Main");
const QString launcherIdentifier = latin("com.example.Main.launcher");
const QString mainProgram = latin("/opt/main/main");

struct Fixture {
  FakeLoginItemService service;
  FakeDistributedNotificationCenter notifications;
  HalvardRunAtLoginManager manager{service, notifications, mainIdentifier, mainProgram};
};

JobDescription job(std::initializer_list<std::pair<const char*, StoredValue>> entries) {
  JobDescription description;
  for (const auto& [key, value] : entries)
    description.emplace(latin(key), value);
  return description;
}

}  // namespace

class TestRunAtLoginManager : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void jobCountsAsLoginItemByItsKeys() {
    JobDescription running = job({{"PID", {std::int64_t{5}}}});
    QVERIFY(LoginItem::jobIsSandboxed({}));
    QVERIFY(LoginItem::jobIsSandboxed(running));
    running[latin("ProgramArguments")] = {StoredValue::Array{}};
    QVERIFY(!LoginItem::jobIsSandboxed(running));
    const std::pair<StoredValue, bool> onDemand[] = {
        {{std::int64_t{0}}, true}, {{false}, true},      {{0.0}, true}, {{0.5}, false},
        {{true}, false},           {{latin("0")}, false}};
    for (const auto& [value, counts] : onDemand) {
      running[latin("OnDemand")] = value;
      QCOMPARE(LoginItem::jobIsSandboxed(running), counts);
    }
    running[latin("EnableTransactions")] = {false};
    QVERIFY(LoginItem::jobIsSandboxed(running));
    running.erase(latin("PID"));
    running.erase(latin("EnableTransactions"));
    QVERIFY(LoginItem::jobIsSandboxed(running));
  }

  void itemTakesTheIdentityOfItsBundleElseItsLabel() {
    FakeLoginItemService service;
    service.bundles[latin("/named")] = {std::nullopt, latin("Helper")};
    service.bundles[latin("/known")] = {latin("com.example.helper"), std::nullopt};
    service.bundles[latin("/")] = {latin("root"), std::nullopt};
    const std::pair<StoredValue, const char*> programs[] = {
        {{latin("/absent/Contents/MacOS/helper")}, "label|-|-"},
        {{latin("/named/Contents/MacOS/helper")}, "label|-|Helper"},
        {{latin("/known/Contents/MacOS/helper")}, "com.example.helper|/known/Contents/MacOS/helper|-"},
        {{latin("/usr/bin/a")}, "root|/usr/bin/a|-"},
        {{latin("/a")}, "root|/a|-"},
        {{true}, "label|-|-"},
    };
    const QString none = latin("-");
    for (const auto& [program, identity] : programs) {
      const LoginItem item = LoginItem::itemFromServiceManagementDictionary(
          job({{"Label", {latin("label")}}, {"Program", program}}), service);
      const QStringList parts{item.bundleIdentifier, item.executablePath.value_or(none),
                              item.applicationName.value_or(none)};
      QCOMPARE(parts.join(QLatin1Char('|')), latin(identity));
    }
  }

  void itemsKeepThePlatformsOrderWithoutItsOwnJobs() {
    Fixture f;
    const StoredValue arguments{StoredValue::Array{}};
    f.service.bundles[latin("/x")] = {launcherIdentifier, std::nullopt};
    f.service.jobs = {
        job({{"Label", {latin("z")}}}),
        job({{"Label", {latin("com.apple.x")}}, {"Program", {latin("/x/1/2/3")}}}),
        job({{"Label", {latin("running")}}, {"PID", {std::int64_t{1}}}, {"ProgramArguments", arguments}}),
        job({{"Label", {latin("com.applepie")}}}),
        job({}),
    };
    QStringList identifiers;
    for (const LoginItem& item : f.manager.loadSandboxedLoginItems())
      identifiers << item.bundleIdentifier;
    QCOMPARE(identifiers, (QStringList{latin("z"), latin("com.applepie"), QString()}));
    QVERIFY(!f.manager.isEnabledToAutoLaunchWithHelperApp());
    QVERIFY(f.manager.isAppWithBundleIdentifierEnabledForAutolaunch(latin("z")));
    QVERIFY(!f.manager.isAppWithBundleIdentifierEnabledForAutolaunch(latin("Z")));
  }

  void switchingFollowsThePlatformAndTellsItsRefusalOnce() {
    Fixture f;
    int failures = 0;
    const auto failed = [&] { ++failures; };
    f.manager.setIsEnabledForHelperApp(true, failed);
    QVERIFY(f.manager.isEnabledToAutoLaunchWithHelperApp());
    QCOMPARE(f.service.jobs.front().at(latin("Label")), StoredValue{launcherIdentifier});
    f.service.jobs.clear();
    QVERIFY(!f.manager.isEnabledToAutoLaunchWithHelperApp());
    f.service.refuses = true;
    f.manager.setIsEnabledForHelperApp(true, failed);
    QCOMPARE(failures, 1);
    f.manager.setIsEnabledForHelperApp(false, {});
    f.manager.setIsEnabled(true, latin("other"), failed);
    QCOMPARE(failures, 2);
  }

  void runningLauncherIsNoticedAndTerminatedOnRequest() {
    Fixture f;
    const std::tuple<bool, bool, std::size_t> checks[] = {
        {false, true, 0}, {true, false, 0}, {true, true, 1}, {false, true, 1}};
    for (const auto& [runs, terminates, requests] : checks) {
      f.service.running = runs ? QStringList{launcherIdentifier} : QStringList();
      QCOMPARE(f.manager.checkWasAutolaunchedWithHelperApp_AutoTerminateHelper(terminates), runs);
      QCOMPARE(f.manager.wasAutolaunchedWithHelperApp(), runs);
      QCOMPARE(f.notifications.posted.size(), requests);
    }
    const FakeDistributedNotificationCenter::Posted request{latin("TERMINATEHELPER"), mainIdentifier};
    QCOMPARE(f.notifications.posted.front(), request);
  }

  void olderEntryIsFoundByLocationAndToggled() {
    Fixture f;
    f.service.sessionItems = {{latin("1"), mainProgram}, {latin("2"), latin("/other")}, {latin("3"), mainProgram}};
    for (const char* reference : {"3", "1"}) {
      QCOMPARE(f.manager.itemRefInLoginItems()->reference, latin(reference));
      f.manager.toggleLaunchAtLoginValue_WithoutHelperApp();
    }
    QVERIFY(!f.manager.isLaunchAtStartup());
    f.manager.toggleLaunchAtLoginValue_WithoutHelperApp();
    QVERIFY(f.manager.isLaunchAtStartup());
    QCOMPARE(f.service.sessionItems.back().location, mainProgram);
    QCOMPARE(f.service.appendedHidden, std::optional(false));
  }
};

QTEST_GUILESS_MAIN(TestRunAtLoginManager)
#include "test_run_at_login_manager.moc"
