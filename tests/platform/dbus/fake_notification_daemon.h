#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

namespace halvard::test {

/// A notification daemon that keeps what it is told.
class FakeNotificationDaemon : public QObject, protected QDBusContext {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")

 public:
  struct Shown {
    QString application;
    QString icon;
    QString summary;
    QString body;
    QStringList actions;
    QVariantMap hints;
  };

  explicit FakeNotificationDaemon(const QDBusConnection& connection) : m_connection(connection) { start(); }
  ~FakeNotificationDaemon() override { stop(); }

  void start() {
    m_connection.registerObject(QStringLiteral("/org/freedesktop/Notifications"), this,
                                QDBusConnection::ExportScriptableContents);
    m_connection.registerService(QStringLiteral("org.freedesktop.Notifications"));
  }
  /// The next start counts ids from 1 again.
  void stop() {
    m_connection.unregisterService(QStringLiteral("org.freedesktop.Notifications"));
    m_connection.unregisterObject(QStringLiteral("/org/freedesktop/Notifications"));
    shown.clear();
  }

  QStringList capabilities = {QStringLiteral("actions"), QStringLiteral("body"), QStringLiteral("body-markup")};
  /// A notification's id is its place here, counted from 1.
  QList<Shown> shown;
  /// Answers nothing from now on.
  bool hangs = false;
  int questions = 0;

 public Q_SLOTS:
  Q_SCRIPTABLE QStringList GetCapabilities() {
    ++questions;
    setDelayedReply(hangs);
    return capabilities;
  }
  Q_SCRIPTABLE uint Notify(const QString& application, uint, const QString& icon, const QString& summary,
                           const QString& body, const QStringList& actions, const QVariantMap& hints, int) {
    shown.append({application, icon, summary, body, actions, hints});
    return static_cast<uint>(shown.size());
  }

 Q_SIGNALS:
  Q_SCRIPTABLE void ActionInvoked(uint id, const QString& action);
  Q_SCRIPTABLE void NotificationClosed(uint id, uint reason);

 private:
  QDBusConnection m_connection;
};

}  // namespace halvard::test
