#pragma once

#include "platform/ports/zip_unpacker.h"

namespace halvard {

/// minizip behind the port. Stateless; any thread.
class MinizipUnpacker : public ZipUnpacker {
 public:
  Result<void> unzipFileAtPath(const QString& archive, const QString& destination, const UnpackLimits& limits,
                               std::stop_token stop) override;
};

}  // namespace halvard
