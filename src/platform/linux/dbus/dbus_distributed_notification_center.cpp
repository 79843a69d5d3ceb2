#include "platform/linux/dbus/dbus_distributed_notification_center.h"

#include <QDBusMessage>
#include <utility>

namespace halvard {

namespace {

const QLatin1String kPath("/com/tessmar/DistributedNotificationCenter");
const QLatin1String kInterface("com.tessmar.DistributedNotification");
const QLatin1String kSignal("Posted");

/// The bus handles the messages of a program in order: once it answers, it has taken what was sent before.
void flush(const QDBusConnection& connection) {
  constexpr int kMostMilliseconds = 500;
  const QString bus = QStringLiteral("org.freedesktop.DBus");
  connection.call(
      QDBusMessage::createMethodCall(bus, QStringLiteral("/org/freedesktop/DBus"), bus, QStringLiteral("GetId")),
      QDBus::Block, kMostMilliseconds);
}

}  // namespace

DBusDistributedNotificationCenter::DBusDistributedNotificationCenter(const QDBusConnection& connection)
    : m_connection(connection) {}

void DBusDistributedNotificationCenter::post(const QString& name, const QString& object) {
  if (!m_connection.isConnected()) return;
  QDBusMessage signal = QDBusMessage::createSignal(kPath, kInterface, kSignal);
  signal << name << object;
  m_connection.send(signal);
  flush(m_connection);
}

void DBusDistributedNotificationCenter::addObserver(const QString& name, const QString& object, QObject* context,
                                                    Handler handler) {
  if (m_observers.empty()) {
    m_connection.connect(QString(), kPath, kInterface, kSignal, this, SLOT(posted(QString, QString)));
  }
  m_observers.push_back({name, object, context, std::move(handler)});
}

void DBusDistributedNotificationCenter::posted(const QString& name, const QString& object) {
  std::erase_if(m_observers, [](const Observer& observer) { return observer.context.isNull(); });
  const std::vector<Observer> snapshot = m_observers;  // a handler may add observers
  for (const Observer& observer : snapshot) {
    const bool wanted = observer.name == name && (observer.object.isEmpty() || observer.object == object);
    if (wanted && observer.context) observer.handler(object);
  }
}

}  // namespace halvard
