#pragma once

#include <QDBusConnection>
#include <QString>
#include <cstdint>
#include <optional>

#include "platform/linux/procfs/file_descriptor.h"

namespace halvard {

/// The right to be the one copy of the session: a name on the session bus, or without a bus the lock of a file in the
/// session's runtime folder. Both end with the process that holds them, however it ends. Main thread.
class SessionClaim {
 public:
  SessionClaim(QDBusConnection bus, QString runtimeFolder);

  /// False when another process holds it. True where neither bus nor folder can be had: nobody can tell then.
  bool take();
  void release();
  /// The process that holds it; nothing when none does or it cannot be told.
  std::optional<std::int32_t> holder() const;

 private:
  bool takeLock();
  QString lockPath() const;

  QDBusConnection m_bus;
  const QString m_runtimeFolder;
  FileDescriptor m_lock;
};

}  // namespace halvard
