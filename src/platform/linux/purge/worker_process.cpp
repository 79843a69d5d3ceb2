#include "platform/linux/purge/worker_process.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>

// glibc 2.36 forgets to declare these functions as C's.
extern "C" {
#include <sys/pidfd.h>
}

namespace halvard {
namespace {

using namespace std::chrono_literals;
using purge_worker::Answer;
using purge_worker::Command;
using purge_worker::Operation;

/// Giving back tens of gigabytes in small pages takes seconds.
constexpr auto kEndLimit = 10s;

/// True once `descriptor` can be read, has an error, or its other end is gone; false at the end of `limit`.
bool waitReadable(int descriptor, std::chrono::milliseconds limit) {
  const auto deadline = std::chrono::steady_clock::now() + limit;
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
    pollfd entry{descriptor, POLLIN, 0};
    const int ready = ::poll(&entry, 1, static_cast<int>(std::max<decltype(left)>(left, 0)));
    if (ready >= 0 || errno != EINTR) return ready != 0;
  }
}

/// What posix_spawn is told: the channel becomes descriptor 0, and signals are as in a new session.
class SpawnSettings {
 public:
  explicit SpawnSettings(int channel) {
    ::posix_spawn_file_actions_init(&m_actions);
    ::posix_spawn_file_actions_adddup2(&m_actions, channel, STDIN_FILENO);
    ::posix_spawn_file_actions_addopen(&m_actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    ::posix_spawnattr_init(&m_attributes);
    sigset_t signals;
    ::sigemptyset(&signals);
    ::posix_spawnattr_setsigmask(&m_attributes, &signals);
    ::sigfillset(&signals);
    ::posix_spawnattr_setsigdefault(&m_attributes, &signals);
    ::posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
  }
  ~SpawnSettings() {
    ::posix_spawn_file_actions_destroy(&m_actions);
    ::posix_spawnattr_destroy(&m_attributes);
  }
  SpawnSettings(const SpawnSettings&) = delete;
  SpawnSettings& operator=(const SpawnSettings&) = delete;

  /// 0 or an errno. The child gets no environment.
  int spawn(pid_t& child, const std::string& path, std::string argument) const {
    std::string name = path;
    const std::array<char*, 3> arguments{name.data(), argument.data(), nullptr};
    const std::array<char*, 1> environment{nullptr};
    return ::posix_spawn(&child, path.c_str(), &m_actions, &m_attributes, arguments.data(), environment.data());
  }

 private:
  posix_spawn_file_actions_t m_actions;
  posix_spawnattr_t m_attributes;
};

Error failure(const char* what, int code) {
  return {QStringLiteral("purge worker: %1: %2").arg(QLatin1String(what), QString::fromLocal8Bit(std::strerror(code)))};
}

}  // namespace

WorkerProcess::WorkerProcess(int processId, FileDescriptor process, FileDescriptor channel,
                             std::chrono::milliseconds answerLimit)
    : m_processId(processId),
      m_process(std::move(process)),
      m_channel(std::move(channel)),
      m_answerLimit(answerLimit) {}

Result<std::unique_ptr<WorkerProcess>> WorkerProcess::start(const std::string& path,
                                                            std::chrono::milliseconds answerLimit) {
  std::array<int, 2> ends;
  if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) return failure("socket", errno);
  FileDescriptor ours(ends[0]);
  FileDescriptor theirs(ends[1]);
  pid_t child = -1;
  if (const int code = SpawnSettings(theirs.get()).spawn(child, path, std::to_string(::getpid()))) {
    return failure("start", code);
  }
  theirs.reset();
  // The child is not reaped yet, so that its number is still its own.
  FileDescriptor process(::pidfd_open(child, 0));
  if (!process) {
    const int code = errno;
    ::kill(child, SIGKILL);
    ::waitpid(child, nullptr, 0);
    return failure("pidfd", code);
  }
  std::unique_ptr<WorkerProcess> worker(new WorkerProcess(child, std::move(process), std::move(ours), answerLimit));
  if (const int code = worker->receiveReadiness()) return failure("not ready", worker->fail(code));
  return worker;
}

WorkerProcess::~WorkerProcess() {
  m_channel.reset();
  if (!reap(kEndLimit)) kill();
}

int WorkerProcess::perform(Operation operation, std::uint32_t buffer, std::uint64_t size) {
  Command command;
  command.operation = operation;
  command.buffer = buffer;
  command.size = size;
  Answer answer;
  const int code = exchange(command, answer);
  return code != 0 ? code : answer.error;
}

int WorkerProcess::transfer(std::span<const std::byte> command, std::span<std::byte> answer) {
  if (!m_channel) return EPIPE;
  // There is room for the packet: the one before was answered.
  const ssize_t sent = ::send(m_channel.get(), command.data(), command.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
  const int code = sent < 0 ? errno : receive(answer);
  return code == 0 ? 0 : fail(code);
}

int WorkerProcess::receive(std::span<std::byte> packet) {
  if (!waitReadable(m_channel.get(), m_answerLimit)) return ETIMEDOUT;
  const ssize_t length = ::recv(m_channel.get(), packet.data(), packet.size(), MSG_DONTWAIT | MSG_TRUNC);
  if (length < 0) return errno;
  if (length == 0) return ECONNRESET;
  return static_cast<std::size_t>(length) == packet.size() ? 0 : EBADMSG;
}

int WorkerProcess::receiveReadiness() {
  Answer ready;
  if (const int code = receive(std::as_writable_bytes(std::span(&ready, 1)))) return code;
  return ready.magic == purge_worker::kMagic && ready.serial == 0 ? ready.error : EBADMSG;
}

int WorkerProcess::fail(int code) {
  kill();
  return code;
}

bool WorkerProcess::isAlive() const {
  return m_channel && !waitReadable(m_process.get(), 0ms);
}

void WorkerProcess::kill() {
  m_channel.reset();
  if (!m_process) return;
  ::pidfd_send_signal(m_process.get(), SIGKILL, nullptr, 0);
  // Not without end: a process that waits for a broken disk cannot even be killed.
  reap(kEndLimit);
}

bool WorkerProcess::reap(std::chrono::milliseconds limit) {
  if (!m_process) return true;
  if (!waitReadable(m_process.get(), limit)) return false;
  siginfo_t info{};
  while (::waitid(P_PIDFD, static_cast<id_t>(m_process.get()), &info, WEXITED) != 0 && errno == EINTR) {
  }
  m_process.reset();
  return true;
}

}  // namespace halvard
