#include "platform/linux/instance/linux_running_copies.h"

#include <QDBusMessage>
#include <algorithm>
#include <csignal>
#include <utility>

#include "platform/linux/control/control_names.h"

namespace halvard {
namespace {

/// The one that answers on the bus.
class HoldingCopy : public ProgramCopy {
 public:
  HoldingCopy(QDBusConnection bus, std::unique_ptr<ProcessHandle> process)
      : m_bus(std::move(bus)), m_process(std::move(process)) {}

  bool activate() override {
    QDBusMessage show = QDBusMessage::createMethodCall(control_names::kService, control_names::kPath,
                                                       control_names::kInterface, QStringLiteral("Show"));
    show.setAutoStartService(false);
    return m_bus.isConnected() && m_bus.send(show);
  }
  bool terminate() override { return m_process && m_process->send(SIGTERM); }

 private:
  QDBusConnection m_bus;
  std::unique_ptr<ProcessHandle> m_process;
};

class OlderCopy : public ProgramCopy {
 public:
  explicit OlderCopy(std::unique_ptr<ProcessHandle> process) : m_process(std::move(process)) {}
  bool activate() override { return false; }
  bool terminate() override { return m_process->send(SIGTERM); }

 private:
  std::unique_ptr<ProcessHandle> m_process;
};

}  // namespace

LinuxRunningCopies::LinuxRunningCopies(const QDBusConnection& bus, const QString& runtimeFolder)
    : m_bus(bus), m_claim(bus, runtimeFolder) {}

std::vector<std::unique_ptr<ProgramCopy>> LinuxRunningCopies::others() {
  ProgramProcesses::Handles found = m_processes.copies();
  // Asked for after the table was read: a holder that came in between is not taken for a leftover.
  const std::optional<std::int32_t> holder = m_claim.holder();
  std::vector<std::unique_ptr<ProgramCopy>> copies;
  if (!holder || *holder == ::getpid()) return copies;
  const auto at =
      std::find_if(found.begin(), found.end(), [&](const auto& process) { return process->pid() == *holder; });
  copies.push_back(std::make_unique<HoldingCopy>(m_bus, at == found.end() ? nullptr : std::move(*at)));
  if (at == found.end()) return copies;
  std::for_each(found.begin(), at,
                [&](auto& process) { copies.push_back(std::make_unique<OlderCopy>(std::move(process))); });
  return copies;
}

void LinuxRunningCopies::terminateProgramsOf(const QString& bundle) {
  for (const auto& process : m_processes.inBundle(bundle))
    process->send(SIGTERM);
}

}  // namespace halvard
