#pragma once

#include <memory>

#include "core/result.h"
#include "platform/ports/purgeable_memory.h"

namespace halvard {

/// One way to make the kernel reclaim memory. One thread at a time.
class ReclaimStrategy {
 public:
  virtual ~ReclaimStrategy() = default;
  /// The steps of one purge, or one line that says why this way is not open here now. A session without anything to do
  /// is a session.
  virtual Result<std::unique_ptr<PurgeableSession>> open() = 0;
  /// What open() would lead to, or the same line.
  virtual Result<ReclaimForecast> forecast() = 0;
};

}  // namespace halvard
