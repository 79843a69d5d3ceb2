#include "platform/linux/instance/session_claim.h"

#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <QFile>
#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>

#include "platform/linux/control/control_names.h"

namespace halvard {
namespace {

/// Not the name that commands are sent to: this one is taken before there is anything to answer them.
QString claimName() {
  return control_names::kService + QStringLiteral(".Instance");
}

}  // namespace

SessionClaim::SessionClaim(QDBusConnection bus, QString runtimeFolder)
    : m_bus(std::move(bus)), m_runtimeFolder(std::move(runtimeFolder)) {}

bool SessionClaim::take() {
  if (!m_bus.isConnected()) return takeLock();
  const QDBusReply<QDBusConnectionInterface::RegisterServiceReply> reply = m_bus.interface()->registerService(
      claimName(), QDBusConnectionInterface::DontQueueService, QDBusConnectionInterface::DontAllowReplacement);
  if (!reply.isValid()) return takeLock();
  return reply.value() == QDBusConnectionInterface::ServiceRegistered;
}

bool SessionClaim::takeLock() {
  FileDescriptor file(::open(QFile::encodeName(lockPath()).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
  if (!file) return true;
  if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) return errno != EWOULDBLOCK;
  const QByteArray pid = QByteArray::number(::getpid());
  if (::ftruncate(file.get(), 0) == 0)
    (void)!::write(file.get(), pid.constData(), static_cast<std::size_t>(pid.size()));
  m_lock = std::move(file);
  return true;
}

void SessionClaim::release() {
  m_lock.reset();
  if (m_bus.isConnected()) m_bus.interface()->unregisterService(claimName());
}

std::optional<std::int32_t> SessionClaim::holder() const {
  if (m_bus.isConnected()) {
    const QDBusReply<uint> pid = m_bus.interface()->servicePid(claimName());
    if (pid.isValid()) return static_cast<std::int32_t>(pid.value());
    return std::nullopt;
  }
  QFile file(lockPath());
  const int pid = file.open(QIODevice::ReadOnly) ? file.readAll().toInt() : 0;
  return pid > 0 ? std::optional(pid) : std::nullopt;
}

QString SessionClaim::lockPath() const {
  return m_runtimeFolder + QLatin1Char('/') + control_names::kService + QStringLiteral(".lock");
}

}  // namespace halvard
