#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>

namespace halvard::test {

/// A message bus of its own for one test: nothing of the user's session is seen, no service starts on demand.
/// The daemon ends with this object, and with the test program when that dies.
class PrivateBus {
 public:
  PrivateBus();
  ~PrivateBus();
  PrivateBus(const PrivateBus&) = delete;
  PrivateBus& operator=(const PrivateBus&) = delete;

  /// False when no dbus-daemon is installed or it did not start: a reason to skip or fail.
  bool isRunning() const { return m_daemon.state() == QProcess::Running; }
  /// For DBUS_SESSION_BUS_ADDRESS of a child. Stays the same after stop() and start().
  QString address() const;

  /// A new connection, closed with this object. Each has a unique name of its own, as if it were another program.
  QDBusConnection connect();
  /// Lets go of one of connect(): when the last copy of it is gone too, everything it owned leaves the bus, as if its
  /// program had ended.
  void disconnect(const QDBusConnection& connection);

  /// Ends the daemon; connections are lost.
  void stop();
  void start();

 private:
  QTemporaryDir m_directory;
  QProcess m_daemon;
  QStringList m_names;
};

/// The reply of a call, without blocking the objects of this thread. An error message after 5 s.
QDBusMessage waitForReply(const QDBusPendingCall& call);

}  // namespace halvard::test
