#pragma once

#include <QString>
#include <cstdio>

#include "cli/command.h"

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
  QString out() const { return content(m_output.out); }
  QString err() const { return content(m_output.err); }

 private:
  static QString content(std::FILE* stream) {
    std::fflush(stream);
    QByteArray bytes(std::ftell(stream), Qt::Uninitialized);
    std::rewind(stream);
    bytes.truncate(static_cast<qsizetype>(std::fread(bytes.data(), 1, static_cast<std::size_t>(bytes.size()), stream)));
    std::fseek(stream, 0, SEEK_END);
    return QString::fromUtf8(bytes);
  }

  CommandOutput m_output;
};

}  // namespace halvard::test
