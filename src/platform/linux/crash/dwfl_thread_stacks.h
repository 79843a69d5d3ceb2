#pragma once

#include "platform/ports/thread_stacks.h"

namespace halvard {

/// Reads stacks with libdwfl: frames through the call frame information of the loaded files, names from their symbol
/// tables and from separate debug files where these are installed. Nothing is fetched. Needs the right to trace the
/// process.
class DwflThreadStacks : public ThreadStackReader {
 public:
  ThreadStacks read(std::int32_t process, std::size_t frameLimit) override;
};

}  // namespace halvard
