#include "platform/linux/control/dbus_control_client.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusReply>
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
  listen(QStringLiteral("PurgeRechecked"), SLOT(onPurgeRechecked(QVariantMap)));
  auto* watcher =
      new QDBusServiceWatcher(control_names::kService, m_bus, QDBusServiceWatcher::WatchForUnregistration, this);
  connect(watcher, &QDBusServiceWatcher::serviceUnregistered, this, &ControlClient::programGone);
}

bool DBusControlClient::isProgramRunning() const {
  return m_bus.isConnected() && m_bus.interface()->isServiceRegistered(control_names::kService);
}

std::int32_t DBusControlClient::programPid() const {
  if (!m_bus.isConnected()) return 0;
  const QDBusReply<uint> pid = m_bus.interface()->servicePid(control_names::kService);
  return pid.isValid() ? static_cast<std::int32_t>(pid.value()) : 0;
}

QDBusMessage DBusControlClient::call(const QString& method, const QVariantList& arguments) {
  QDBusMessage message =
      QDBusMessage::createMethodCall(control_names::kService, control_names::kPath, control_names::kInterface, method);
  message.setArguments(arguments);
  message.setAutoStartService(false);
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

Result<QMap<QString, QString>> DBusControlClient::preferences() {
  const QDBusMessage reply = call(QStringLiteral("Preferences"));
  if (!isReply(reply)) return errorOf(reply);
  QMap<QString, QString> values;
  const auto texts = qdbus_cast<QVariantMap>(reply.arguments().constFirst());
  for (auto text = texts.begin(); text != texts.end(); ++text)
    values.insert(text.key(), text.value().toString());
  return values;
}

Result<void> DBusControlClient::setPreference(const QString& name, const QString& value) {
  const QDBusMessage reply = call(QStringLiteral("SetPreference"), {name, value});
  if (reply.type() == QDBusMessage::ReplyMessage) return {};
  if (reply.errorName() == control_names::kRefused) return Error{reply.errorMessage()};
  return errorOf(reply);
}

void DBusControlClient::onPurgeFinished(const QVariantMap& record) {
  Q_EMIT finished(QJsonObject::fromVariantMap(record));
}

void DBusControlClient::onPurgeRechecked(const QVariantMap& record) {
  Q_EMIT rechecked(QJsonObject::fromVariantMap(record));
}

}  // namespace halvard
