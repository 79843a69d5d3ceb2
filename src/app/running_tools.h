#pragma once

#include <QObject>
#include <memory>

#include "process_manager/application_entry.h"

namespace halvard {

class ProcessesManager;

/// Which of the tools run, by the list of applications, which takes some milliseconds on another thread: an answer
/// comes from the list before and asks for the next. Main thread.
class RunningTools {
 public:
  /// `processes` outlives this object.
  explicit RunningTools(ProcessesManager& processes) : m_processes(processes) {}

  void refresh();

  /// The running application whose desktop entry has this id, with or without ".desktop"; null when none is known to
  /// run.
  std::shared_ptr<RunningApplication> find(const QString& identifier);

 private:
  ProcessesManager& m_processes;
  QObject m_context;
  ApplicationList m_applications;
  bool m_refreshing = false;
};

}  // namespace halvard
