#pragma once

#include <QObject>
#include <QStringList>
#include <cstdint>

#include "cli/command.h"
#include "core/result.h"
#include "process_manager/application_entry.h"

namespace halvard {

class ProcessesManager;

/// `top`, `activate`, `quit` and `kill`: the applications that hold the memory, helpers folded in. Each runs an event
/// loop of its own and returns an exit code.
class ApplicationCommands : public QObject {
  Q_OBJECT

 public:
  enum class Verb { Activate, Quit, Kill };

  /// Both outlive this object. `program`: the pid of the tray program, which is left out; 0 when it does not run.
  ApplicationCommands(ProcessesManager& processes, const CommandOutput& output, std::int32_t program = 0);

  /// `top [-n N] [--json]`: the N largest applications, all without -n.
  int runTop(const QStringList& arguments);
  /// `activate|quit|kill PID|NAME`. A name counts in any case; one that several applications have needs a pid.
  int runVerb(Verb verb, const QStringList& arguments);

 private:
  ApplicationList readList();
  Result<ApplicationEntry> find(const ApplicationEntries& applications, const QString& who) const;

  ProcessesManager& m_processes;
  const CommandOutput& m_output;
  const std::int32_t m_program;
};

}  // namespace halvard
