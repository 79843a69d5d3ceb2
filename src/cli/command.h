#pragma once

#include <QByteArray>
#include <QString>
#include <cstdio>

namespace halvard {

/// Exit codes of every command.
enum ExitCode : int {
  kExitSuccess = 0,
  /// The work could not be done.
  kExitFailure = 1,
  /// The words of the command line are off; nothing was done.
  kExitUsage = 2,
};

/// Where a command writes. Texts are UTF-8.
struct CommandOutput {
  std::FILE* out = stdout;
  std::FILE* err = stderr;

  void print(const QString& text) const { write(out, text); }
  /// One line on the error stream, with the program's name before it.
  int fail(const QString& reason, ExitCode code) const {
    write(err, QStringLiteral("halvardctl: ") + reason);
    return code;
  }

 private:
  static void write(std::FILE* stream, const QString& line) {
    const QByteArray bytes = line.toUtf8() + '\n';
    std::fwrite(bytes.constData(), 1, static_cast<std::size_t>(bytes.size()), stream);
    std::fflush(stream);
  }
};

}  // namespace halvard
