// halvard-purge-worker PARENT_PID: holds the memory that a purge fills, and nothing else. Descriptor 0 is the channel.
//
// It is a process of its own so that the kernel, should memory run out, takes it and no program of the user's. It ends
// when the channel closes, and with its parent.

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <string.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <csignal>

#include "memory/worker/buffers.h"

using namespace halvard::purge_worker;

namespace {

constexpr int kChannel = 0;

/// Makes the kernel choose this process first when memory runs out. Raising the score needs no privilege.
bool becomeFirstVictim() {
  constexpr char kScore[] = "1000";
  const int file = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
  if (file < 0) return false;
  const bool written = write(file, kScore, sizeof kScore - 1) == static_cast<ssize_t>(sizeof kScore - 1);
  close(file);
  return written;
}

bool isPacketSocket(int descriptor) {
  int type = 0;
  socklen_t length = sizeof type;
  return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &length) == 0 && type == SOCK_SEQPACKET;
}

/// False when the parent is gone already: then no signal will come.
bool endWithParent(long parent) {
  return prctl(PR_SET_PDEATHSIG, SIGKILL) == 0 && getppid() == parent;
}

/// Whoever works at the desktop comes first, at the processors and at the disk. Failing is no reason to stop.
void stepBehindEveryoneElse() {
  constexpr int kWhoProcess = 1;
  constexpr int kClassIdle = 3 << 13;
  (void)setpriority(PRIO_PROCESS, 0, 19);
  (void)syscall(SYS_ioprio_set, kWhoProcess, 0, kClassIdle);
}

void dropWhatWasInherited() {
  (void)clearenv();
  (void)syscall(SYS_close_range, 3U, ~0U, 0U);
  const rlimit noCore{0, 0};
  (void)setrlimit(RLIMIT_CORE, &noCore);
  (void)prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0);
}

bool answer(int error, std::uint64_t serial) {
  Answer message;
  message.error = error;
  message.serial = serial;
  ssize_t sent = 0;
  do {
    sent = send(kChannel, &message, sizeof message, MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  return sent == static_cast<ssize_t>(sizeof message);
}

int perform(Buffers& buffers, const Command& command) {
  if (command.buffer >= kMaxBuffers || command.size == 0 || command.size > kMaxBufferSize) return EINVAL;
  switch (command.operation) {
    case Operation::Pin:
      return buffers.pin(command.buffer, command.size, Buffers::Pages::Small);
    case Operation::PinHuge:
      return buffers.pin(command.buffer, command.size, Buffers::Pages::Huge);
    case Operation::MakeVolatile:
      return buffers.makeVolatile(command.buffer, command.size);
    case Operation::Discard:
      return buffers.discard(command.buffer, command.size);
  }
  return EINVAL;
}

/// Serves one command. False when the channel is closed.
bool serve(Buffers& buffers) {
  Command command;
  // MSG_TRUNC: the length of the whole packet, so that a longer one does not pass for a command. Descriptors sent
  // along are dropped by the kernel, for there is no room for them.
  const ssize_t length = recv(kChannel, &command, sizeof command, MSG_TRUNC);
  if (length < 0) return errno == EINTR;
  if (length == 0) return false;
  if (length != static_cast<ssize_t>(sizeof command)) return answer(EBADMSG, 0);
  if (command.magic != kMagic || command.unused != 0 || command.serial == 0) return answer(EBADMSG, 0);
  return answer(perform(buffers, command), command.serial);
}

ExitStatus run(int argc, char** argv) {
  if (!becomeFirstVictim()) return kNotProtected;
  if (argc != 2 || !isPacketSocket(kChannel)) {
    constexpr char kExplanation[] = "halvard-purge-worker: started by halvard, not by hand\n";
    (void)!write(STDERR_FILENO, kExplanation, sizeof kExplanation - 1);
    return kNotStartedByUs;
  }
  if (!endWithParent(strtol(argv[1], nullptr, 10))) return kChannelClosed;
  dropWhatWasInherited();
  stepBehindEveryoneElse();
  Buffers buffers;
  if (!buffers.initialize()) return kOutOfAddresses;
  if (!answer(0, 0)) return kChannelClosed;
  while (serve(buffers)) {
  }
  return kChannelClosed;
}

}  // namespace

int main(int argc, char** argv) {
  // Without exit handlers: there is nothing to tidy up, and a sanitizer's would start a process of its own.
  _exit(run(argc, argv));
}
