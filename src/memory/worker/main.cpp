// halvard-purge-worker PARENT_PID: holds the memory that a purge fills, and nothing else. Descriptor 0 is the channel.
//
// It is a process of its own so that the kernel, should memory run out, takes it and no program of the user's. It ends
// when the channel closes, and with its parent.

#include <errno.h>
#include <fcntl.h>
#include <stdlib.h>
#include <unistd.h>

#include "memory/worker/buffers.h"
#include "memory/worker/channel.h"
#include "memory/worker/confinement.h"

using namespace halvard::purge_worker;

namespace {

/// Makes the kernel choose this process first when memory runs out. Raising the score needs no privilege.
bool becomeFirstVictim() {
  constexpr char kScore[] = "1000";
  const int file = open("/proc/self/oom_score_adj", O_WRONLY | O_CLOEXEC);
  if (file < 0) return false;
  const bool written = write(file, kScore, sizeof kScore - 1) == static_cast<ssize_t>(sizeof kScore - 1);
  close(file);
  return written;
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
  const ssize_t length = receivePacket(&command, sizeof command);
  if (length < 0) return errno == EINTR;
  if (length == 0) return false;
  if (length != static_cast<ssize_t>(sizeof command)) return answer(EBADMSG, 0);
  if (command.magic != kMagic || command.unused != 0 || command.serial == 0) return answer(EBADMSG, 0);
  return answer(perform(buffers, command), command.serial);
}

ExitStatus run(int argc, char** argv) {
  if (!becomeFirstVictim()) return kNotProtected;
  if (!hasChannel("halvard-purge-worker") || argc != 2) return kNotStartedByUs;
  if (!endWithParent(strtol(argv[1], nullptr, 10))) return kChannelClosed;
  dropWhatWasInherited();
  giveWay(19);
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
