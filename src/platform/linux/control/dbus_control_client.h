#pragma once

#include <QDBusConnection>
#include <QVariantMap>
#include <cstdint>

#include "platform/ports/control_channel.h"

class QDBusMessage;

namespace halvard {

/// Asks the running program over the session bus. Each call waits at most five seconds.
class DBusControlClient : public ControlClient {
  Q_OBJECT

 public:
  explicit DBusControlClient(QDBusConnection bus);

  bool isProgramRunning() const override;
  /// 0 when no program answers.
  std::int32_t programPid() const;
  Result<QJsonObject> status() override;
  Result<bool> startCleaning() override;
  Result<void> showPanel() override;
  Result<QMap<QString, QString>> preferences() override;
  Result<void> setPreference(const QString& name, const QString& value) override;

 private Q_SLOTS:
  void onPurgeFinished(const QVariantMap& record);
  void onPurgeRechecked(const QVariantMap& record);

 private:
  QDBusMessage call(const QString& method, const QVariantList& arguments = {});

  QDBusConnection m_bus;
};

}  // namespace halvard
