#pragma once

#include <sys/types.h>

#include "crash/handler/crash_message.h"

/// The dying process's side of the reporter. Everything here is async-signal-safe.
namespace halvard::crash_handler {

/// What it takes to run a reporter; all of it made before the crash.
struct ReporterProcess {
  const char* path = nullptr;
  char* const* arguments = nullptr;
  char* const* environment = nullptr;
  /// The child runs on this stack until it is the reporter.
  void* childStackTop = nullptr;
  /// The two ends of the socket; both close on exec.
  int ownEnd = -1;
  int reporterEnd = -1;
  int silenceLimitMilliseconds = 0;
};

/// How far the reporter came.
struct ReporterOutcome {
  bool counted = false;
  bool saved = false;
  /// It said that the process shall leave; otherwise it was missing, died or hung.
  bool finished = false;
};

/// Starts the reporter, tells it what happened and waits until it has finished, ended or been silent for too long; in
/// the last case it is killed.
ReporterOutcome runReporter(const ReporterProcess& reporter, const CrashMessage& message);

}  // namespace halvard::crash_handler
