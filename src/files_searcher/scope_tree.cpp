#include "files_searcher/scope_tree.h"

#include <QByteArrayList>

namespace halvard {

std::uint32_t ScopeTree::nodeAt(const QByteArray& path) {
  std::uint32_t node = 0;
  for (const QByteArray& name : path.split('/')) {
    if (name.isEmpty()) continue;
    const auto [child, isNew] = m_nodes[node].children.try_emplace(name.toStdString(), m_nodes.size());
    node = child->second;
    if (isNew) m_nodes.emplace_back();
  }
  return node;
}

void ScopeTree::addScope(const QByteArray& path, Queries queries) {
  const std::uint32_t node = nodeAt(path);
  m_nodes[node].queries = static_cast<Queries>(m_nodes[node].queries | queries);
}

void ScopeTree::addHidden(const QByteArray& path) {
  const std::uint32_t node = nodeAt(path);
  m_nodes[node].hidden = true;
}

std::vector<TreeWalk::Root> ScopeTree::roots() const {
  std::vector<TreeWalk::Root> roots;
  collectRoots(0, "/", roots);
  return roots;
}

void ScopeTree::collectRoots(std::uint32_t node, const QByteArray& path, std::vector<TreeWalk::Root>& roots) const {
  if (m_nodes[node].queries != 0) {
    roots.push_back({path, tagOf(node, 0)});
    return;
  }
  for (const auto& [name, child] : m_nodes[node].children)
    collectRoots(child, path + (path.endsWith('/') ? "" : "/") + QByteArray::fromStdString(name), roots);
}

std::uint32_t ScopeTree::tagOf(std::uint32_t node, Queries inherited) const {
  const std::uint32_t queries = m_nodes[node].queries | inherited;
  // Without anything further down the place in this tree does not matter.
  return m_nodes[node].children.empty() ? queries : node << 8 | queries | kInsideTree;
}

std::uint32_t ScopeTree::tagBelow(std::uint32_t tag, std::string_view name) const {
  if ((tag & kInsideTree) == 0) return tag;
  const Node& node = m_nodes[(tag & ~kInsideTree) >> 8];
  const auto child = node.children.find(name);
  if (child == node.children.end()) return queriesOf(tag);
  return m_nodes[child->second].hidden ? 0 : tagOf(child->second, queriesOf(tag));
}

}  // namespace halvard
