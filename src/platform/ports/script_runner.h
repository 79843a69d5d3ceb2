#pragma once

#include <QString>

namespace halvard {

/// Runs scripts of the program's resources with "/bin/sh".
class ScriptRunner {
 public:
  virtual ~ScriptRunner() = default;
  /// Blocks until the script ends; never call it on the main thread. True exactly when it ended by exiting, whatever
  /// its status; false when a signal ended it or it could not start.
  virtual bool run(const QString& scriptPath) = 0;
};

}  // namespace halvard
