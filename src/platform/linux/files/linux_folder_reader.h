#pragma once

#include "platform/ports/folder_reader.h"

namespace halvard {

/// openat, getdents64 and statx. Paths may be of any length.
class LinuxFolderReader : public FolderReader {
 public:
  std::unique_ptr<OpenFolder> open(const QByteArray& path) const override;
  std::optional<EntryAttributes> attributes(const QByteArray& path) const override;
  std::optional<std::uint64_t> mountOf(const QByteArray& path) const override;
  std::optional<QByteArray> canonicalPath(const QByteArray& path) const override;
  /// Moves the thread away from the processor of the first one: where there are few processors, the scheduler often
  /// begins a thread where its maker runs, and takes milliseconds to separate the two.
  std::function<void()> threadSpreader() const override;
};

}  // namespace halvard
