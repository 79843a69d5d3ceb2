#include <QtTest>

#include "launcher/launcher.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_distributed_notification_center.h"
#include "support/test_folder.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;

class TestLauncher : public QObject {
  Q_OBJECT

 private Q_SLOTS:
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

QTEST_GUILESS_MAIN(TestLauncher)
#include "test_launcher.moc"
