#pragma once

#include <QString>
#include <vector>

#include "core/clock.h"
#include "frame_probe.h"
#include "platform/ports/purgeable_memory.h"
#include "support/idle_process.h"
#include "watched_memory.h"

namespace halvard::bench {

/// What one way of freeing memory did, once, to an idle program and to the probe.
struct Turn {
  /// From the request to the end.
  double seconds = 0;
  /// Within its reclaiming steps.
  double stepSeconds = 0;
  /// Of the processors, by this program and its worker: what counts where others keep the processors busy.
  double processorSeconds = 0;
  /// What the idle program lost of its resident memory.
  double pagedOutBytes = 0;
  /// By how much used memory fell, as the program counts it: less what the compressed copies take, and with what
  /// everybody else did meanwhile.
  double gainedBytes = 0;
  /// During the reclaiming steps, in milliseconds.
  std::vector<double> frames;
  /// What the purge says of itself.
  QString explanation;

  double bytesPerSecond() const { return stepSeconds > 0 ? pagedOutBytes / stepSeconds : 0; }
};

/// The whole purge of the program: its steps, waits and progress. Runs an event loop.
ReclaimOutcome purgeOnce(PurgeableMemory& memory, Clock& clock);

/// The frames of some seconds in which nothing happens.
std::vector<double> quietFrames(const FrameProbe& probe, Clock& clock);

/// Nothing but process_madvise, as fast as it goes, with the priority of this program.
Turn rawPageOut(const test::IdleProcess& idle, const FrameProbe& probe);

/// The program's purge by targeted page-out. Everybody is looked at as always, but only the idle program is taken, so
/// that it does the same work as rawPageOut() and leaves the rest of the machine alone.
Turn targetedPurge(const test::IdleProcess& idle, const FrameProbe& probe, Clock& clock);

/// The program's purge by filling memory. Whom the kernel takes is its own choice.
Turn fillPurge(const test::IdleProcess& idle, const FrameProbe& probe, Clock& clock);

}  // namespace halvard::bench
