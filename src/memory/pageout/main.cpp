// halvard-pageout-worker PARENT_PID: tells the kernel which pages of the user's idle processes to page out, and nothing
// else. Descriptor 0 is the channel.
//
// Advising another process needs CAP_SYS_NICE. This program's file has that one capability, so that nothing larger
// needs it; it serves only the user that started it, and touches only processes of that user. It ends when the channel
// closes, and with its parent.

#include <errno.h>
#include <stdlib.h>
#include <unistd.h>

#include "memory/pageout/rights.h"
#include "memory/pageout/target.h"
#include "memory/worker/channel.h"
#include "memory/worker/confinement.h"
#include "platform/linux/purge/page_out_protocol.h"

using namespace halvard::purge_worker;

namespace {

/// Not the last of all: a process that is paged out cannot map memory meanwhile, and must not wait for one that nobody
/// lets run.
constexpr int kNiceness = 5;

bool isWellFormed(const PageOutCommand& command) {
  return command.magic == kPageOutMagic && command.serial != 0;
}

bool isSensible(const PageOutCommand& command) {
  return command.pid > 1 && command.startTime != 0 && command.bytes != 0 && command.bytes <= kMaxPageOut;
}

PageOutAnswer perform(Target& target, const PageOutCommand& command) {
  PageOutAnswer result;
  result.serial = command.serial;
  result.error = isSensible(command) ? 0 : EINVAL;
  if (result.error == 0 && !target.is(command.pid, command.startTime)) {
    result.error = target.open(command.pid, command.startTime);
  }
  if (result.error != 0) return result;
  const Target::Step step = target.pageOut(command.bytes);
  result.error = step.error;
  result.bytes = step.bytes;
  result.more = step.more ? 1 : 0;
  if (!step.more || step.error != 0) target.close();
  return result;
}

/// Serves one command. False when the channel is closed.
bool serve(Target& target) {
  PageOutCommand command;
  const ssize_t length = receivePacket(&command, sizeof command);
  if (length < 0) return errno == EINTR;
  if (length == 0) return false;
  PageOutAnswer result;
  result.error = EBADMSG;
  if (length == static_cast<ssize_t>(sizeof command) && isWellFormed(command)) result = perform(target, command);
  return sendPacket(&result, sizeof result);
}

int run(int argc, char** argv) {
  if (!hasChannel("halvard-pageout-worker") || argc != 2) return kNotStartedByUs;
  const long parent = strtol(argv[1], nullptr, 10);
  if (!callerIsOwnUser(parent)) return kForeignCaller;
  if (!endWithParent(parent)) return kChannelClosed;
  dropWhatWasInherited();
  giveWay(kNiceness);
  if (!keepOnlyPageOut()) {
    (void)answer(EPERM, 0);
    return kNoRight;
  }
  const int obstacle = Target::tryOn(static_cast<pid_t>(parent));
  if (!answer(obstacle, 0)) return kChannelClosed;
  if (obstacle != 0) return kNoRight;
  static Target target;
  while (serve(target)) {
  }
  return kChannelClosed;
}

}  // namespace

int main(int argc, char** argv) {
  // Without exit handlers: there is nothing to tidy up.
  _exit(run(argc, argv));
}
