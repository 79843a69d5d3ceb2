#include <QSignalSpy>
#include <QtTest>
#include <memory>

#include "fake_notification_daemon.h"
#include "platform/linux/dbus/dbus_user_notification_center.h"
#include "support/private_bus.h"

using namespace halvard;
using namespace halvard::test;

namespace {

const UserNotification kCleaned{QStringLiteral("Halvard"),
                                QStringLiteral("1 < 2 & \"three\""),
                                QStringLiteral("Show"),
                                {{QStringLiteral("kind"), QStringLiteral("cleaned")}}};

}  // namespace

class TestUserNotificationCenter : public QObject {
  Q_OBJECT

 private:
  using Activations = QList<QPair<QVariantMap, bool>>;

  std::unique_ptr<PrivateBus> m_bus;
  std::unique_ptr<FakeNotificationDaemon> m_daemon;
  std::unique_ptr<QDBusConnection> m_connection;  // the center's
  std::unique_ptr<QTemporaryDir> m_session;
  std::unique_ptr<DBusUserNotificationCenter> m_center;
  Activations m_activations;

  /// Returns when the daemon shows `count` notifications and everything it sent so far has arrived.
  void settle(int count) {
    QTRY_COMPARE(m_daemon->shown.size(), count);
    const QString service = QStringLiteral("org.freedesktop.Notifications");
    waitForReply(m_connection->asyncCall(QDBusMessage::createMethodCall(
        service, QStringLiteral("/org/freedesktop/Notifications"), service, QStringLiteral("GetCapabilities"))));
  }

  void makeCenter() {
    m_center = std::make_unique<DBusUserNotificationCenter>(
        *m_connection,
        DBusUserNotificationCenter::Sender{QStringLiteral("Halvard"), QStringLiteral("icon"),
                                           QStringLiteral("com.tessmar.Halvard")},
        m_session->filePath(QStringLiteral("notifications")));
    connect(m_center.get(), &UserNotificationCenter::activated, this,
            [this](const QVariantMap& userInfo, bool byButton) {
              m_activations.append({userInfo, byButton});
            });
  }

 private Q_SLOTS:
  void init() {
    m_bus = std::make_unique<PrivateBus>();
    QVERIFY(m_bus->isRunning());
    m_daemon = std::make_unique<FakeNotificationDaemon>(m_bus->connect());
    m_connection = std::make_unique<QDBusConnection>(m_bus->connect());
    m_session = std::make_unique<QTemporaryDir>();
    m_activations.clear();
    makeCenter();
  }
  void cleanup() {
    m_center.reset();
    m_connection.reset();
    m_daemon.reset();
    m_bus.reset();
  }

  void showsWhatTheDaemonCanShow() {
    m_center->deliver(kCleaned);
    QTRY_COMPARE(m_daemon->shown.size(), 1);
    const auto full = m_daemon->shown[0];
    QCOMPARE(full.application, QStringLiteral("Halvard"));
    QCOMPARE(full.icon, QStringLiteral("icon"));
    QCOMPARE(full.hints[QStringLiteral("desktop-entry")].toString(), QStringLiteral("com.tessmar.Halvard"));
    QCOMPARE(full.summary, kCleaned.title);
    QCOMPARE(full.body, QStringLiteral("1 &lt; 2 &amp; &quot;three&quot;"));
    QCOMPARE(full.actions,
             (QStringList{QStringLiteral("default"), QString(), QStringLiteral("action"), QStringLiteral("Show")}));

    m_daemon->capabilities = {QStringLiteral("body")};
    m_center->deliver(kCleaned);
    QTRY_COMPARE(m_daemon->shown.size(), 2);
    QCOMPARE(m_daemon->shown[1].body, kCleaned.informativeText);
    QVERIFY(m_daemon->shown[1].actions.isEmpty());
  }

  void aClickComesBackWithItsUserInformation() {
    m_center->deliver(kCleaned);
    m_center->deliver({QStringLiteral("other"), {}, {}, {{QStringLiteral("kind"), QStringLiteral("other")}}});
    settle(2);
    Q_EMIT m_daemon->ActionInvoked(1, QStringLiteral("default"));
    Q_EMIT m_daemon->ActionInvoked(1, QStringLiteral("action"));
    Q_EMIT m_daemon->ActionInvoked(2, QStringLiteral("default"));
    const QVariantMap other{{QStringLiteral("kind"), QStringLiteral("other")}};
    QTRY_COMPARE(m_activations, (Activations{{kCleaned.userInfo, false}, {kCleaned.userInfo, true}, {other, false}}));
  }

  void clicksOnClosedAndForeignNotificationsAreIgnored() {
    m_center->deliver(kCleaned);
    settle(1);
    Q_EMIT m_daemon->ActionInvoked(1, QStringLiteral("unheard of"));
    Q_EMIT m_daemon->NotificationClosed(1, 2);
    Q_EMIT m_daemon->ActionInvoked(1, QStringLiteral("default"));
    Q_EMIT m_daemon->ActionInvoked(77, QStringLiteral("default"));
    settle(1);
    QVERIFY(m_activations.isEmpty());
  }

  void idsOfADaemonThatRestartedAreForgotten() {
    m_center->deliver(kCleaned);
    settle(1);
    m_daemon->stop();
    m_daemon->start();
    settle(0);
    Q_EMIT m_daemon->ActionInvoked(1, QStringLiteral("default"));
    settle(0);
    QVERIFY(m_activations.isEmpty());
  }

  void clicksOnNotificationsOfAnEarlierRunAreUnderstood() {
    m_center->deliver(kCleaned);
    m_center->deliver({QStringLiteral("other"), {}, {}, {}});
    settle(2);
    makeCenter();
    Q_EMIT m_daemon->ActionInvoked(1, QStringLiteral("action"));
    QTRY_COMPARE(m_activations, (Activations{{kCleaned.userInfo, true}}));
    Q_EMIT m_daemon->NotificationClosed(2, 2);
    settle(2);
    // The desktop starts the program for a click and does not say which notification it was on.
    m_center.reset();
    for (const bool remembers : {true, false}) {
      makeCenter();
      m_activations.clear();
      if (!remembers) QVERIFY(QFile::remove(m_session->filePath(QStringLiteral("notifications"))));
      if (!remembers) makeCenter();
      m_center->activateAction(QStringLiteral("default"));
      QCOMPARE(m_activations, (Activations{{remembers ? kCleaned.userInfo : QVariantMap(), false}}));
    }
  }

  void aDaemonThatHangsOrIsMissingHoldsNobodyUp() {
    m_daemon->hangs = true;
    QElapsedTimer timer;
    timer.start();
    m_center->deliver(kCleaned);
    QVERIFY(timer.elapsed() < 1000);
    QTRY_COMPARE(m_daemon->questions, 1);
    m_daemon->stop();
    m_center->deliver(kCleaned);
    m_bus->stop();
    m_center->deliver(kCleaned);
    DBusUserNotificationCenter quiet(QDBusConnection(QStringLiteral("no such bus")), {});
    quiet.deliver(kCleaned);
    QVERIFY(timer.elapsed() < 5000);
    QVERIFY(m_daemon->shown.isEmpty());
  }
};

QTEST_GUILESS_MAIN(TestUserNotificationCenter)
#include "test_user_notification_center.moc"
