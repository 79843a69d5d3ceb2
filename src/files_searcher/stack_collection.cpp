#include "files_searcher/stack_collection.h"

#include <utility>
#include <vector>

namespace halvard {

FolderName::~FolderName() {
  std::shared_ptr<FolderName> next = std::move(m_parent);
  while (next && next.use_count() == 1)
    next = std::exchange(next->m_parent, nullptr);
}

QByteArray FolderName::path() const {
  std::vector<const FolderName*> chain;
  for (const FolderName* at = this; at; at = at->m_parent.get())
    chain.push_back(at);
  QByteArray path = QByteArray::fromStdString(chain.back()->m_name);
  for (std::size_t depth = chain.size() - 1; depth-- > 0;) {
    if (!path.endsWith('/')) path += '/';
    path += chain[depth]->m_name.c_str();
  }
  return path;
}

StackItem::StackItem(const QByteArray& path) : folder(std::make_shared<FolderName>(nullptr, path.toStdString())) {}

void StackCollection::pushItem(std::unique_ptr<StackItem> item) {
  if (!item) return;
  item->prevItem = std::move(m_topItem);
  m_topItem = std::move(item);
  ++m_depth;
}

std::unique_ptr<StackItem> StackCollection::popItem() {
  if (!m_topItem) return nullptr;
  std::unique_ptr<StackItem> item = std::move(m_topItem);
  m_topItem = std::move(item->prevItem);
  --m_depth;
  return item;
}

void StackCollection::clearStack() {
  while (topItem())
    popItem();
}

}  // namespace halvard
