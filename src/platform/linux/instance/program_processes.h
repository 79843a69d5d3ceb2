#pragma once

#include <QByteArray>
#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

#include "platform/linux/processes/process_handle.h"

namespace halvard {

/// Which session a process belongs to, by what its environment says.
struct SessionMark {
  QByteArray busAddress;
  QByteArray runtimeFolder;
  bool operator==(const SessionMark&) const = default;
};

/// `environment` is the text of /proc/PID/environ.
SessionMark parseSessionMark(std::string_view environment);

/// Looks up processes of this user by their program. This process itself is never among them. One thread.
class ProgramProcesses {
 public:
  explicit ProgramProcesses(QByteArray procRoot = "/proc");

  using Handles = std::vector<std::unique_ptr<ProcessHandle>>;

  /// Those that run a program file of the same name as this process does in the same session, the oldest first. A
  /// demonstration ("--demo") is none of them.
  Handles copies() const;
  /// Those whose program, or whose mounted AppImage, is `bundle` or lies below it.
  Handles inBundle(const QString& bundle) const;

 private:
  const QByteArray m_root;
};

}  // namespace halvard
