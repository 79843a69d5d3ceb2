#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>
#include <QUuid>

#include "support/owned_process.h"

namespace halvard::test {

/// A message bus of its own for one test: nothing of the user's session is seen, no service starts on demand.
/// The daemon ends with this object, and with the test program when that dies.
class PrivateBus {
 public:
  PrivateBus() {
    QFile file(m_directory.filePath(QStringLiteral("bus.conf")));
    if (!file.open(QIODevice::WriteOnly)) return;
    file.write(QString::fromLatin1(kConfiguration).arg(address()).toUtf8());
    file.close();
    m_daemon.start(QStringLiteral("dbus-daemon"), {QStringLiteral("--config-file=") + file.fileName(),
                                                   QStringLiteral("--nofork"), QStringLiteral("--print-address")});
    m_daemon.readUntil("\n");  // it prints its address once it listens
  }
  ~PrivateBus() {
    for (const QString& name : std::as_const(m_names))
      QDBusConnection::disconnectFromBus(name);
  }

  /// False when no dbus-daemon is installed or it did not start: a reason to skip or fail.
  bool isRunning() const { return m_daemon.state() == QProcess::Running; }
  /// For DBUS_SESSION_BUS_ADDRESS of a child.
  QString address() const { return QStringLiteral("unix:path=") + m_directory.filePath(QStringLiteral("bus")); }

  /// A new connection, closed with this object. Each has a unique name of its own, as if it were another program.
  QDBusConnection connect() {
    m_names.append(QUuid::createUuid().toString());
    return QDBusConnection::connectToBus(address(), m_names.constLast());
  }
  /// Ends the daemon; connections are lost.
  void stop() { m_daemon.end(); }

 private:
  static constexpr const char* kConfiguration = R"(<busconfig>
  <type>session</type>
  <listen>%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

  QTemporaryDir m_directory;
  OwnedProcess m_daemon;
  QStringList m_names;
};

/// The reply of a call, without blocking the objects of this thread. An error message after 5 s.
inline QDBusMessage waitForReply(const QDBusPendingCall& call) {
  QDBusPendingCallWatcher watcher(call);
  if (QTest::qWaitFor([&] { return watcher.isFinished(); })) return watcher.reply();
  return QDBusMessage::createError(QDBusError::Timeout, QStringLiteral("no reply"));
}

}  // namespace halvard::test
