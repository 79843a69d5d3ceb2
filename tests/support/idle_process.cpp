#include "support/idle_process.h"

#include <linux/sched.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <utility>

#include "support/process_files.h"

namespace halvard::test {
namespace {

/// A fork with a certain pid, which needs root; any pid for 0.
pid_t forkAs(pid_t wanted) {
  if (wanted == 0) return ::fork();
  clone_args arguments{};
  arguments.exit_signal = SIGCHLD;
  arguments.set_tid = reinterpret_cast<std::uint64_t>(&wanted);
  arguments.set_tid_size = 1;
  return static_cast<pid_t>(::syscall(SYS_clone3, &arguments, sizeof arguments));
}

[[noreturn]] void live(std::size_t bytes, uid_t user, int ready) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  // Under this program's own name it may be one that is spared.
  ::prctl(PR_SET_NAME, "idle");
  // A copy of a channel would keep the worker at its other end alive.
  if (ready != 3) ::dup2(ready, 3);
  ::close_range(4, ~0U, 0);
  if (user != 0 && (::setresgid(user, user, user) != 0 || ::setresuid(user, user, user) != 0)) ::_exit(1);
  // Changing the user makes a process one that nobody may look at.
  ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0);
  void* const memory = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) ::_exit(1);
  fillLikeText(static_cast<unsigned*>(memory), bytes / sizeof(unsigned));
  const char byte = 1;
  if (::write(3, &byte, 1) != 1) ::_exit(1);
  for (;;)
    ::pause();
}

}  // namespace

void fillLikeText(unsigned* words, std::size_t count) {
  for (std::size_t index = 0; index < count; ++index)
    words[index] = static_cast<unsigned>(index % 64 < 16 ? index * 2654435761U : index / 4096);
}

IdleProcess::IdleProcess(std::size_t bytes, uid_t user, pid_t wantedPid) {
  int ready[2];
  if (::pipe(ready) != 0) return;
  m_pid = forkAs(wantedPid);
  if (m_pid == 0) live(bytes, user, ready[1]);
  ::close(ready[1]);
  char byte = 0;
  if (m_pid > 0 && ::read(ready[0], &byte, 1) != 1) end();
  ::close(ready[0]);
}

IdleProcess::~IdleProcess() {
  end();
}

void IdleProcess::end() {
  if (m_pid <= 0) return;
  ::kill(m_pid, SIGKILL);
  ::waitpid(std::exchange(m_pid, -1), nullptr, 0);
}

std::uint64_t IdleProcess::startTime() const {
  const QByteArray stat = processFile(m_pid, "stat");
  return stat.mid(stat.lastIndexOf(')') + 2).split(' ').value(19).toULongLong();
}

std::uint64_t IdleProcess::residentBytes() const {
  return processBytes(m_pid, "RssAnon:");
}

}  // namespace halvard::test
