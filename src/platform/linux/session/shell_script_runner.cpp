#include "platform/linux/session/shell_script_runner.h"

#include <QProcess>

namespace halvard {

bool ShellScriptRunner::run(const QString& scriptPath) {
  QProcess process;
  process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
  process.setStandardOutputFile(QProcess::nullDevice());
  process.start(QStringLiteral("/bin/sh"), {scriptPath});
  if (!process.waitForStarted(-1)) return false;
  process.waitForFinished(-1);
  return process.exitStatus() == QProcess::NormalExit;
}

}  // namespace halvard
