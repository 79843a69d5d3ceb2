#pragma once

#include <QByteArray>
#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "files_searcher/tree_walk.h"

namespace halvard {

/// Which part of the file system belongs to which query of a pass. Built once, then read by many threads.
///
/// A folder's tag says which queries are to see what it holds, and where it stands in this tree while scopes lie
/// further down.
class ScopeTree {
 public:
  /// One bit a query.
  using Queries = std::uint8_t;
  static constexpr int kMostQueries = 8;

  static Queries queriesOf(std::uint32_t tag) { return static_cast<Queries>(tag & 0xff); }

  /// `path` is absolute and without links.
  void addScope(const QByteArray& path, Queries queries);
  /// Nothing below `path` is seen by anybody.
  void addHidden(const QByteArray& path);

  /// The outermost scopes, with the tags to start from.
  std::vector<TreeWalk::Root> roots() const;

  /// The tag of an entry, from that of its folder; 0: nobody asks for it or for anything below.
  std::uint32_t tagBelow(std::uint32_t tag, std::string_view name) const;

 private:
  /// In a tag: the bits above the queries number a node.
  static constexpr std::uint32_t kInsideTree = 1U << 31;

  struct Node {
    std::map<std::string, std::uint32_t, std::less<>> children;
    Queries queries = 0;
    bool hidden = false;
  };
  std::uint32_t nodeAt(const QByteArray& path);
  void collectRoots(std::uint32_t node, const QByteArray& path, std::vector<TreeWalk::Root>& roots) const;
  std::uint32_t tagOf(std::uint32_t node, Queries inherited) const;

  std::vector<Node> m_nodes{Node{}};
};

}  // namespace halvard
