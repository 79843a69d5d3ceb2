#include "platform/linux/control/dbus_control_client.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusServiceWatcher>

#include "platform/linux/control/control_names.h"

namespace halvard {
namespace {

constexpr int kTimeoutMilliseconds = 5000;

Error errorOf(const QDBusMessage& reply) {
  return {QStringLiteral("the running program does not answer: %1").arg(reply.errorMessage())};
}

bool isReply(const QDBusMessage& message) {
  return message.type() == QDBusMessage::ReplyMessage && !message.arguments().isEmpty();
}

}  // namespace

DBusControlClient::DBusControlClient(QDBusConnection bus) : m_bus(std::move(bus)) {
  if (!m_bus.isConnected()) return;
  const auto listen = [this](const QString& signal, const char* member) {
    m_bus.connect(control_names::kService, control_names::kPath, control_names::kInterface, signal, this, member);
  };
  listen(QStringLiteral("PurgeProgress"), SIGNAL(progressed(double)));
  listen(QStringLiteral("PurgeFinished"), SLOT(onPurgeFinished(QVariantMap)));
  auto* watcher = new QDBusServiceWatcher(control_names::kService, m_bus, QDBusServiceWatcher::WatchForUnregistration, this);
  connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, &ControlClient::programGone);
}

bool DBusControlClient::isProgramRunning() const {
  return m_bus.isConnected() && m_bus.interface()->isServiceRegistered(control_names::kService);
}

QDBusMessage DBusControlClient::call(const QString& method) {
  const QDBusMessage message = QDBusMessage::createMethodCall(control_names::kService, control_names::kPath,
                                                              control_names::kInterface, method);
  return m_bus.call(message, QDBus::Block, kTimeoutMilliseconds);
}

Result<QJsonObject> DBusControlClient::status() {
  const QDBusMessage reply = call(QStringLiteral("Status"));
  if (!isReply(reply)) return errorOf(reply);
  return QJsonObject::fromVariantMap(qdbus_cast<QVariantMap>(reply.arguments().constFirst()));
}

Result<bool> DBusControlClient::startCleaning() {
  const QDBusMessage reply = call(QStringLiteral("Clean"));
  if (!isReply(reply)) return errorOf(reply);
  return reply.arguments().constFirst().toBool();
}

Result<void> DBusControlClient::showPanel() {
  const QDBusMessage reply = call(QStringLiteral("Show"));
  if (reply.type() != QDBusMessage::ReplyMessage) return errorOf(reply);
  return {};
}

void DBusControlClient::onPurgeFinished(const QVariantMap& record) {
  Q_EMIT finished(QJsonObject::fromVariantMap(record));
}

}  // namespace halvard
