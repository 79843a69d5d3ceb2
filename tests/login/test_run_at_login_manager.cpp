#include <QtTest>

#include "login/run_at_login_manager.h"
#include "platform/fake/fake_distributed_notification_center.h"
#include "platform/fake/fake_login_item_service.h"
#include "support/texts.h"

using namespace halvard;

namespace {

const QString mainIdentifier = text("com.example.Main");
const QString launcherIdentifier = text("com.example.Main.launcher");
const QString mainProgram = text("/opt/main/main");

struct Fixture {
  FakeLoginItemService service;
  FakeDistributedNotificationCenter notifications;
  HalvardRunAtLoginManager manager{service, notifications, mainIdentifier, mainProgram};
};

JobDescription job(std::initializer_list<std::pair<const char*, StoredValue>> entries) {
  JobDescription description;
  for (const auto& [key, value] : entries)
    description.emplace(text(key), value);
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
        {{text("/usr/bin/a")}, "root|/usr/bin/a|-"},
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
    Fixture f;
    const StoredValue arguments{StoredValue::Array{}};
    f.service.bundles[text("/x")] = {launcherIdentifier, std::nullopt};
    f.service.jobs = {
        job({{"Label", {text("z")}}}),
        job({{"Label", {text("com.apple.x")}}, {"Program", {text("/x/1/2/3")}}}),
        job({{"Label", {text("running")}}, {"PID", {std::int64_t{1}}}, {"ProgramArguments", arguments}}),
        job({{"Label", {text("com.applepie")}}}),
        job({}),
    };
    QStringList identifiers;
    for (const LoginItem& item : f.manager.loadSandboxedLoginItems())
      identifiers << item.bundleIdentifier;
    QCOMPARE(identifiers, (QStringList{text("z"), text("com.applepie"), QString()}));
    QVERIFY(!f.manager.isEnabledToAutoLaunchWithHelperApp());
    QVERIFY(f.manager.isAppWithBundleIdentifierEnabledForAutolaunch(text("z")));
    QVERIFY(!f.manager.isAppWithBundleIdentifierEnabledForAutolaunch(text("Z")));
  }

  void switchingFollowsThePlatformAndTellsItsRefusalOnce() {
    Fixture f;
    int failures = 0;
    const auto failed = [&] { ++failures; };
    f.manager.setIsEnabledForHelperApp(true, failed);
    QVERIFY(f.manager.isEnabledToAutoLaunchWithHelperApp());
    QCOMPARE(f.service.jobs.front().at(text("Label")), StoredValue{launcherIdentifier});
    f.service.jobs.clear();
    QVERIFY(!f.manager.isEnabledToAutoLaunchWithHelperApp());
    f.service.refuses = true;
    f.manager.setIsEnabledForHelperApp(true, failed);
    QCOMPARE(failures, 1);
    f.manager.setIsEnabledForHelperApp(false, {});
    f.manager.setIsEnabled(true, text("other"), failed);
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
    const FakeDistributedNotificationCenter::Posted request{text("TERMINATEHELPER"), mainIdentifier};
    QCOMPARE(f.notifications.posted.front(), request);
  }

  void olderEntryIsFoundByLocationAndToggled() {
    Fixture f;
    f.service.sessionItems = {{text("1"), mainProgram}, {text("2"), text("/other")}, {text("3"), mainProgram}};
    for (const char* reference : {"3", "1"}) {
      QCOMPARE(f.manager.itemRefInLoginItems()->reference, text(reference));
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
