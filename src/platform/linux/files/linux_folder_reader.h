#pragma once

#include "platform/ports/folder_reader.h"

namespace halvard {

/// openat, getdents64 and statx. Paths may be of any length.
class LinuxFolderReader : public FolderReader {
 public:
  std::unique_ptr<OpenFolder> open(const QByteArray& path) const override;
  std::optional<EntryAttributes> attributes(const QByteArray& path) const override;
  std::optional<QByteArray> canonicalPath(const QByteArray& path) const override;
};

}  // namespace halvard
