#include "support/private_bus.h"

#include <QDBusPendingCallWatcher>
#include <QFile>
#include <QTest>
#include <QUuid>

#include <sys/prctl.h>
#include <csignal>

namespace halvard::test {

namespace {

constexpr int kStartMilliseconds = 10'000;

const char kConfiguration[] = R"(<!DOCTYPE busconfig PUBLIC "-//freedesktop//DTD D-Bus Bus Configuration 1.0//EN"
 "http://www.freedesktop.org/standards/dbus/1.0/busconfig.dtd">
<busconfig>
  <type>session</type>
  <listen>unix:path=%1</listen>
  <auth>EXTERNAL</auth>
  <policy context="default">
    <allow send_destination="*" eavesdrop="true"/>
    <allow eavesdrop="true"/>
    <allow own="*"/>
  </policy>
</busconfig>
)";

}  // namespace

PrivateBus::PrivateBus() {
  m_daemon.setChildProcessModifier([] { prctl(PR_SET_PDEATHSIG, SIGKILL); });
  QFile file(m_directory.filePath(QStringLiteral("bus.conf")));
  if (!file.open(QIODevice::WriteOnly)) return;
  const QString socket = m_directory.filePath(QStringLiteral("bus"));
  file.write(QString::fromLatin1(kConfiguration).arg(socket).toUtf8());
  file.close();
  start();
}

PrivateBus::~PrivateBus() {
  for (const QString& name : std::as_const(m_names))
    QDBusConnection::disconnectFromBus(name);
  stop();
}

QString PrivateBus::address() const {
  return QStringLiteral("unix:path=") + m_directory.filePath(QStringLiteral("bus"));
}

QDBusConnection PrivateBus::connect() {
  const QString name = QUuid::createUuid().toString();
  m_names.append(name);
  return QDBusConnection::connectToBus(address(), name);
}

void PrivateBus::disconnect(const QDBusConnection& connection) {
  m_names.removeAll(connection.name());
  QDBusConnection::disconnectFromBus(connection.name());
}

void PrivateBus::stop() {
  m_daemon.kill();
  m_daemon.waitForFinished();
  QFile::remove(m_directory.filePath(QStringLiteral("bus")));
}

void PrivateBus::start() {
  const QString configuration = QStringLiteral("--config-file=") + m_directory.filePath(QStringLiteral("bus.conf"));
  m_daemon.start(QStringLiteral("dbus-daemon"),
                 {configuration, QStringLiteral("--nofork"), QStringLiteral("--print-address")});
  m_daemon.waitForReadyRead(kStartMilliseconds);  // it prints its address once it listens
}

QDBusMessage waitForReply(const QDBusPendingCall& call) {
  QDBusPendingCallWatcher watcher(call);
  const bool finished = QTest::qWaitFor([&] { return watcher.isFinished(); }, 5'000);
  if (!finished) return QDBusMessage::createError(QDBusError::Timeout, QStringLiteral("no reply"));
  return watcher.reply();
}

}  // namespace halvard::test
