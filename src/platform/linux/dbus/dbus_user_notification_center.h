#pragma once

#include <QDBusConnection>
#include <QHash>

#include "platform/ports/user_notification_center.h"

namespace halvard {

/// Notifications through org.freedesktop.Notifications. No call waits for the daemon; without a session bus nothing
/// is shown.
class DBusUserNotificationCenter : public UserNotificationCenter {
  Q_OBJECT

 public:
  struct Sender {
    /// The program's name, for people.
    QString applicationName;
    /// A name of the icon theme.
    QString iconName;
    /// Id of the desktop entry, without ".desktop".
    QString desktopEntry;
  };

  DBusUserNotificationCenter(const QDBusConnection& connection, Sender sender, QObject* parent = nullptr);

  /// Asks the daemon what it can show, and then shows it: a daemon that takes markup gets the text escaped, one
  /// without actions no actions.
  void deliver(const UserNotification& notification) override;

 private Q_SLOTS:
  void actionInvoked(uint id, const QString& action);
  void notificationClosed(uint id, uint reason);

 private:
  void notify(const UserNotification& notification, const QStringList& capabilities);

  QDBusConnection m_connection;
  Sender m_sender;
  /// User information of the notifications that the daemon still shows, by their ids.
  QHash<uint, QVariantMap> m_userInfo;
};

}  // namespace halvard
