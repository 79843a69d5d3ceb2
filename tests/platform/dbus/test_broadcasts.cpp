#include <QDBusVariant>
#include <QtTest>
#include <memory>

#include "fake_service.h"
#include "platform/linux/dbus/dbus_distributed_notification_center.h"
#include "platform/linux/dbus/portal_appearance.h"
#include "support/private_bus.h"

using namespace halvard;
using namespace halvard::test;

namespace {

const QString kNamespace = text("org.freedesktop.appearance");
const QString kKey = text("color-scheme");

QVariant boxed(const QVariant& value) {
  return QVariant::fromValue(QDBusVariant(value));
}

/// The settings portal of a desktop. An old one has no ReadOne().
std::unique_ptr<FakeService> startPortal(const QDBusConnection& connection, uint scheme, bool isOld = false) {
  const auto answer = [=](const QDBusMessage& question) {
    const QVariant value = boxed(question.arguments() == QVariantList{kNamespace, kKey} ? scheme : 99U);
    if (question.member() == text("Read")) return question.createReply(boxed(value));
    return isOld ? question.createErrorReply(QDBusError::UnknownMethod, {}) : question.createReply(value);
  };
  auto portal =
      std::make_unique<FakeService>(connection, "org.freedesktop.portal.Desktop", "/org/freedesktop/portal/desktop",
                                    "org.freedesktop.portal.Settings", answer);
  portal->start();
  return portal;
}

}  // namespace

/// What the session bus tells everybody.
class TestBroadcasts : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void appearanceReadsTheSchemeOfOldAndNewPortalsOnceTheyAreThere() {
    for (const bool isOld : {false, true}) {
      PrivateBus bus;
      QVERIFY(bus.isRunning());
      const PortalAppearance early(bus.connect());
      QVERIFY(!early.isDark());
      const auto portal = startPortal(bus.connect(), 1, isOld);
      const PortalAppearance late(bus.connect());
      QTRY_VERIFY(early.isDark() && late.isDark());
    }
    QVERIFY(!PortalAppearance(QDBusConnection(text("no such bus"))).isDark());
  }

  void appearanceFollowsChangesOfTheSchemeAlone() {
    PrivateBus bus;
    QVERIFY(bus.isRunning());
    const auto portal = startPortal(bus.connect(), 2);
    const PortalAppearance appearance(bus.connect());
    const QSignalSpy changes(&appearance, &Appearance::changed);
    QTRY_COMPARE(portal->asked("ReadOne").size(), 1);
    portal->emitSignal("SettingChanged", {kNamespace, text("contrast"), boxed(1U)});
    portal->emitSignal("SettingChanged", {text("org.gnome"), kKey, boxed(1U)});
    for (const uint scheme : {2U, 1U, 1U})
      portal->emitSignal("SettingChanged", {kNamespace, kKey, boxed(scheme)});
    QTRY_VERIFY(appearance.isDark());
    portal->emitSignal("SettingChanged", {kNamespace, kKey, boxed(0U)});
    QTRY_VERIFY(!appearance.isDark());
    QCOMPARE(changes.size(), 2);
  }

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

  void aProgramMayPostAndQuitAtOnce() {
    PrivateBus bus;
    QVERIFY(bus.isRunning());
    DBusDistributedNotificationCenter observer(bus.connect());
    int heard = 0;
    observer.addObserver(text("Launch"), text("halvard"), this, [&heard](const QString&) { ++heard; });
    for (int round = 1; round <= 5; ++round) {
      QCOMPARE(QProcess::execute(QCoreApplication::applicationFilePath(), {text("post"), bus.address()}), 0);
      QTRY_COMPARE(heard, round);
    }
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

/// Called "post" with the address of a bus, this program is one that posts and quits.
int main(int argc, char** argv) {
  QCoreApplication application(argc, argv);
  if (argc == 3 && QByteArray(argv[1]) == "post") {
    DBusDistributedNotificationCenter center(QDBusConnection::connectToBus(text(argv[2]), text("poster")));
    center.post(text("Launch"), text("halvard"));
    std::_Exit(0);
  }
  TestBroadcasts test;
  return QTest::qExec(&test, argc, argv);
}

#include "test_broadcasts.moc"
