#include "platform/linux/files/folder_records.h"

#include <linux/magic.h>

#include <limits>

namespace halvard::folder_records {

bool endsFolder(std::int64_t goesOnAt, std::int64_t fileSystem) {
  // These move the place behind every possible entry once they have come to the end.
  const bool isLast = goesOnAt == std::numeric_limits<std::int64_t>::max();
  if (fileSystem == EXT4_SUPER_MAGIC) return isLast;
  return fileSystem == BTRFS_SUPER_MAGIC && (isLast || goesOnAt == std::numeric_limits<std::int32_t>::max());
}

}  // namespace halvard::folder_records
