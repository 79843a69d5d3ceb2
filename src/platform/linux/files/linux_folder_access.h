#pragma once

#include "platform/ports/folder_access.h"

namespace halvard {

/// The rights of this process. A bookmark is a path with the id of its file system and the folder's inode and birth
/// time.
class LinuxFolderAccess : public FolderAccess {
 public:
  bool isPathAccessible(const QByteArray& path, Mode mode) const override;
  std::optional<QByteArray> createBookmark(const QByteArray& path) const override;
  std::optional<QByteArray> resolveBookmark(const QByteArray& bookmark) const override;
};

}  // namespace halvard
