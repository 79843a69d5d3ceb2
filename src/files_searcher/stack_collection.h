#pragma once

#include <QByteArray>
#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/ports/folder_reader.h"

namespace halvard {

/// Where a folder stands in the tree: its name and the folder above it. The first one of a tree has the whole path
/// for a name. Chains of any length are let go of without recursion.
class FolderName {
 public:
  FolderName(std::shared_ptr<FolderName> parent, std::string name)
      : m_parent(std::move(parent)), m_name(std::move(name)) {}
  ~FolderName();

  QByteArray path() const;
  const std::string& name() const { return m_name; }
  const std::shared_ptr<FolderName>& parent() const { return m_parent; }

 private:
  std::shared_ptr<FolderName> m_parent;
  std::string m_name;
};

/// An open folder, and one place in the count of those that are open.
class KeptFolder {
 public:
  KeptFolder(std::unique_ptr<OpenFolder> folder, std::atomic<int>& count)
      : m_folder(std::move(folder)), m_count(count) {
    m_count.fetch_add(1, std::memory_order_relaxed);
  }
  ~KeptFolder() { m_count.fetch_sub(1, std::memory_order_relaxed); }
  KeptFolder(const KeptFolder&) = delete;
  KeptFolder& operator=(const KeptFolder&) = delete;

  OpenFolder& operator*() const { return *m_folder; }
  OpenFolder* operator->() const { return m_folder.get(); }

 private:
  std::unique_ptr<OpenFolder> m_folder;
  std::atomic<int>& m_count;
};

/// One folder still to be scanned.
struct StackItem {
  /// The first folder of a tree.
  explicit StackItem(const QByteArray& path);
  StackItem(std::shared_ptr<FolderName> place, std::shared_ptr<KeptFolder> within, std::uint32_t context)
      : folder(std::move(place)), parentFolder(std::move(within)), tag(context) {}

  /// The absolute path.
  QByteArray path() const { return folder->path(); }

  std::shared_ptr<FolderName> folder;
  /// The folder above, held open until this one has been opened from it; null for the first of a tree, and where too
  /// many are open already.
  std::shared_ptr<KeptFolder> parentFolder;
  /// Belongs to the scan.
  std::uint32_t tag = 0;
  /// The item below this one on the stack; null at the bottom.
  std::unique_ptr<StackItem> prevItem;
};

/// Last in, first out. One thread.
class StackCollection {
 public:
  StackCollection() = default;
  ~StackCollection() { clearStack(); }
  StackCollection(const StackCollection&) = delete;
  StackCollection& operator=(const StackCollection&) = delete;

  /// Null is ignored.
  void pushItem(std::unique_ptr<StackItem> item);
  /// Null when empty.
  std::unique_ptr<StackItem> popItem();
  /// The item that popItem() returns next.
  StackItem* topItem() const { return m_topItem.get(); }
  std::size_t nDepth() const { return m_depth; }
  void clearStack();

 private:
  std::unique_ptr<StackItem> m_topItem;
  std::size_t m_depth = 0;
};

}  // namespace halvard
