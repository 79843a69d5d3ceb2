#include <QDBusArgument>
#include <QtTest>
#include <memory>

#include "fake_service.h"
#include "platform/linux/dbus/dbus_user_notification_center.h"
#include "support/private_bus.h"
#include "support/test_folder.h"

using namespace halvard;
using namespace halvard::test;

namespace {

const QVariantMap kCleanedInfo{{text("kind"), text("cleaned")}};
const UserNotification kCleaned{text("Halvard"), text("1 < 2 & \"three\""), text("Show"), kCleanedInfo};
const QVariantMap kOtherInfo{{text("kind"), text("other")}};
const UserNotification kOther{text("other"), {}, {}, kOtherInfo};

/// A session with a notification daemon, and the center of a program.
struct Session {
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

  Session() {
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
using Activations = decltype(Session::activations);

}  // namespace

class TestUserNotificationCenter : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void showsWhatTheDaemonCanShow() {
    Session session;
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
    Session session;
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
    Session session;
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
    Session session;
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

QTEST_GUILESS_MAIN(TestUserNotificationCenter)
#include "test_user_notification_center.moc"
