#include <QProcess>
#include <QtTest>

#include "platform/linux/dbus/dbus_distributed_notification_center.h"
#include "support/private_bus.h"

using namespace halvard;
using namespace halvard::test;

class TestDistributedNotificationCenter : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void postsReachTheObserversOfTheirNameAndObject() {
    PrivateBus bus;
    QVERIFY(bus.isRunning());
    DBusDistributedNotificationCenter poster(bus.connect());
    DBusDistributedNotificationCenter observer(bus.connect());
    QStringList heard;
    const auto hear = [&heard](const char* who) {
      return [&heard, who](const QString& object) { heard.append(QLatin1String(who) + QLatin1Char(' ') + object); };
    };
    const QString launch = QStringLiteral("Launch");
    observer.addObserver(launch, QString(), this, hear("any"));
    observer.addObserver(launch, QStringLiteral("halvard"), this, hear("halvard"));
    poster.addObserver(launch, QString(), this, hear("poster"));
    auto gone = std::make_unique<QObject>();
    observer.addObserver(launch, QString(), gone.get(), hear("gone"));
    gone.reset();

    poster.post(QStringLiteral("Other"), QStringLiteral("halvard"));
    poster.post(launch, QStringLiteral("somebody"));
    poster.post(launch, QStringLiteral("halvard"));
    QTRY_COMPARE(heard.size(), 5);
    heard.sort();
    QCOMPARE(heard, (QStringList{QStringLiteral("any halvard"), QStringLiteral("any somebody"),
                                 QStringLiteral("halvard halvard"), QStringLiteral("poster halvard"),
                                 QStringLiteral("poster somebody")}));
  }

  void aProgramMayPostAndQuitAtOnce() {
    PrivateBus bus;
    QVERIFY(bus.isRunning());
    DBusDistributedNotificationCenter observer(bus.connect());
    int heard = 0;
    observer.addObserver(QStringLiteral("Launch"), QStringLiteral("halvard"), this,
                         [&heard](const QString&) { ++heard; });
    for (int round = 1; round <= 5; ++round) {
      QProcess program;
      program.start(QStringLiteral(HALVARD_POSTER),
                    {bus.address(), QStringLiteral("Launch"), QStringLiteral("halvard")});
      QVERIFY(program.waitForFinished());
      QCOMPARE(program.exitCode(), 0);
      QTRY_COMPARE(heard, round);
    }
  }

  void withoutABusNothingHappensAndNothingFails() {
    DBusDistributedNotificationCenter center(QDBusConnection(QStringLiteral("no such bus")));
    center.addObserver(QStringLiteral("Launch"), QString(), this,
                       [](const QString&) { QFAIL("nobody can have posted"); });
    center.post(QStringLiteral("Launch"), QString());

    PrivateBus bus;
    DBusDistributedNotificationCenter orphan(bus.connect());
    bus.stop();
    QElapsedTimer timer;
    timer.start();
    orphan.post(QStringLiteral("Launch"), QString());
    QVERIFY(timer.elapsed() < 2000);
  }
};

QTEST_GUILESS_MAIN(TestDistributedNotificationCenter)
#include "test_distributed_notification_center.moc"
