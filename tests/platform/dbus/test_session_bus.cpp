#include <QDBusArgument>
#include <QDBusVariant>
#include <QtTest>

#include "fake_service.h"
#include "platform/linux/dbus/dbus_distributed_notification_center.h"
#include "platform/linux/dbus/dbus_user_notification_center.h"
#include "platform/linux/dbus/portal_appearance.h"
#include "support/private_bus.h"
#include "support/test_folder.h"

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

const QVariantMap kCleanedInfo{{text("kind"), text("cleaned")}};
const UserNotification kCleaned{text("Halvard"), text("1 < 2 & \"three\""), text("Show"), kCleanedInfo};
const QVariantMap kOtherInfo{{text("kind"), text("other")}};
const UserNotification kOther{text("other"), {}, {}, kOtherInfo};

/// A session with a notification daemon, and the center of a program.
struct Notifications {
  PrivateBus bus;
  QStringList capabilities = texts({"actions", "body", "body-markup"});
  bool daemonHangs = false;
  FakeService daemon{bus.connect(), "org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                     "org.freedesktop.Notifications", [this](const QDBusMessage& question) {
                       const auto id = static_cast<uint>(shown().size());
                       if (question.member() == text("Notify")) return question.createReply(id);
                       return daemonHangs ? QDBusMessage() : question.createReply(capabilities);
                     }};
  QDBusConnection connection = bus.connect();  // the center's
  TestFolder folder;
  std::unique_ptr<DBusUserNotificationCenter> center;
  QList<QPair<QVariantMap, bool>> activations;

  Notifications() {
    daemon.start();
    makeCenter();
  }
  void makeCenter() {
    const DBusUserNotificationCenter::Sender sender{text("Halvard"), text("icon"), text("com.tessmar.Halvard")};
    center = std::make_unique<DBusUserNotificationCenter>(connection, sender, folder.path("notifications"));
    activations.clear();
    const auto remember = [this](const QVariantMap& info, bool byButton) { activations.append({info, byButton}); };
    QObject::connect(center.get(), &UserNotificationCenter::activated, center.get(), remember);
  }

  /// A notification's id is its place among those shown, counted from 1.
  QList<QVariantList> shown() const { return daemon.asked("Notify"); }
  void click(uint id, const char* action) { daemon.emitSignal("ActionInvoked", {id, text(action)}); }
  void close(uint id) { daemon.emitSignal("NotificationClosed", {id, 2U}); }

  /// Returns when the daemon shows `count` notifications and everything it sent so far has arrived.
  void settle(int count) {
    QTRY_COMPARE(shown().size(), count);
    const QString service = text("org.freedesktop.Notifications");
    waitForReply(connection.asyncCall(QDBusMessage::createMethodCall(service, text("/org/freedesktop/Notifications"),
                                                                     service, text("GetCapabilities"))));
  }
};
using Activations = decltype(Notifications::activations);

}  // namespace

/// What the session bus tells everybody, and what a program tells its user over it.
class TestSessionBus : public QObject {
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

  void showsWhatTheDaemonCanShow() {
    Notifications session;
    session.center->deliver(kCleaned);
    session.settle(1);
    const QVariantList full = session.shown()[0];
    QCOMPARE(full.mid(0, 6),
             (QVariantList{text("Halvard"), 0U, text("icon"), text("Halvard"), text("1 &lt; 2 &amp; &quot;three&quot;"),
                           texts({"default", "", "action", "Show"})}));
    QCOMPARE(qdbus_cast<QVariantMap>(full[6])[text("desktop-entry")].toString(), text("com.tessmar.Halvard"));

    session.capabilities = texts({"body"});
    session.center->deliver(kCleaned);
    session.settle(2);
    QCOMPARE(session.shown()[1].mid(4, 2), (QVariantList{kCleaned.informativeText, QStringList()}));
  }

  void onlyClicksOnWhatIsShownComeBackWithTheirUserInformation() {
    Notifications session;
    session.center->deliver(kCleaned);
    session.center->deliver(kOther);
    session.settle(2);
    session.click(1, "default");
    session.click(1, "action");
    session.click(2, "default");
    session.click(1, "unheard of");
    session.close(1);
    session.click(1, "default");
    session.click(77, "default");
    session.settle(2);
    QCOMPARE(session.activations, (Activations{{kCleanedInfo, false}, {kCleanedInfo, true}, {kOtherInfo, false}}));
    // A daemon that starts anew counts its ids anew.
    session.daemon.stop();
    session.daemon.start();
    session.settle(0);
    session.click(2, "default");
    session.settle(0);
    QCOMPARE(session.activations.size(), 3);
  }

  void clicksOnNotificationsOfAnEarlierRunAreUnderstood() {
    Notifications session;
    session.center->deliver(kCleaned);
    session.center->deliver(kOther);
    session.settle(2);
    session.makeCenter();
    session.click(1, "action");
    QTRY_COMPARE(session.activations, (Activations{{kCleanedInfo, true}}));
    session.close(2);
    session.settle(2);
    // The desktop starts the program for a click and does not say which notification it was on.
    for (const QVariantMap& remembered : {kCleanedInfo, QVariantMap()}) {
      session.makeCenter();
      session.center->activateAction(text("default"));
      QCOMPARE(session.activations, (Activations{{remembered, false}}));
      QFile::remove(session.folder.path("notifications"));
    }
  }

  void aDaemonThatHangsOrIsMissingHoldsNobodyUp() {
    Notifications session;
    session.daemonHangs = true;
    QElapsedTimer timer;
    timer.start();
    session.center->deliver(kCleaned);
    QTRY_COMPARE(session.daemon.asked("GetCapabilities").size(), 1);
    session.daemon.stop();
    session.center->deliver(kCleaned);
    session.bus.stop();
    session.center->deliver(kCleaned);
    DBusUserNotificationCenter(QDBusConnection(text("no such bus")), {}).deliver(kCleaned);
    QVERIFY(timer.elapsed() < 1000);
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
  TestSessionBus test;
  return QTest::qExec(&test, argc, argv);
}

#include "test_session_bus.moc"
