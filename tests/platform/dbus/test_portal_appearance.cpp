#include <QDBusContext>
#include <QDBusVariant>
#include <QSignalSpy>
#include <QtTest>
#include <memory>

#include "platform/linux/dbus/portal_appearance.h"
#include "support/private_bus.h"

using namespace halvard;
using namespace halvard::test;

namespace {

const QString kNamespace = QStringLiteral("org.freedesktop.appearance");
const QString kKey = QStringLiteral("color-scheme");

/// The settings portal of a desktop. An old one has no ReadOne().
class FakePortal : public QObject, protected QDBusContext {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")

 public:
  FakePortal(const QDBusConnection& connection, bool isOld) : m_connection(connection), m_isOld(isOld) {
    m_connection.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), this,
                                QDBusConnection::ExportScriptableContents);
    m_connection.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
  }

  uint scheme = 0;
  int reads = 0;

 public Q_SLOTS:
  Q_SCRIPTABLE QDBusVariant ReadOne(const QString& nameSpace, const QString& key) {
    if (m_isOld) {
      sendErrorReply(QDBusError::UnknownMethod);
      return {};
    }
    return QDBusVariant(value(nameSpace, key));
  }
  Q_SCRIPTABLE QDBusVariant Read(const QString& nameSpace, const QString& key) {
    return QDBusVariant(QVariant::fromValue(QDBusVariant(value(nameSpace, key))));
  }

 Q_SIGNALS:
  Q_SCRIPTABLE void SettingChanged(const QString& nameSpace, const QString& key, const QDBusVariant& value);

 private:
  QVariant value(const QString& nameSpace, const QString& key) {
    ++reads;
    return nameSpace == kNamespace && key == kKey ? scheme : 99U;
  }

  QDBusConnection m_connection;
  bool m_isOld;
};

}  // namespace

class TestPortalAppearance : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void readsTheSchemeOfOldAndNewPortals_data() {
    QTest::addColumn<bool>("isOld");
    QTest::addColumn<uint>("scheme");
    QTest::addColumn<bool>("isDark");
    QTest::newRow("new, dark") << false << 1U << true;
    QTest::newRow("new, light") << false << 2U << false;
    QTest::newRow("old, dark") << true << 1U << true;
  }
  void readsTheSchemeOfOldAndNewPortals() {
    QFETCH(bool, isOld);
    QFETCH(uint, scheme);
    PrivateBus bus;
    QVERIFY(bus.isRunning());
    FakePortal portal(bus.connect(), isOld);
    portal.scheme = scheme;
    const QDBusConnection connection = bus.connect();
    const PortalAppearance appearance(connection);
    QVERIFY(!appearance.isDark());
    QTRY_COMPARE(portal.reads, 1);
    // The portal answers in order, so the answer to this comes after the one to the appearance.
    QDBusMessage again = QDBusMessage::createMethodCall(
        QStringLiteral("org.freedesktop.portal.Desktop"), QStringLiteral("/org/freedesktop/portal/desktop"),
        QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("Read"));
    waitForReply(connection.asyncCall(again << kNamespace << kKey));
    QTEST(appearance.isDark(), "isDark");
  }

  void followsChangesOfTheSchemeAlone() {
    PrivateBus bus;
    QVERIFY(bus.isRunning());
    FakePortal portal(bus.connect(), false);
    const PortalAppearance appearance(bus.connect());
    const QSignalSpy changes(&appearance, &Appearance::changed);
    QTRY_COMPARE(portal.reads, 1);
    const QDBusVariant dark(QVariant(1U));
    Q_EMIT portal.SettingChanged(kNamespace, QStringLiteral("contrast"), dark);
    Q_EMIT portal.SettingChanged(QStringLiteral("org.gnome"), kKey, dark);
    Q_EMIT portal.SettingChanged(kNamespace, kKey, QDBusVariant(QVariant(2U)));
    Q_EMIT portal.SettingChanged(kNamespace, kKey, dark);
    Q_EMIT portal.SettingChanged(kNamespace, kKey, dark);
    QTRY_VERIFY(appearance.isDark());
    Q_EMIT portal.SettingChanged(kNamespace, kKey, QDBusVariant(QVariant(0U)));
    QTRY_VERIFY(!appearance.isDark());
    QCOMPARE(changes.size(), 2);
  }

  void isLightUntilAPortalComes() {
    PrivateBus bus;
    QVERIFY(bus.isRunning());
    const PortalAppearance appearance(bus.connect());
    QVERIFY(!appearance.isDark());
    FakePortal portal(bus.connect(), false);
    portal.scheme = 1;
    QTRY_VERIFY(appearance.isDark());
    QVERIFY(!PortalAppearance(QDBusConnection(QStringLiteral("no such bus"))).isDark());
  }
};

QTEST_GUILESS_MAIN(TestPortalAppearance)
#include "test_portal_appearance.moc"
