#pragma once

#include <memory>

#include "core/units.h"

namespace halvard {

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
};

/// A way to make the kernel reclaim memory, in steps of one buffer. Used on one background thread at a time.
class PurgeableMemory {
 public:
  virtual ~PurgeableMemory() = default;
  /// Never null; a session that could not start is not alive.
  virtual std::unique_ptr<PurgeableSession> openSession() = 0;
};

}  // namespace halvard
