#include <QDir>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

#include "launcher/launcher.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_distributed_notification_center.h"
#include "platform/linux/dbus/dbus_distributed_notification_center.h"
#include "support/private_bus.h"

using namespace halvard;
using namespace halvard::test;

namespace {

const QString identifier = QStringLiteral("com.tessmar.Halvard");
const QString terminate = QStringLiteral("TERMINATEHELPER");

// A folder with the launcher and, unless it is to be missing, a stub beside it that writes its pid and then stays.
struct Installation {
  QTemporaryDir folder;
  QString launcher = folder.filePath(QStringLiteral("halvard-launcher"));
  QString program = folder.filePath(QStringLiteral("halvard"));
  QString pidFile = folder.filePath(QStringLiteral("pid"));

  explicit Installation(bool withProgram) {
    QFile::copy(QStringLiteral(HALVARD_LAUNCHER), launcher);
    QFile file(program);
    if (!withProgram || !file.open(QIODevice::WriteOnly)) return;
    file.write("#!/bin/sh\necho $$ > \"$(dirname \"$0\")/pid\"\nexec sleep 60\n");
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
  }
  ~Installation() {
    if (pid() > 0) ::kill(pid(), SIGKILL);
  }

  pid_t pid() const {
    QFile file(pidFile);
    return file.open(QIODevice::ReadOnly) ? static_cast<pid_t>(file.readAll().trimmed().toInt()) : 0;
  }
};

}  // namespace

class TestLauncher : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void quitsOnceOnItsNotificationOrAfterItsPatience() {
    FakeDistributedNotificationCenter notifications;
    FakeClock clock;
    int quits = 0;
    const auto quit = [&] { ++quits; };
    Launcher told(notifications, clock, identifier, quit);
    QVERIFY(told.start(QStringLiteral("/bin/true")));
    notifications.arrive(terminate, QStringLiteral("com.example.Other"));
    notifications.arrive(QStringLiteral("OTHER"), identifier);
    QCOMPARE(quits, 0);
    notifications.arrive(terminate, identifier);
    notifications.arrive(terminate, identifier);
    QCOMPARE(quits, 1);
    Launcher patient(notifications, clock, identifier, quit);
    QVERIFY(patient.start(QStringLiteral("/bin/true")));
    clock.advance(Launcher::patience - std::chrono::milliseconds(1));
    QCOMPARE(quits, 1);
    clock.advance(std::chrono::milliseconds(1));
    notifications.arrive(terminate, identifier);
    QCOMPARE(quits, 2);
  }

  void startsTheProgramBesideItAndLeavesItRunning() {
    PrivateBus bus;
    if (!bus.isRunning()) QSKIP("no message bus can be started here");
    const Installation installation(true);
    QProcess launcher;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
    launcher.setProcessEnvironment(environment);
    launcher.start(installation.launcher, {});
    QVERIFY(launcher.waitForStarted());
    QTRY_VERIFY(installation.pid() > 0);
    QCOMPARE(launcher.state(), QProcess::Running);
    DBusDistributedNotificationCenter notifications(bus.connect());
    notifications.post(terminate, QStringLiteral("com.example.Other"));
    notifications.post(terminate, identifier);
    QVERIFY(launcher.waitForFinished());
    QCOMPARE(launcher.exitStatus(), QProcess::NormalExit);
    QCOMPARE(launcher.exitCode(), 0);
    QCOMPARE(::kill(installation.pid(), 0), 0);
  }

  void launcherWithoutItsProgramSaysSo() {
    const Installation installation(false);
    QProcess launcher;
    launcher.start(installation.launcher, {});
    QVERIFY(launcher.waitForFinished());
    QCOMPARE(launcher.exitCode(), 1);
    QVERIFY(launcher.readAllStandardError().startsWith("halvard-launcher: " + QFile::encodeName(installation.program)));
  }
};

QTEST_GUILESS_MAIN(TestLauncher)
#include "test_launcher.moc"
