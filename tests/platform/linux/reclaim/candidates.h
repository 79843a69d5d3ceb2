#pragma once

#include "platform/linux/reclaim/victim_selection.h"

namespace halvard::test {

/// A process of the user with 25 MiB that does nothing.
inline ReclaimCandidate process(std::int32_t pid, const char* program, std::int32_t parent = 1) {
  ReclaimCandidate candidate;
  candidate.pid = pid;
  candidate.parentPid = parent;
  candidate.startTime = static_cast<std::uint64_t>(pid) * 10;
  candidate.program = QString::fromLatin1(program);
  candidate.isOwn = true;
  candidate.anonymousBytes = ByteCount{25} << 20;
  return candidate;
}

/// An application with windows, and the only process of it.
inline ReclaimCandidate application(std::int32_t pid, const char* name, const char* unit = "") {
  ReclaimCandidate candidate = process(pid, name);
  candidate.application = pid;
  candidate.applicationName = candidate.program;
  candidate.isRegular = true;
  candidate.unit = unit;
  return candidate;
}

}  // namespace halvard::test
