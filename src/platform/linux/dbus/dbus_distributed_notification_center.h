#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QPointer>
#include <vector>

#include "platform/ports/distributed_notification_center.h"

namespace halvard {

/// Notifications between programs as the session-bus signal com.tessmar.DistributedNotification.Posted(name, object).
/// A post reaches the observers of the posting program too.
class DBusDistributedNotificationCenter : public QObject, public DistributedNotificationCenter {
  Q_OBJECT

 public:
  explicit DBusDistributedNotificationCenter(const QDBusConnection& connection);

  /// Returns when the bus has the notification (at most half a second).
  void post(const QString& name, const QString& object) override;
  void addObserver(const QString& name, const QString& object, QObject* context, Handler handler) override;

 private Q_SLOTS:
  void posted(const QString& name, const QString& object);

 private:
  struct Observer {
    QString name;
    QString object;
    QPointer<QObject> context;
    Handler handler;
  };

  QDBusConnection m_connection;
  std::vector<Observer> m_observers;
};

}  // namespace halvard
