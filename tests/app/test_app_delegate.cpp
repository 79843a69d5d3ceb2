#include <QtTest>

#include "app/launch_steps.h"
#include "app/main_interface.h"
#include "app/zp_app_delegate.h"
#include "core/notification_center.h"
#include "lifecycle/document_store.h"
#include "lifecycle/move_to_applications.h"
#include "lifecycle/single_instance.h"
#include "platform/fake/fake_alert_presenter.h"
#include "platform/fake/fake_disk.h"
#include "platform/fake/fake_object_store.h"
#include "platform/fake/fake_running_copies.h"
#include "support/login_desk.h"
#include "support/texts.h"

using namespace halvard;
using namespace halvard::test;

namespace {

using Posted = FakeDistributedNotificationCenter::Posted;

/// A program that runs from a bundle outside the folders for applications.
struct Launch : LoginDesk, LaunchSteps {
  Launch() {
    const auto note = [this](const QString& name, const char* event) {
      notifications.addObserver(name, &context, [this, event](const QVariant&) { log(event); });
    };
    note(MainInterface::kShowMainWindowAndMakeActive, "panel");
    note(MainInterface::kShowWindowAfterStart, "panel by argument");
    bundle.mkpath(text("."));
    QFile file(bundle.filePath(text("AppRun")));
    if (file.open(QIODevice::WriteOnly)) file.setPermissions(QFile::ReadOwner | QFile::ExeOwner);
  }

  void log(const char* event) { copies.events << text(event); }
  void forceLightAppearance() override { log("light"); }
  void awakeInterface() override { log("awake"); }
  void copyApplications() override { log("siblings"); }
  void setSharingButton() override { log("sharing"); }
  void startUpdater() override { log("updater"); }
  void startPromotionManager() override { log("promotion"); }
  void removeMistakenFolders() override { log("folders"); }
  void terminate() override { log("end"); }

  QTemporaryDir home;
  QDir bundle{home.filePath(text("Downloads/Halvard.AppDir"))};
  /// Also what happened, in order.
  FakeRunningCopies copies;
  NotificationCenter notifications;
  FakeAlertPresenter alerts;
  FakeObjectStore objects;
  FakeStandardFolders folders{QFile::encodeName(home.path())};
  SingleInstance singleInstance{copies, distributed, notifications, bundleIdentifier,
                                MainInterface::kShowMainWindowAndMakeActive};
  MoveToApplications moveOffer{{store, alerts, copies, folders}, bundle.path(), text("Main")};
  DocumentStore documents{objects, alerts, home.path()};
  bool canLaunch = true;
  ZPAppDelegate delegate{{notifications, startAtLogin, singleInstance, moveOffer, documents, *this,
                          [this](const QString& moved) {
                            copies.events << text("launch ") + moved;
                            return canLaunch;
                          },
                          false}};
  QObject context;
};

const QStringList steps = words("light claim awake siblings sharing updater promotion folders");

}  // namespace

class TestAppDelegate : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void panelOpensByArgumentBeforeTheLastStep() {
    Launch asked;
    QVERIFY(asked.delegate.applicationDidFinishLaunching({MainInterface::kShowWindowAfterStart}));
    QStringList withPanel = steps;
    withPanel.insert(withPanel.size() - 1, text("panel by argument"));
    QCOMPARE(asked.copies.events, withPanel);
  }

  void secondCopyBringsTheFirstForwardAndShowsNothing() {
    Launch launch;
    launch.copies.copies = words("first older oldest");
    QVERIFY(!launch.delegate.applicationDidFinishLaunching({}));
    QCOMPARE(launch.copies.events.join(u','), text("light,claim,activate first,terminate older,terminate oldest"));
    QCOMPARE(launch.distributed.posted.size(), 1U);
    const Posted word{text("AppCopyHaveJustTriedToLaunchNotificatioName"), launch.bundleIdentifier};
    QVERIFY(launch.distributed.posted.front() == word);
    // One that is just quitting is no copy to wait for.
    Launch after;
    after.copies.isHolderQuitting = true;
    QVERIFY(after.delegate.applicationDidFinishLaunching({}));
    QCOMPARE(after.copies.events.first(4).join(u' '), text("light claim claim awake"));

    // Where that word arrives, it shows the panel.
    Launch first;
    QVERIFY(first.delegate.applicationDidFinishLaunching({text("--demo")}));
    first.distributed.arrive(word.name, text("com.example.Other"));
    QCOMPARE(first.copies.events, steps);
    first.distributed.arrive(word.name, word.object);
    QCOMPARE(first.copies.events, steps + QStringList{text("panel")});
  }

  void movedProgramStartsFromItsNewPlaceAndThisCopyEnds() {
    for (const bool canLaunch : {true, false}) {
      Launch launch;
      launch.canLaunch = canLaunch;
      launch.alerts.answers = {{0, false}};
      QVERIFY(launch.delegate.applicationDidFinishLaunching({}));
      launch.delegate.applicationDidBecomeActive();  // nothing comes before the question that is open
      const QString copy = launch.home.filePath(text("Applications/Halvard.AppDir/AppRun"));
      const QStringList expected = steps.first(3) + QStringList{text("release"), text("launch ") + copy,
                                                                canLaunch ? text("end") : text("claim")};
      QTRY_COMPARE(launch.copies.events, expected);
      QVERIFY(QFileInfo(copy).isExecutable());
    }
  }

  void firstActivationShowsThePanelUnlessTheLauncherStartedTheProgram() {
    for (const bool byLauncher : {false, true}) {
      Launch launch;
      if (byLauncher) launch.loginItems.running = {launch.bundleIdentifier + text(".launcher")};
      launch.delegate.applicationDidFinishLaunching({});
      // The launcher is told to quit.
      const Posted told{text("TERMINATEHELPER"), launch.bundleIdentifier};
      QVERIFY(launch.distributed.posted == (byLauncher ? std::vector{told} : std::vector<Posted>()));
      launch.copies.events.clear();
      launch.delegate.applicationDidBecomeActive();
      QCOMPARE(launch.copies.events.size(), byLauncher ? 0 : 1);
      launch.delegate.applicationDidBecomeActive();
      QVERIFY(launch.delegate.applicationShouldHandleReopen());
      QCOMPARE(launch.copies.events.size(), byLauncher ? 2 : 3);
    }
  }

  void unsavedDocumentHasASayInTheEnd() {
    Launch launch;
    const auto mayEnd = [&] {
      launch.alerts.shown.clear();
      return launch.delegate.applicationShouldTerminate();
    };
    QVERIFY(mayEnd() && launch.objects.opened.isEmpty());
    QVERIFY(launch.documents.managedObjectContext());
    QCOMPARE(launch.objects.opened, QStringList{launch.home.filePath(text("Kelvo/Kelvo.storedata"))});
    QVERIFY2(mayEnd(), "nothing changed");
    launch.objects.changed = true;
    launch.objects.canCommit = false;
    QVERIFY2(!mayEnd() && launch.alerts.shown.empty(), "cannot commit");
    launch.objects.canCommit = launch.objects.refusesToSave = true;
    for (const int cancels : {0, 1}) {
      launch.alerts.answers = {{0, false}, {cancels, false}};
      QCOMPARE(mayEnd(), cancels == 0);
      QCOMPARE(launch.alerts.shown.size(), 2U);
      QCOMPARE(launch.alerts.shown.back().message, text("Could not save changes while quitting. Quit anyway?"));
    }
    launch.objects.refusesToSave = false;
    QVERIFY2(mayEnd() && launch.alerts.shown.empty() && !launch.objects.changed, "saved");
  }

  void storeThatCannotBeOpenedSaysSoAndTheProgramMayEnd() {
    Launch launch;
    launch.objects.refusesToOpen = true;
    QVERIFY(!launch.documents.managedObjectContext());
    QCOMPARE(launch.alerts.shown.back().message, text("Failed to initialize the store"));
    QCOMPARE(launch.alerts.shown.back().informativeText, text("There was an error building up the data file."));
    QVERIFY(launch.delegate.applicationShouldTerminate());
    Launch other;
    QFile file(other.home.filePath(text("Kelvo")));
    QVERIFY(file.open(QIODevice::WriteOnly) && !other.documents.managedObjectContext());
    QCOMPARE(other.alerts.shown.back().informativeText,
             text("Expected a folder to store application data, found a file (%1).").arg(file.fileName()));
  }
};

QTEST_MAIN(TestAppDelegate)
#include "test_app_delegate.moc"
