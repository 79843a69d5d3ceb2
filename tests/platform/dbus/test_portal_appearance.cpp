#include <QDBusVariant>
#include <QtTest>
#include <memory>

#include "fake_service.h"
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

class TestPortalAppearance : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void readsTheSchemeOfOldAndNewPortalsOnceTheyAreThere() {
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

  void followsChangesOfTheSchemeAlone() {
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
};

QTEST_GUILESS_MAIN(TestPortalAppearance)
#include "test_portal_appearance.moc"
