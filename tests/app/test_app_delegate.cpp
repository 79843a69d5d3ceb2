#include <QtTest>

#include "app/main_interface.h"
#include "app/zp_app_delegate.h"
#include "core/notification_center.h"
#include "login/run_at_login_manager.h"
#include "platform/fake/fake_distributed_notification_center.h"
#include "platform/fake/fake_login_item_service.h"

using namespace halvard;

namespace {

struct Launch {
  Launch() {
    notifications.addObserver(MainInterface::kShowMainWindowAndMakeActive, &context,
                              [this](const QVariant&) { ++panelAsked; });
    notifications.addObserver(MainInterface::kShowWindowAfterStart, &context,
                              [this](const QVariant&) { ++panelAskedByArgument; });
  }

  NotificationCenter notifications;
  FakeLoginItemService loginItems;
  FakeDistributedNotificationCenter distributed;
  HalvardRunAtLoginManager startAtLogin{loginItems, distributed, QStringLiteral("com.example.Main"),
                                        QStringLiteral("/opt/main")};
  ZPAppDelegate delegate{notifications, startAtLogin};
  QObject context;
  int panelAsked = 0;
  int panelAskedByArgument = 0;
};

}  // namespace

class TestAppDelegate : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void firstActivationShowsThePanelUnlessTheLauncherStartedTheProgram() {
    for (const bool byLauncher : {false, true}) {
      Launch launch;
      if (byLauncher) launch.loginItems.running = {QStringLiteral("com.example.Main.launcher")};
      launch.delegate.applicationDidFinishLaunching({});
      QCOMPARE(launch.distributed.posted.size(), byLauncher ? 1U : 0U);
      launch.delegate.applicationDidBecomeActive();
      QCOMPARE(launch.panelAsked, byLauncher ? 0 : 1);
      launch.delegate.applicationDidBecomeActive();
      QCOMPARE(launch.panelAsked, byLauncher ? 1 : 2);
      launch.delegate.applicationShouldHandleReopen();
      QCOMPARE(launch.panelAsked, byLauncher ? 2 : 3);
    }
  }

  void launcherIsToldToQuit() {
    Launch launch;
    launch.loginItems.running = {QStringLiteral("com.example.Main.launcher")};
    launch.delegate.applicationDidFinishLaunching({});
    const FakeDistributedNotificationCenter::Posted expected{QStringLiteral("TERMINATEHELPER"),
                                                             QStringLiteral("com.example.Main")};
    QCOMPARE(launch.distributed.posted.size(), 1U);
    QVERIFY(launch.distributed.posted.front() == expected);
  }

  void panelOpensWhenTheArgumentsAskForIt() {
    Launch launch;
    launch.delegate.applicationDidFinishLaunching({QStringLiteral("--demo")});
    QCOMPARE(launch.panelAskedByArgument, 0);
    launch.delegate.applicationDidFinishLaunching({MainInterface::kShowWindowAfterStart});
    QCOMPARE(launch.panelAskedByArgument, 1);
  }
};

QTEST_MAIN(TestAppDelegate)
#include "test_app_delegate.moc"
