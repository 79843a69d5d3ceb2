// Several copies of the real program, started at the same moment.
#include <QDBusConnectionInterface>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>
#include <algorithm>
#include <csignal>

#include "platform/linux/dbus/dbus_distributed_notification_center.h"
#include "support/private_bus.h"

using namespace halvard;
using halvard::test::PrivateBus;

namespace {

constexpr int kCopies = 5;
constexpr int kRounds = 8;

struct Session {
  explicit Session(const QString& busAddress) {
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), busAddress);
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    for (const char* name : {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_RUNTIME_DIR"})
      environment.insert(QString::fromLatin1(name), home.path());
  }

  void start(QProcess& process) const {
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    process.start(QStringLiteral(HALVARD_BIN_DIR "/halvard"), QStringList());
  }

  QTemporaryDir home;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
};

using Programs = std::vector<std::unique_ptr<QProcess>>;

std::ptrdiff_t running(const Programs& programs) {
  return std::count_if(programs.begin(), programs.end(),
                       [](const auto& program) { return program->state() != QProcess::NotRunning; });
}

/// A copy that leaves by itself does so with 0; one that is told to before it listens ends by the signal.
bool endedWell(const QProcess& program) {
  return program.exitStatus() == QProcess::NormalExit ? program.exitCode() == 0 : program.exitCode() == SIGTERM;
}

}  // namespace

class TestCopies : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void ofSeveralStartedAtOnceExactlyOneStays_data() {
    QTest::addColumn<bool>("withBus");
    QTest::newRow("over the session bus") << true;
    QTest::newRow("without a bus") << false;
  }
  void ofSeveralStartedAtOnceExactlyOneStays() {
    QFETCH(bool, withBus);
    PrivateBus bus;
    if (!bus.isRunning()) QSKIP("no dbus-daemon on this machine");
    for (int round = 0; round < kRounds; ++round) {
      const Session session(withBus ? bus.address() : QStringLiteral("unix:path=/nonexistent"));
      Programs programs;
      for (int copy = 0; copy < kCopies; ++copy) {
        programs.push_back(std::make_unique<QProcess>());
        session.start(*programs.back());
      }
      QTRY_COMPARE_WITH_TIMEOUT(running(programs), 1, 60000);
      for (const auto& program : programs) {
        if (program->state() == QProcess::NotRunning) QVERIFY2(endedWell(*program), qPrintable(program->errorString()));
      }
      // It really stays, and with it gone the place is free again at once, however it went.
      const auto stays = std::find_if(programs.begin(), programs.end(),
                                      [](const auto& program) { return program->state() == QProcess::Running; });
      QVERIFY(stays != programs.end());
      QProcess late;
      session.start(late);
      QTRY_COMPARE_WITH_TIMEOUT(late.state(), QProcess::NotRunning, 60000);
      QCOMPARE((*stays)->state(), QProcess::Running);
      (*stays)->kill();
      QVERIFY((*stays)->waitForFinished());
    }
  }

  void secondCopyTellsTheFirst() {
    PrivateBus bus;
    if (!bus.isRunning()) QSKIP("no dbus-daemon on this machine");
    const Session session(bus.address());
    const QDBusConnection connection = bus.connect();
    DBusDistributedNotificationCenter center(connection);
    QStringList heard;
    center.addObserver(QStringLiteral("AppCopyHaveJustTriedToLaunchNotificatioName"), {}, this,
                       [&](const QString& object) { heard << object; });
    QProcess first;
    session.start(first);
    QTRY_VERIFY_WITH_TIMEOUT(connection.interface()->isServiceRegistered(QStringLiteral("com.tessmar.Halvard")), 30000);
    QCOMPARE(heard, QStringList());
    QProcess second;
    session.start(second);
    QTRY_COMPARE_WITH_TIMEOUT(second.state(), QProcess::NotRunning, 30000);
    QCOMPARE(second.exitCode(), 0);
    QTRY_COMPARE(heard, QStringList{QStringLiteral("com.tessmar.Halvard")});
    QCOMPARE(first.state(), QProcess::Running);
    first.terminate();
    QVERIFY(first.waitForFinished());
    QCOMPARE(first.exitCode(), 0);
  }
};

QTEST_GUILESS_MAIN(TestCopies)
#include "test_copies.moc"
