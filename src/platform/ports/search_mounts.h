#pragma once

#include <QByteArray>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "platform/ports/folder_reader.h"

namespace halvard {

/// A folder that can be reached at a place where a search does not enter it.
struct MountAlias {
  /// The mount point that is not entered.
  QByteArray mounted;
  /// Where the search meets the same folder.
  QByteArray entered;
};

/// What a search of the whole disk may enter. Any thread.
class SearchMounts {
 public:
  virtual ~SearchMounts() = default;

  /// The mounts to enter on the way down: local and real file systems, and each stored folder in one place only, even
  /// if it is mounted in several. What is mounted after this call is not entered.
  virtual std::unique_ptr<MountRules> rules() const = 0;

  /// The mounts that rules() keeps out because another mount shows the same folder.
  virtual std::vector<MountAlias> aliases() const = 0;

  /// Folders to leave out because their content also appears, alone or merged with others, at another place.
  virtual std::vector<QByteArray> hiddenLayers() const = 0;

  /// About how many files and folders the file system of `path` holds, guessed from the bytes in use where it does not
  /// count them; nothing when there is no such path or nothing on it.
  virtual std::optional<std::uint64_t> entriesAtPath(const QByteArray& path) const = 0;
};

}  // namespace halvard
