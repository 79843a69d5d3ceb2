#pragma once

#include <QByteArray>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>
#include <vector>

#include "core/units.h"

namespace halvard {

enum class EntryType : std::uint8_t { Folder, File, SymbolicLink, Other };

/// One name of a folder, as it stands there: any bytes but '/' and zero, not necessarily text.
struct FolderEntry {
  /// Ends in a zero byte behind the view; valid until the batch is filled again.
  std::string_view name;
  EntryType type;
};

/// The names that one call of the system delivered. One a thread, used again for every folder.
class FolderBatch {
 public:
  std::vector<FolderEntry> entries;

  /// Scratch space of the reader.
  std::unique_ptr<std::byte[]> buffer;
};

/// What the system knows about one entry; a link is described itself, never what it points to.
struct EntryAttributes {
  EntryType type;
  /// Bytes occupied on the disk; 0 for folders.
  ByteCount allocatedSize;
  /// Bytes of content; 0 for folders.
  ByteCount size;
  /// How many names the file has.
  std::uint32_t linkCount;
};

/// Which mounted file systems a reader may enter on its way down. Any thread.
class MountRules {
 public:
  virtual ~MountRules() = default;
  virtual bool entersMount(std::uint64_t mountId) const = 0;
};

/// A folder that is held open. It is read by one thread; the other operations may be called from any.
class OpenFolder {
 public:
  virtual ~OpenFolder() = default;

  /// Replaces the entries of `batch` by the next ones, without "." and "..". False at the end and after an error.
  virtual bool nextBatch(FolderBatch& batch) = 0;

  /// `name` ends in a zero byte. Nothing when the entry has gone.
  virtual std::optional<EntryAttributes> attributes(const char* name) const = 0;

  /// Opens a direct subfolder. Null when it has gone, cannot be read, is no folder (a link is none), would be mounted
  /// only by looking at it, or is a mount point that `rules` does not allow; without rules none is entered.
  virtual std::unique_ptr<OpenFolder> openFolder(const char* name, const MountRules* rules) const = 0;
};

/// Reads folders in bulk: names in large batches, attributes an entry at a time and only what is asked. Any thread.
class FolderReader {
 public:
  virtual ~FolderReader() = default;

  /// Links on the way to and at `path` are followed. Null when it cannot be read or is no folder.
  virtual std::unique_ptr<OpenFolder> open(const QByteArray& path) const = 0;

  /// The attributes of what `path` itself names; nothing when there is nothing.
  virtual std::optional<EntryAttributes> attributes(const QByteArray& path) const = 0;

  /// Asked by the thread that starts a walk and takes part in it. Every further thread calls what comes back before it
  /// begins, which lets the system run it beside the first at once.
  virtual std::function<void()> threadSpreader() const {
    return [] {};
  }

  /// The mount that `path` itself stands on, by the number that MountRules know, without waiting for what is mounted
  /// there; nothing when there is no such path.
  virtual std::optional<std::uint64_t> mountOf(const QByteArray& path) const = 0;

  /// The path without links, "." and ".."; nothing when it does not exist.
  virtual std::optional<QByteArray> canonicalPath(const QByteArray& path) const = 0;
};

}  // namespace halvard
