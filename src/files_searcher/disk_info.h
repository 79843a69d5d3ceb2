#pragma once

#include <cstdint>

#include "core/units.h"

namespace halvard {

/// The figures of the disk, one a searcher.
enum class DiskInfoType : std::uint32_t { Junk = 0, Applications = 1, LargeAndOld = 2, Duplicates = 3 };

/// All in bytes.
struct JunkFilesViewInfo {
  ByteCount cachesSize = 0;
  ByteCount downloadsSize = 0;
  ByteCount trashSize = 0;

  ByteCount total() const { return cachesSize + downloadsSize + trashSize; }
  bool operator==(const JunkFilesViewInfo&) const = default;
};

struct ApplicationsUnusedViewInfo {
  ByteCount size = 0;
  std::uint64_t count = 0;
  bool operator==(const ApplicationsUnusedViewInfo&) const = default;
};

struct LargeAndOldFilesViewInfo {
  ByteCount size = 0;
  std::uint64_t count = 0;
  bool operator==(const LargeAndOldFilesViewInfo&) const = default;
};

struct DuplicateFilesViewInfo {
  ByteCount size = 0;
  std::uint64_t count = 0;
  bool operator==(const DuplicateFilesViewInfo&) const = default;
};

}  // namespace halvard
