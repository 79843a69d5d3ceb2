#pragma once

#include <QDBusConnection>

#include "platform/linux/instance/program_processes.h"
#include "platform/linux/instance/session_claim.h"
#include "platform/ports/running_copies.h"

namespace halvard {

/// Copies by the session's claim and the process table.
class LinuxRunningCopies : public RunningCopies {
 public:
  /// `runtimeFolder` ($XDG_RUNTIME_DIR) serves where the bus is not connected.
  LinuxRunningCopies(const QDBusConnection& bus, const QString& runtimeFolder);

  bool claim() override { return m_claim.take(); }
  void release() override { m_claim.release(); }
  std::vector<std::unique_ptr<ProgramCopy>> others() override;
  void terminateProgramsOf(const QString& bundle) override;

 private:
  QDBusConnection m_bus;
  SessionClaim m_claim;
  ProgramProcesses m_processes;
};

}  // namespace halvard
