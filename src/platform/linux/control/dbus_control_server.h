#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QVariantMap>

#include "platform/ports/control_channel.h"

namespace halvard {

/// Answers the command line on the session bus, under the name "com.tessmar.Halvard", and the desktop under the same.
class DBusControlServer : public QObject, protected QDBusContext, public ControlServer {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "com.tessmar.Halvard")

 public:
  /// An unconnected `bus` makes the server quiet.
  explicit DBusControlServer(QDBusConnection bus);
  ~DBusControlServer() override;

  bool start(ControlHandler& handler) override;
  void publishProgress(double progress) override;
  void publishFinished(const QJsonObject& record) override;
  void publishRechecked(const QJsonObject& record) override;

  // The remote methods and signals, with the names of the bus.
  Q_INVOKABLE Q_SCRIPTABLE QVariantMap Status();
  Q_INVOKABLE Q_SCRIPTABLE bool Clean();
  Q_INVOKABLE Q_SCRIPTABLE void Show();
  /// Texts by name.
  Q_INVOKABLE Q_SCRIPTABLE QVariantMap Preferences();
  /// A refusal is the error com.tessmar.Halvard.Refused with the reason.
  Q_INVOKABLE Q_SCRIPTABLE void SetPreference(const QString& name, const QString& value);

 Q_SIGNALS:
  Q_SCRIPTABLE void PurgeProgress(double progress);
  Q_SCRIPTABLE void PurgeFinished(const QVariantMap& record);
  Q_SCRIPTABLE void PurgeRechecked(const QVariantMap& record);
  /// Not on the bus: the desktop passes on a click on a notification, with the action's name.
  void notificationActionActivated(const QString& action);

 private:
  QDBusConnection m_bus;
  ControlHandler* m_handler = nullptr;
};

}  // namespace halvard
