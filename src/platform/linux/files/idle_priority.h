#pragma once

#include "platform/ports/background_priority.h"

namespace halvard {

/// The kernel's idle classes for processor and disk.
class IdlePriority : public BackgroundPriority {
 public:
  void lowerCurrentThread() const override;
};

}  // namespace halvard
