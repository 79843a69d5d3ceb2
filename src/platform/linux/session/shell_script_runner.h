#pragma once

#include "platform/ports/script_runner.h"

namespace halvard {

/// Runs "/bin/sh" with the script's path as its single argument.
class ShellScriptRunner : public ScriptRunner {
 public:
  bool run(const QString& scriptPath) override;
};

}  // namespace halvard
