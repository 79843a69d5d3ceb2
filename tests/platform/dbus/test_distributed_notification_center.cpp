#include <QtTest>

#include "platform/linux/dbus/dbus_distributed_notification_center.h"
#include "support/private_bus.h"
#include "support/texts.h"

using namespace halvard;
using namespace halvard::test;

class TestDistributedNotificationCenter : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void postsReachTheObserversOfTheirNameAndObject() {
    PrivateBus bus;
    QVERIFY(bus.isRunning());
    DBusDistributedNotificationCenter poster(bus.connect()), observer(bus.connect());
    QStringList heard;
    const auto hear = [&heard](const char* who) {
      return [&heard, who](const QString& object) { heard << text(who) + u' ' + object; };
    };
    const QString launch = text("Launch");
    observer.addObserver(launch, QString(), this, hear("any"));
    observer.addObserver(launch, text("halvard"), this, hear("halvard"));
    poster.addObserver(launch, QString(), this, hear("poster"));
    auto gone = std::make_unique<QObject>();
    observer.addObserver(launch, QString(), gone.get(), hear("gone"));
    gone.reset();

    poster.post(text("Other"), text("halvard"));
    poster.post(launch, text("somebody"));
    poster.post(launch, text("halvard"));
    QTRY_COMPARE(heard.size(), 5);
    heard.sort();
    QCOMPARE(heard, texts({"any halvard", "any somebody", "halvard halvard", "poster halvard", "poster somebody"}));
  }

  void withoutABusNothingHappensAndNothingFails() {
    DBusDistributedNotificationCenter center(QDBusConnection(text("no such bus")));
    center.addObserver(text("Launch"), QString(), this, [](const QString&) { QFAIL("nobody can have posted"); });
    center.post(text("Launch"), QString());
    PrivateBus bus;
    DBusDistributedNotificationCenter orphan(bus.connect());
    bus.stop();
    QElapsedTimer timer;
    timer.start();
    orphan.post(text("Launch"), QString());
    QVERIFY(timer.elapsed() < 2000);
  }
};

QTEST_GUILESS_MAIN(TestDistributedNotificationCenter)
#include "test_distributed_notification_center.moc"
