#include <QtTest>

#include "login/run_at_login_manager.h"
#include "platform/fake/fake_defaults_store.h"
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
  void jobCountsAsLoginItemByItsKeys_data() {
    QTest::addColumn<JobDescription>("description");
    QTest::addColumn<bool>("counts");
    const StoredValue pid{std::int64_t{5}};
    const StoredValue arguments{StoredValue::Array{{latin("a")}}};
    const auto row = [](const char* name, JobDescription description, bool counts) {
      QTest::newRow(name) << description << counts;
    };
    row("nothing", {}, true);
    row("not running", job({{"ProgramArguments", arguments}}), true);
    row("running without arguments", job({{"PID", pid}}), true);
    row("running", job({{"PID", pid}, {"ProgramArguments", arguments}}), false);
    row("running with transactions",
        job({{"PID", pid}, {"ProgramArguments", arguments}, {"EnableTransactions", {false}}}), true);
    const auto onDemand = [&](const char* name, StoredValue value, bool counts) {
      row(name, job({{"PID", pid}, {"ProgramArguments", arguments}, {"OnDemand", value}}), counts);
    };
    onDemand("not on demand", {std::int64_t{0}}, true);
    onDemand("false", {false}, true);
    onDemand("real zero", {0.0}, true);
    onDemand("nearly zero", {0.5}, false);
    onDemand("on demand", {true}, false);
    onDemand("text", {latin("0")}, false);
  }

  void jobCountsAsLoginItemByItsKeys() {
    QFETCH(JobDescription, description);
    QTEST(LoginItem::jobIsSandboxed(description), "counts");
  }

  void itemTakesTheIdentityOfItsBundleElseItsLabel() {
    FakeLoginItemService service;
    const JobDescription inBundle =
        job({{"Label", {latin("label")}}, {"Program", {latin("/apps/Helper.app/Contents/MacOS/helper")}}});
    const auto item = [&] { return LoginItem::itemFromServiceManagementDictionary(inBundle, service); };
    QCOMPARE(item().bundleIdentifier, latin("label"));
    QVERIFY(!item().executablePath && !item().applicationName);

    const QString folder = latin("/apps/Helper.app");
    service.bundles[folder] = {std::nullopt, latin("Helper")};
    QCOMPARE(item().bundleIdentifier, latin("label"));
    QVERIFY(!item().executablePath);
    QCOMPARE(item().applicationName, latin("Helper"));

    service.bundles[folder] = {latin("com.example.helper"), std::nullopt};
    QCOMPARE(item().bundleIdentifier, latin("com.example.helper"));
    QCOMPARE(item().executablePath, latin("/apps/Helper.app/Contents/MacOS/helper"));
    QVERIFY(!item().applicationName);

    service.bundles[latin("/")] = {latin("root"), std::nullopt};
    const auto identifierOf = [&](const JobDescription& description) {
      return LoginItem::itemFromServiceManagementDictionary(description, service).bundleIdentifier;
    };
    QCOMPARE(identifierOf(job({{"Program", {latin("/usr/bin/a")}}})), latin("root"));
    QCOMPARE(identifierOf(job({{"Program", {latin("/a")}}})), latin("root"));
    QCOMPARE(identifierOf(job({{"Label", {latin("no program")}}})), latin("no program"));
    QCOMPARE(identifierOf(job({{"Program", {true}}})), QString());
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

  void modelSwitchesItOnWithoutCaringForFailure() {
    Fixture f;
    FakeDefaultsStore store;
    PreferencesModel model(store, f.manager);
    model.turnOnAutoStartAndAutoFree();
    QVERIFY(f.manager.isEnabledToAutoLaunchWithHelperApp() && model.autoFreeUpMemory().value());
    f.service.refuses = true;
    model.autoFreeUpMemory().setValue(false);
    model.turnOnAutoStartAndAutoFree();
    QVERIFY(model.autoFreeUpMemory().value());
  }

  void runningLauncherIsNoticedAndTerminatedOnRequest() {
    Fixture f;
    QVERIFY(!f.manager.wasAutolaunchedWithHelperApp());
    QVERIFY(!f.manager.checkWasAutolaunchedWithHelperApp_AutoTerminateHelper(true));
    QVERIFY(f.notifications.posted.empty());
    f.service.running << launcherIdentifier;
    QVERIFY(f.manager.checkWasAutolaunchedWithHelperApp_AutoTerminateHelper(false));
    QVERIFY(f.manager.wasAutolaunchedWithHelperApp() && f.notifications.posted.empty());
    QVERIFY(f.manager.checkWasAutolaunchedWithHelperApp_AutoTerminateHelper(true));
    using Posted = FakeDistributedNotificationCenter::Posted;
    QCOMPARE(f.notifications.posted, (std::vector<Posted>{{latin("TERMINATEHELPER"), mainIdentifier}}));
    f.service.running.clear();
    QVERIFY(!f.manager.checkWasAutolaunchedWithHelperApp_AutoTerminateHelper(true));
    QVERIFY(!f.manager.wasAutolaunchedWithHelperApp());
  }

  void olderEntryIsFoundByLocationAndToggled() {
    Fixture f;
    f.service.sessionItems = {{latin("1"), mainProgram}, {latin("2"), latin("/other")}, {latin("3"), mainProgram}};
    QCOMPARE(f.manager.itemRefInLoginItems()->reference, latin("3"));
    f.manager.toggleLaunchAtLoginValue_WithoutHelperApp();
    QCOMPARE(f.manager.itemRefInLoginItems()->reference, latin("1"));
    f.manager.toggleLaunchAtLoginValue_WithoutHelperApp();
    QVERIFY(!f.manager.isLaunchAtStartup());
    f.manager.toggleLaunchAtLoginValue_WithoutHelperApp();
    QVERIFY(f.manager.isLaunchAtStartup());
    QCOMPARE(f.service.sessionItems.back().location, mainProgram);
    QCOMPARE(f.service.appendedHidden, std::optional(false));
  }
};

QTEST_GUILESS_MAIN(TestRunAtLoginManager)
#include "test_run_at_login_manager.moc"
