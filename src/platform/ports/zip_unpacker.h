#pragma once

#include <QString>
#include <stop_token>

#include "core/result.h"
#include "core/units.h"

namespace halvard {

struct UnpackLimits {
  /// Of all files together, as they come out, whatever the archive claims.
  ByteCount maximumSize = 64ull * 1024 * 1024;
  /// Files and folders.
  int maximumEntries = 2000;
  /// Folders above an entry.
  int maximumDepth = 16;
};

/// Unpacks archives that nobody vouches for.
class ZipUnpacker {
 public:
  virtual ~ZipUnpacker() = default;

  /// Unpacks the zip archive into `destination`, an existing folder that nobody else writes to, and asks for the result
  /// to reach stable storage. Refuses empty and encrypted archives, names that are absolute, climb out, are not UTF-8
  /// or meet in one file where case does not count, links and other special files, and whatever goes beyond the limits;
  /// existing files are never overwritten. No entry is made executable. After an error, parts of the archive may be in
  /// the folder. Blocks; any thread. Ends early, with an error, when `stop` is requested.
  virtual Result<void> unzipFileAtPath(const QString& archive, const QString& destination, const UnpackLimits& limits,
                                       std::stop_token stop = {}) = 0;
};

}  // namespace halvard
