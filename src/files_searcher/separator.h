#pragma once

#include <QByteArray>
#include <QHash>
#include <cstdint>
#include <deque>
#include <functional>
#include <optional>
#include <vector>

#include "core/units.h"

namespace halvard {

/// Files in groups of the same name extension and the same size, packed: 16 bytes a file. One thread.
class Separator {
 public:
  /// Whatever the caller counts by. Adding the same item to the same group twice counts once.
  using Item = std::uint32_t;

  struct Totals {
    /// All files that have a twin, the first copy included.
    ByteCount size = 0;
    std::uint64_t count = 0;
  };
  struct Group {
    ByteCount size;
    std::vector<Item> items;
  };

  /// Ignored unless both a name and a size are given.
  void addObject(Item item, std::optional<QByteArrayView> name, std::optional<ByteCount> size);
  void addObjectWithSeparatorKey(Item item, QByteArrayView separatorKey, ByteCount additionalSeparationKey);

  Totals calculateTotalSizeOfDuplicates();

  /// Calls `visit` for every group of at least two, the smallest files first.
  void forEachGroup(const std::function<void(const Group&)>& visit);

 private:
  struct Entry {
    ByteCount size;
    std::uint32_t extension;
    Item item;
    auto operator<=>(const Entry&) const = default;
  };
  void sort();

  QHash<QByteArray, std::uint32_t> m_extensions;
  std::deque<Entry> m_entries;
  bool m_sorted = true;
};

}  // namespace halvard
