#pragma once

#include <QFile>
#include <cstdio>

#include "cli/command.h"
#include "support/texts.h"

namespace halvard::test {

/// A command's two streams, kept in files.
class CapturedOutput {
 public:
  CapturedOutput() : m_output{std::tmpfile(), std::tmpfile()} {}
  ~CapturedOutput() {
    std::fclose(m_output.out);
    std::fclose(m_output.err);
  }
  CapturedOutput(const CapturedOutput&) = delete;
  CapturedOutput& operator=(const CapturedOutput&) = delete;

  const CommandOutput& output() const { return m_output; }
  QByteArray out() const { return content(m_output.out); }
  QByteArray err() const { return content(m_output.err); }

 private:
  static QByteArray content(std::FILE* stream) {
    std::rewind(stream);
    QFile file;
    return file.open(stream, QIODevice::ReadOnly) ? file.readAll() : QByteArray();
  }

  CommandOutput m_output;
};

/// Runs a command, a function of its CommandOutput: both streams and then the exit code, as one text.
template <class Command>
QString ran(Command&& command) {
  const CapturedOutput captured;
  const int exitCode = command(captured.output());
  return QString::fromUtf8(captured.out() + captured.err()) + QString::number(exitCode);
}

}  // namespace halvard::test
