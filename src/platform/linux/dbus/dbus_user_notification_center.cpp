#include "platform/linux/dbus/dbus_user_notification_center.h"

#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <utility>

namespace halvard {

namespace {

const QLatin1String kService("org.freedesktop.Notifications");
const QLatin1String kPath("/org/freedesktop/Notifications");
/// The action of a click on the body has a fixed name, that of the button is ours.
const QLatin1String kBodyAction("default");
const QLatin1String kButtonAction("action");

QDBusMessage call(const char* method) {
  return QDBusMessage::createMethodCall(kService, kPath, kService, QLatin1String(method));
}

QStringList actions(const UserNotification& notification) {
  QStringList keysAndLabels = {kBodyAction, QString()};
  if (!notification.actionButtonTitle.isEmpty()) keysAndLabels << kButtonAction << notification.actionButtonTitle;
  return keysAndLabels;
}

}  // namespace

DBusUserNotificationCenter::DBusUserNotificationCenter(const QDBusConnection& connection, Sender sender,
                                                       const QString& memoryFile)
    : m_connection(connection), m_sender(std::move(sender)), m_memory(memoryFile) {
  if (!m_connection.isConnected()) return;
  m_connection.connect(QString(), kPath, kService, QStringLiteral("ActionInvoked"), this,
                       SLOT(actionInvoked(uint, QString)));
  m_connection.connect(QString(), kPath, kService, QStringLiteral("NotificationClosed"), this,
                       SLOT(notificationClosed(uint, uint)));
  // A daemon that starts anew counts its ids anew: the old ones would name notifications of other programs.
  auto* watcher = new QDBusServiceWatcher(kService, m_connection, QDBusServiceWatcher::WatchForUnregistration, this);
  connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, [this] { m_memory.clear(); });
}

void DBusUserNotificationCenter::deliver(const UserNotification& notification) {
  if (!m_connection.isConnected()) return;
  auto* question = new QDBusPendingCallWatcher(m_connection.asyncCall(call("GetCapabilities")), this);
  connect(question, &QDBusPendingCallWatcher::finished, this, [this, notification](QDBusPendingCallWatcher* finished) {
    finished->deleteLater();
    const QDBusPendingReply<QStringList> reply = *finished;
    if (!reply.isError()) notify(notification, reply.value());
  });
}

void DBusUserNotificationCenter::notify(const UserNotification& notification, const QStringList& capabilities) {
  constexpr int kDaemonDecides = -1;
  const bool takesMarkup = capabilities.contains(QLatin1String("body-markup"));
  const bool takesActions = capabilities.contains(QLatin1String("actions"));
  const QString body = notification.informativeText;
  QDBusMessage message = call("Notify");
  message << m_sender.applicationName << uint(0) << m_sender.iconName << notification.title
          << (takesMarkup ? body.toHtmlEscaped() : body) << (takesActions ? actions(notification) : QStringList())
          << QVariantMap{{QStringLiteral("desktop-entry"), m_sender.desktopEntry}} << kDaemonDecides;

  auto* pending = new QDBusPendingCallWatcher(m_connection.asyncCall(message), this);
  connect(pending, &QDBusPendingCallWatcher::finished, this,
          [this, userInfo = notification.userInfo](QDBusPendingCallWatcher* finished) {
            finished->deleteLater();
            const QDBusPendingReply<uint> reply = *finished;
            if (!reply.isError()) m_memory.add(reply.reply().service(), reply.value(), userInfo);
          });
}

void DBusUserNotificationCenter::activateAction(const QString& action) {
  Q_EMIT activated(m_memory.newest().value_or(QVariantMap()), action == kButtonAction);
}

void DBusUserNotificationCenter::actionInvoked(uint id, const QString& action) {
  const std::optional<QVariantMap> userInfo = m_memory.find(message().service(), id);
  if (!userInfo) return;
  if (action == kBodyAction || action == kButtonAction) Q_EMIT activated(*userInfo, action == kButtonAction);
}

void DBusUserNotificationCenter::notificationClosed(uint id, uint) {
  m_memory.remove(message().service(), id);
}

}  // namespace halvard
