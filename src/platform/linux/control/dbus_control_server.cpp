#include "platform/linux/control/dbus_control_server.h"

#include <QDBusConnectionInterface>

#include "platform/linux/control/control_names.h"
#include "platform/linux/control/freedesktop_application.h"

namespace halvard {

DBusControlServer::DBusControlServer(QDBusConnection bus) : m_bus(std::move(bus)) {
  new FreedesktopApplication(
      this, {[this] { Show(); }, [this](const QString& action) { Q_EMIT notificationActionActivated(action); }});
}

DBusControlServer::~DBusControlServer() {
  if (m_handler) m_bus.unregisterService(control_names::kService);
}

bool DBusControlServer::start(ControlHandler& handler) {
  if (!m_bus.isConnected()) return false;
  constexpr auto exported = QDBusConnection::ExportScriptableInvokables | QDBusConnection::ExportScriptableSignals |
                            QDBusConnection::ExportAdaptors;
  // The object first: whoever sees the name may call at once.
  if (!m_bus.registerObject(control_names::kPath, this, exported)) return false;
  m_handler = &handler;
  // A copy that is about to quit may still have the name: the bus gives it to the next in the queue.
  const auto reply =
      m_bus.interface()->registerService(control_names::kService, QDBusConnectionInterface::QueueService);
  return reply.value() == QDBusConnectionInterface::ServiceRegistered;
}

void DBusControlServer::publishProgress(double progress) {
  Q_EMIT PurgeProgress(progress);
}

void DBusControlServer::publishFinished(const QJsonObject& record) {
  Q_EMIT PurgeFinished(record.toVariantMap());
}

void DBusControlServer::publishRechecked(const QJsonObject& record) {
  Q_EMIT PurgeRechecked(record.toVariantMap());
}

QVariantMap DBusControlServer::Status() {
  return m_handler->status().toVariantMap();
}

bool DBusControlServer::Clean() {
  return m_handler->startCleaning();
}

void DBusControlServer::Show() {
  m_handler->showPanel();
}

QVariantMap DBusControlServer::Preferences() {
  QVariantMap values;
  const QMap<QString, QString> preferences = m_handler->preferences();
  for (auto preference = preferences.begin(); preference != preferences.end(); ++preference)
    values.insert(preference.key(), preference.value());
  return values;
}

void DBusControlServer::SetPreference(const QString& name, const QString& value) {
  const Result<void> changed = m_handler->setPreference(name, value);
  if (!changed) sendErrorReply(control_names::kRefused, changed.error().message);
}

}  // namespace halvard
