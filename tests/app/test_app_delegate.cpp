#include <QTemporaryDir>
#include <QtTest>

#include "app/launch_steps.h"
#include "app/main_interface.h"
#include "app/zp_app_delegate.h"
#include "core/notification_center.h"
#include "lifecycle/document_store.h"
#include "lifecycle/move_to_applications.h"
#include "lifecycle/single_instance.h"
#include "login/run_at_login_manager.h"
#include "platform/fake/fake_alert_presenter.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_distributed_notification_center.h"
#include "platform/fake/fake_login_item_service.h"
#include "platform/fake/fake_object_store.h"
#include "platform/fake/fake_running_copies.h"

using namespace halvard;

namespace {

QString latin(const char* text) {
  return QString::fromLatin1(text);
}

const QString bundleIdentifier = latin("com.example.Main");

/// A program that runs from a bundle outside the folders for applications.
struct Launch : LaunchSteps {
  Launch() {
    const auto note = [this](const QString& name, const char* event) {
      notifications.addObserver(name, &context, [this, event](const QVariant&) { log(event); });
    };
    note(MainInterface::kShowMainWindowAndMakeActive, "panel");
    note(MainInterface::kShowWindowAfterStart, "panel by argument");
    bundle.mkpath(latin("."));
    QFile file(bundle.filePath(latin("AppRun")));
    if (file.open(QIODevice::WriteOnly)) file.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
  }

  void log(const char* event) { copies.events << latin(event); }
  void forceLightAppearance() override { log("light"); }
  void awakeInterface() override { log("awake"); }
  void copyApplications() override { log("siblings"); }
  void setSharingButton() override { log("sharing"); }
  void startUpdater() override { log("updater"); }
  void startPromotionManager() override { log("promotion"); }
  void removeMistakenFolders() override { log("folders"); }
  void terminate() override { log("end"); }

  QTemporaryDir home;
  QDir bundle{home.filePath(latin("Downloads/Halvard.AppDir"))};
  /// Also what happened, in order.
  FakeRunningCopies copies;
  NotificationCenter notifications;
  FakeDefaultsStore store;
  FakeAlertPresenter alerts;
  FakeObjectStore objects;
  FakeStandardFolders folders{QFile::encodeName(home.path())};
  FakeLoginItemService loginItems;
  FakeDistributedNotificationCenter distributed;
  HalvardRunAtLoginManager startAtLogin{loginItems, distributed, bundleIdentifier, latin("/opt/main")};
  SingleInstance singleInstance{copies, distributed, notifications, bundleIdentifier,
                                MainInterface::kShowMainWindowAndMakeActive};
  MoveToApplications moveOffer{{store, alerts, copies, folders}, bundle.path(), latin("Main")};
  DocumentStore documents{objects, alerts, home.path()};
  bool canLaunch = true;
  ZPAppDelegate delegate{{notifications, startAtLogin, singleInstance, moveOffer, documents, *this,
                          [this](const QString& program) {
                            copies.events << latin("launch ") + program;
                            return canLaunch;
                          },
                          false}};
  QObject context;
};

const QStringList steps{latin("light"),   latin("claim"),   latin("awake"),     latin("siblings"),
                        latin("sharing"), latin("updater"), latin("promotion"), latin("folders")};

}  // namespace

class TestAppDelegate : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void stepsOfALaunchHaveTheirOrder() {
    Launch launch;
    QVERIFY(launch.delegate.applicationDidFinishLaunching({latin("--demo")}));
    QCOMPARE(launch.copies.events, steps);
    Launch asked;
    QVERIFY(asked.delegate.applicationDidFinishLaunching({MainInterface::kShowWindowAfterStart}));
    QStringList withPanel = steps;
    withPanel.insert(withPanel.size() - 1, latin("panel by argument"));
    QCOMPARE(asked.copies.events, withPanel);
  }

  void secondCopyBringsTheFirstForwardAndShowsNothing() {
    Launch launch;
    launch.copies.copies = {latin("first"), latin("older"), latin("oldest")};
    QVERIFY(!launch.delegate.applicationDidFinishLaunching({}));
    const QStringList expected{latin("light"), latin("claim"), latin("activate first"), latin("terminate older"),
                               latin("terminate oldest")};
    QCOMPARE(launch.copies.events, expected);
    QCOMPARE(launch.distributed.posted.size(), 1U);
    const FakeDistributedNotificationCenter::Posted word{latin("AppCopyHaveJustTriedToLaunchNotificatioName"),
                                                         bundleIdentifier};
    QVERIFY(launch.distributed.posted.front() == word);
  }

  void wordOfAnotherCopyShowsThePanel() {
    Launch launch;
    launch.delegate.applicationDidFinishLaunching({});
    launch.copies.events.clear();
    launch.distributed.arrive(SingleInstance::appCopyHaveJustTriedToLaunchNotificatioName(),
                              latin("com.example.Other"));
    QCOMPARE(launch.copies.events, QStringList());
    launch.distributed.arrive(SingleInstance::appCopyHaveJustTriedToLaunchNotificatioName(), bundleIdentifier);
    QCOMPARE(launch.copies.events, QStringList{latin("panel")});
  }

  void movedProgramStartsFromItsNewPlaceAndThisCopyEnds_data() {
    QTest::addColumn<bool>("canLaunch");
    QTest::addColumn<QStringList>("afterwards");
    QTest::newRow("launched") << true << QStringList{latin("end")};
    QTest::newRow("not launched") << false << QStringList{latin("claim")};
  }
  void movedProgramStartsFromItsNewPlaceAndThisCopyEnds() {
    QFETCH(bool, canLaunch);
    QFETCH(QStringList, afterwards);
    Launch launch;
    launch.canLaunch = canLaunch;
    launch.alerts.answers = {{0, false}};
    QVERIFY(launch.delegate.applicationDidFinishLaunching({}));
    launch.delegate.applicationDidBecomeActive();  // nothing comes before the question that is open
    const QString copy = launch.home.filePath(latin("Applications/Halvard.AppDir/AppRun"));
    const QStringList expected = steps.mid(0, 3) + QStringList{latin("release"), latin("launch ") + copy} + afterwards;
    QTRY_COMPARE(launch.copies.events, expected);
    QVERIFY(QFileInfo(copy).isExecutable());
  }

  void firstActivationShowsThePanelUnlessTheLauncherStartedTheProgram() {
    for (const bool byLauncher : {false, true}) {
      Launch launch;
      if (byLauncher) launch.loginItems.running = {bundleIdentifier + latin(".launcher")};
      launch.delegate.applicationDidFinishLaunching({});
      // The launcher is told to quit.
      const FakeDistributedNotificationCenter::Posted told{latin("TERMINATEHELPER"), bundleIdentifier};
      QCOMPARE(launch.distributed.posted.size(), byLauncher ? 1U : 0U);
      QVERIFY(!byLauncher || launch.distributed.posted.front() == told);
      launch.copies.events.clear();
      launch.delegate.applicationDidBecomeActive();
      QCOMPARE(launch.copies.events.size(), byLauncher ? 0 : 1);
      launch.delegate.applicationDidBecomeActive();
      QVERIFY(launch.delegate.applicationShouldHandleReopen());
      QCOMPARE(launch.copies.events.size(), byLauncher ? 2 : 3);
    }
  }

  void unsavedDocumentHasASayInTheEnd_data() {
    QTest::addColumn<bool>("canCommit");
    QTest::addColumn<bool>("changed");
    QTest::addColumn<bool>("refusesToSave");
    QTest::addColumn<int>("answer");
    QTest::addColumn<bool>("ends");
    QTest::addColumn<int>("alerts");
    QTest::newRow("nothing changed") << true << false << false << 0 << true << 0;
    QTest::newRow("cannot commit") << false << true << false << 0 << false << 0;
    QTest::newRow("saved") << true << true << false << 0 << true << 0;
    QTest::newRow("not saved, quit anyway") << true << true << true << 0 << true << 2;
    QTest::newRow("not saved, cancelled") << true << true << true << 1 << false << 2;
  }
  void unsavedDocumentHasASayInTheEnd() {
    QFETCH(bool, canCommit);
    QFETCH(bool, changed);
    QFETCH(bool, refusesToSave);
    QFETCH(int, answer);
    Launch launch;
    QVERIFY(launch.delegate.applicationShouldTerminate());
    QCOMPARE(launch.objects.opened.size(), 0);
    QVERIFY(launch.documents.managedObjectContext());
    QCOMPARE(launch.objects.opened, QStringList{launch.home.filePath(latin("Kelvo/Kelvo.storedata"))});
    launch.objects.canCommit = canCommit;
    launch.objects.changed = changed;
    launch.objects.refusesToSave = refusesToSave;
    launch.alerts.answers = {{0, false}, {answer, false}};
    QTEST(launch.delegate.applicationShouldTerminate(), "ends");
    QTEST(static_cast<int>(launch.alerts.shown.size()), "alerts");
    if (launch.alerts.shown.empty()) return;
    QCOMPARE(launch.alerts.shown.back().message, latin("Could not save changes while quitting. Quit anyway?"));
  }

  void storeThatCannotBeOpenedSaysSoAndTheProgramMayEnd() {
    Launch launch;
    launch.objects.refusesToOpen = true;
    QVERIFY(!launch.documents.managedObjectContext());
    QCOMPARE(launch.alerts.shown.back().message, latin("Failed to initialize the store"));
    QCOMPARE(launch.alerts.shown.back().informativeText, latin("There was an error building up the data file."));
    QFile file(launch.home.filePath(latin("file")));
    QVERIFY(file.open(QIODevice::WriteOnly) && QDir(launch.home.path()).rmdir(latin("Kelvo")));
    QVERIFY(file.rename(launch.home.filePath(latin("Kelvo"))));
    QVERIFY(!launch.documents.managedObjectContext());
    QCOMPARE(launch.alerts.shown.back().informativeText,
             latin("Expected a folder to store application data, found a file (%1).").arg(file.fileName()));
    QVERIFY(launch.delegate.applicationShouldTerminate());
  }
};

QTEST_MAIN(TestAppDelegate)
#include "test_app_delegate.moc"
