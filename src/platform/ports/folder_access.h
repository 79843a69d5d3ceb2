#pragma once

#include <QByteArray>
#include <optional>

namespace halvard {

/// What the user may reach, and lasting records of what was granted. Any thread.
class FolderAccess {
 public:
  enum class Mode { Write = 2, Read = 4 };

  virtual ~FolderAccess() = default;

  virtual bool isPathAccessible(const QByteArray& path, Mode mode) const = 0;

  /// A record of this very folder. Nothing when it cannot be examined.
  virtual std::optional<QByteArray> createBookmark(const QByteArray& path) const = 0;

  /// The path recorded, if that very folder still stands there and can be read: not another one in its place, not after
  /// it was renamed, not while its file system is not mounted.
  virtual std::optional<QByteArray> resolveBookmark(const QByteArray& bookmark) const = 0;
};

}  // namespace halvard
