#pragma once

#include <sys/prctl.h>

#include <QProcess>
#include <csignal>

namespace halvard::test {

/// A process that ends with this object, and with the test program when that dies.
struct OwnedProcess : QProcess {
  OwnedProcess() {
    setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGKILL); });
  }
  ~OwnedProcess() override { end(); }
  void end() {
    kill();
    waitForFinished();
  }
  /// What it has printed once that ends with `last`; nothing when it does not within 20 s.
  QByteArray readUntil(const char* last) {
    QByteArray output;
    while (!output.endsWith(last)) {
      if (!waitForReadyRead(20'000)) return {};
      output += readAllStandardOutput();
    }
    return output;
  }
};

}  // namespace halvard::test
