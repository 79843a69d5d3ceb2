#pragma once

#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QByteArray>
#include <cstddef>
#include <optional>
#include <utility>

#include "platform/linux/procfs/file_descriptor.h"

namespace halvard::test {

/// A worker without the adapter: its bare channel.
class BareWorker {
 public:
  explicit BareWorker(const char* program, int parent = ::getpid()) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) qFatal("socketpair");
    const QByteArray argument = QByteArray::number(parent);
    m_process = ::fork();
    if (m_process == 0) {
      ::dup2(ends[1], 0);
      ::execl(program, program, argument.constData(), nullptr);
      ::_exit(127);
    }
    ::close(ends[1]);
    m_channel.reset(ends[0]);
  }
  ~BareWorker() {
    if (m_process > 0) finish();
  }

  int process() const { return m_process; }
  int channel() const { return m_channel.get(); }
  bool send(const void* bytes, std::size_t length) {
    return ::send(m_channel.get(), bytes, length, MSG_NOSIGNAL) == static_cast<ssize_t>(length);
  }
  /// Nothing unless the next packet is one of its kind.
  template <class Answer>
  std::optional<Answer> receive() {
    Answer answer;
    if (::recv(m_channel.get(), &answer, sizeof answer, MSG_TRUNC) != sizeof answer) return std::nullopt;
    return answer.magic == Answer().magic ? std::optional(answer) : std::nullopt;
  }
  /// Sends a command; nothing without a proper answer.
  template <class Answer, class Command>
  std::optional<Answer> ask(const Command& command) {
    return send(&command, sizeof command) ? receive<Answer>() : std::nullopt;
  }
  /// Closes the channel; the worker's exit status, or minus the signal that ended it.
  int finish() {
    m_channel.reset();
    int status = 0;
    ::waitpid(std::exchange(m_process, -1), &status, 0);
    return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
  }

 private:
  FileDescriptor m_channel;
  pid_t m_process = -1;
};

}  // namespace halvard::test
