#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>

namespace halvard::test {

/// A status notifier watcher, and the record of what items tell their hosts.
class FakeWatcher : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
  Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hasHost)

 public:
  explicit FakeWatcher(const QDBusConnection& connection) : m_connection(connection) {
    const QString anyService;
    const QString path = QStringLiteral("/StatusNotifierItem");
    const QString interface = QStringLiteral("org.kde.StatusNotifierItem");
    m_connection.connect(anyService, path, interface, QStringLiteral("NewIcon"), this, SLOT(newIcon()));
    m_connection.connect(anyService, path, interface, QStringLiteral("NewToolTip"), this, SLOT(newToolTip()));
    m_connection.connect(anyService, path, interface, QStringLiteral("XAyatanaNewLabel"), this,
                         SLOT(newLabel(QString, QString)));
  }
  ~FakeWatcher() override { stop(); }

  void start() {
    m_connection.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                                QDBusConnection::ExportScriptableSlots | QDBusConnection::ExportScriptableSignals |
                                    QDBusConnection::ExportAllProperties);
    m_connection.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
  }
  void stop() {
    m_connection.unregisterService(QStringLiteral("org.kde.StatusNotifierWatcher"));
    m_connection.unregisterObject(QStringLiteral("/StatusNotifierWatcher"));
    registered.clear();
  }
  void setHost(bool there) {
    m_hasHost = there;
    there ? Q_EMIT StatusNotifierHostRegistered() : Q_EMIT StatusNotifierHostUnregistered();
  }
  bool hasHost() const { return m_hasHost; }

  /// Items in order of registration.
  QStringList registered;
  int newIcons = 0;
  int newToolTips = 0;
  /// "label|guide"
  QStringList newLabels;

 public Q_SLOTS:
  Q_SCRIPTABLE void RegisterStatusNotifierItem(const QString& service) { registered.append(service); }
  void newIcon() { ++newIcons; }
  void newToolTip() { ++newToolTips; }
  void newLabel(const QString& label, const QString& guide) { newLabels.append(label + QLatin1Char('|') + guide); }

 Q_SIGNALS:
  Q_SCRIPTABLE void StatusNotifierHostRegistered();
  Q_SCRIPTABLE void StatusNotifierHostUnregistered();

 private:
  QDBusConnection m_connection;
  bool m_hasHost = true;
};

}  // namespace halvard::test
