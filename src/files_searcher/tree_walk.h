#pragma once

#include <QByteArray>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <stop_token>
#include <vector>

#include "files_searcher/stack_collection.h"
#include "platform/ports/folder_reader.h"

namespace halvard {

/// A folder that a walk is reading.
struct WalkedFolder {
  const FolderName& place;
  const OpenFolder& folder;
  /// What the visitor gave this folder.
  std::uint32_t tag;
};

/// What one thread of a walk does with what it finds; every thread has its own, so none of them locks.
class TreeVisitor {
 public:
  virtual ~TreeVisitor() = default;

  /// Once for every folder, when it is open and before anything in it is looked at.
  virtual void beginFolder(const WalkedFolder&) {}

  /// False leaves a subfolder out. `tag` holds the tag of the folder above; what is written there is the subfolder's.
  virtual bool entersFolder(const WalkedFolder& above, const FolderEntry& entry, std::uint32_t& tag) = 0;

  /// Everything but folders.
  virtual void visitEntry(const WalkedFolder& folder, const FolderEntry& entry) = 0;
};

/// Reads whole trees of folders with one or more threads. Links are not followed; what cannot be read is skipped
/// silently. No recursion, and memory only for the folders that wait.
class TreeWalk {
 public:
  struct Root {
    QByteArray path;
    std::uint32_t tag = 0;
  };
  struct Options {
    /// Null: only the file system of each root.
    const MountRules* mounts = nullptr;
    /// Runs first on every thread. With it the walk uses threads of its own only, otherwise the calling one too.
    std::function<void()> onThreadStart;
    /// Counts the entries seen, in steps of a batch; null: nobody asks.
    std::atomic<std::uint64_t>* entriesSeen = nullptr;
  };

  /// `reader` must outlive the walk.
  TreeWalk(const FolderReader& reader, Options options) : m_reader(reader), m_options(std::move(options)) {}

  /// Blocks until all is read, or soon after `stop` was requested. Uses as many threads as there are visitors, at
  /// least one.
  void run(const std::vector<Root>& roots, const std::vector<TreeVisitor*>& visitors, std::stop_token stop);

 private:
  const FolderReader& m_reader;
  Options m_options;
};

}  // namespace halvard
