#include "platform/linux/dbus/portal_appearance.h"

#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>

namespace halvard {

namespace {

const QLatin1String kService("org.freedesktop.portal.Desktop");
const QLatin1String kPath("/org/freedesktop/portal/desktop");
const QLatin1String kInterface("org.freedesktop.portal.Settings");
const QLatin1String kNamespace("org.freedesktop.appearance");
const QLatin1String kKey("color-scheme");
constexpr uint kPrefersDark = 1;

/// Read() of old portals wraps the value twice.
bool meansDark(QVariant value) {
  while (value.canConvert<QDBusVariant>())
    value = value.value<QDBusVariant>().variant();
  return value.toUInt() == kPrefersDark;
}

}  // namespace

PortalAppearance::PortalAppearance(const QDBusConnection& connection, QObject* parent)
    : Appearance(parent), m_connection(connection) {
  if (!m_connection.isConnected()) return;
  m_connection.connect(QString(), kPath, kInterface, QStringLiteral("SettingChanged"), this,
                       SLOT(settingChanged(QString, QString, QDBusVariant)));
  auto* watcher = new QDBusServiceWatcher(kService, m_connection, QDBusServiceWatcher::WatchForRegistration, this);
  const QString readOne = QStringLiteral("ReadOne");
  connect(watcher, &QDBusServiceWatcher::serviceRegistered, this, [this, readOne] { read(readOne); });
  read(readOne);
}

void PortalAppearance::read(const QString& method) {
  QDBusMessage message = QDBusMessage::createMethodCall(kService, kPath, kInterface, method);
  message << QString(kNamespace) << QString(kKey);
  auto* pending = new QDBusPendingCallWatcher(m_connection.asyncCall(message), this);
  connect(pending, &QDBusPendingCallWatcher::finished, this, [this, method](QDBusPendingCallWatcher* finished) {
    finished->deleteLater();
    readReply(method, finished->reply());
  });
}

void PortalAppearance::readReply(const QString& method, const QDBusMessage& reply) {
  const QString oldMethod = QStringLiteral("Read");
  if (reply.type() == QDBusMessage::ReplyMessage) {
    setDark(meansDark(reply.arguments().value(0)));
  } else if (method != oldMethod && reply.errorName() == QLatin1String("org.freedesktop.DBus.Error.UnknownMethod")) {
    read(oldMethod);
  }
}

void PortalAppearance::settingChanged(const QString& nameSpace, const QString& key, const QDBusVariant& value) {
  if (nameSpace == kNamespace && key == kKey) setDark(meansDark(QVariant::fromValue(value)));
}

void PortalAppearance::setDark(bool dark) {
  if (dark == m_dark) return;
  m_dark = dark;
  Q_EMIT changed();
}

}  // namespace halvard
