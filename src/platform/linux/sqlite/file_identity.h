#pragma once

#include <QString>
#include <cstdint>
#include <optional>

#include "core/result.h"

namespace halvard {

/// What tells one file from another that later stands at the same path.
struct FileIdentity {
  std::uint64_t device;
  std::uint64_t inode;
  /// Changes when the permissions, the content or the name of the file change; nanoseconds.
  std::int64_t changed;

  bool isSameFile(const FileIdentity& other) const { return device == other.device && inode == other.inode; }
  bool operator==(const FileIdentity&) const = default;
};

/// Nothing when there is no file or it cannot be looked at. Reads no disk once the folder is known to the kernel.
std::optional<FileIdentity> identityOf(const QByteArray& path);

/// Makes `folder` and what is missing above it, each with mode 0700, and sees to it that a power failure does not undo
/// that.
Result<void> makePrivateFolder(const QString& folder);

/// Renames `path` and those of its companions that exist (same name with a suffix) to the first free
/// "<path>.damaged-<n>", companions first, never replacing anything. Returns the new name.
Result<QString> setAside(const QString& path, const QStringList& companionSuffixes);

/// Keeps the other processes that lock the same folder away while it lives.
class FolderLock {
 public:
  /// Waits 5 s at most; a folder that cannot be locked leaves the lock without effect.
  explicit FolderLock(const QString& folder);
  ~FolderLock();
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  const int m_descriptor;
};

}  // namespace halvard
