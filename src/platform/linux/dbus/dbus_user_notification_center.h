#pragma once

#include <QDBusConnection>
#include <QDBusContext>

#include "platform/linux/dbus/notification_memory.h"
#include "platform/ports/user_notification_center.h"

namespace halvard {

/// Notifications through org.freedesktop.Notifications. No call waits for the daemon; without a session bus nothing
/// is shown.
class DBusUserNotificationCenter : public UserNotificationCenter, protected QDBusContext {
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

  /// `memoryFile` lasts as long as the session; empty: clicks on notifications of an earlier run mean nothing.
  DBusUserNotificationCenter(const QDBusConnection& connection, Sender sender, const QString& memoryFile = {});

  /// Asks the daemon what it can show, and then shows it: a daemon that takes markup gets the text escaped, one
  /// without actions no actions.
  void deliver(const UserNotification& notification) override;

  /// A click that reached the program otherwise than from the daemon, and does not say on which notification: the
  /// newest one counts, and with none, the click has no user information.
  void activateAction(const QString& action);

 private Q_SLOTS:
  void actionInvoked(uint id, const QString& action);
  void notificationClosed(uint id, uint reason);

 private:
  void notify(const UserNotification& notification, const QStringList& capabilities);

  QDBusConnection m_connection;
  Sender m_sender;
  NotificationMemory m_memory;
};

}  // namespace halvard
