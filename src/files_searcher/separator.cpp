#include "files_searcher/separator.h"

#include <algorithm>

#include "files_searcher/path_utilities.h"

namespace halvard {

void Separator::addObject(Item item, std::optional<QByteArrayView> name, std::optional<ByteCount> size) {
  if (name && size) addObjectWithSeparatorKey(item, path_utilities::pathExtension(*name), *size);
}

void Separator::addObjectWithSeparatorKey(Item item, QByteArrayView separatorKey, ByteCount additionalSeparationKey) {
  auto extension = m_extensions.constFind(QByteArray::fromRawData(separatorKey.data(), separatorKey.size()));
  if (extension == m_extensions.cend())
    extension = m_extensions.insert(separatorKey.toByteArray(), static_cast<std::uint32_t>(m_extensions.size()));
  m_entries.push_back({additionalSeparationKey, *extension, item});
  m_sorted = false;
}

void Separator::sort() {
  if (m_sorted) return;
  std::sort(m_entries.begin(), m_entries.end());
  m_entries.erase(std::unique(m_entries.begin(), m_entries.end()), m_entries.end());
  m_sorted = true;
}

void Separator::forEachGroup(const std::function<void(const Group&)>& visit) {
  sort();
  Group group{0, {}};
  for (auto first = m_entries.begin(); first != m_entries.end();) {
    const auto differs = [&](const Entry& entry) {
      return entry.size != first->size || entry.extension != first->extension;
    };
    const auto last = std::find_if(first, m_entries.end(), differs);
    if (last - first >= 2) {
      group.size = first->size;
      group.items.clear();
      for (auto at = first; at != last; ++at)
        group.items.push_back(at->item);
      visit(group);
    }
    first = last;
  }
}

Separator::Totals Separator::calculateTotalSizeOfDuplicates() {
  Totals totals;
  forEachGroup([&](const Group& group) {
    totals.size += group.size * group.items.size();
    totals.count += group.items.size();
  });
  return totals;
}

}  // namespace halvard
