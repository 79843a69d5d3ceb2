#pragma once

#include <QString>
#include <cstdint>
#include <memory>
#include <vector>

#include "core/units.h"

namespace halvard {

/// How the kernel is made to reclaim memory.
enum class ReclaimMethod {
  None,
  /// Idle programs are paged out by name, page for page.
  PageOut,
  /// The control groups of idle applications are asked to give up memory.
  ControlGroups,
  /// Memory is filled, so that the kernel pages out what it takes for idle.
  Fill,
};

/// What the steps of one purge did.
struct ReclaimOutcome {
  /// None when nothing left RAM.
  ReclaimMethod method = ReclaimMethod::None;
  /// Contents that left RAM, as far as the method can count them; 0 for a fill, which cannot.
  ByteCount pagedOutBytes = 0;
  /// One line for the user, in English: what this method can and cannot do here, and why no better one is used.
  QString explanation;
};

/// What a purge could do now.
struct ReclaimForecast {
  /// Some programs of one name whose idle memory would be paged out.
  struct Source {
    QString name;
    /// The first of them.
    std::int32_t pid = 0;
    int processes = 0;
    ByteCount bytes = 0;
  };
  /// None: nothing useful to free.
  ReclaimMethod method = ReclaimMethod::None;
  /// In the order in which they would be taken; empty for a fill, which does not choose.
  std::vector<Source> sources;
  /// Contents that would leave RAM.
  ByteCount pageOutBytes = 0;
  /// The same less what the compressed copies are expected to occupy.
  ByteCount gainBytes = 0;
  /// As in ReclaimOutcome.
  QString explanation;
};

/// One buffer that is pinned while its content is accessed, and that the kernel may drop otherwise.
class PurgeableData {
 public:
  virtual ~PurgeableData() = default;
  /// Pins the buffer. It may come back volatile at once when the machine has no room (see PurgeableSession).
  virtual void beginContentAccess() = 0;
  /// Touches every page.
  virtual void overwriteWithZeros() = 0;
  /// Makes the buffer volatile: the kernel may drop it before anything else.
  virtual void endContentAccess() = 0;
  /// Gives the memory back.
  virtual void discardContentIfPossible() = 0;
};

/// The buffers of one purge. Ending it gives back whatever is left.
class PurgeableSession {
 public:
  virtual ~PurgeableSession() = default;

  /// A new buffer of `size` bytes of zeros; never null, but it does nothing once isAlive() is false.
  virtual std::unique_ptr<PurgeableData> makeData(ByteCount size) = 0;

  /// False once the memory is gone early, for instance because the kernel took its holder: the purge ends normally.
  virtual bool isAlive() const = 0;

  /// As of the latest step.
  virtual ReclaimOutcome outcome() const { return {}; }
};

/// A way to make the kernel reclaim memory, in steps of one buffer. Used on one background thread at a time.
class PurgeableMemory {
 public:
  virtual ~PurgeableMemory() = default;
  /// Never null; a session that could not start is not alive.
  virtual std::unique_ptr<PurgeableSession> openSession() = 0;
  /// Looks and changes nothing. Blocks for about a second. Not while a session is open.
  virtual ReclaimForecast forecast() { return {}; }
};

}  // namespace halvard
