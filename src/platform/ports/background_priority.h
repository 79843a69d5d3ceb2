#pragma once

namespace halvard {

/// Lets work step back behind everything else that the machine does.
class BackgroundPriority {
 public:
  virtual ~BackgroundPriority() = default;

  /// From now on the calling thread gets processor and disk only when nobody else wants them. For the rest of the
  /// thread's life.
  virtual void lowerCurrentThread() const = 0;
};

}  // namespace halvard
