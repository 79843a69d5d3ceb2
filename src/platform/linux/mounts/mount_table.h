#pragma once

#include <libmount.h>

#include <QByteArray>
#include <cstdint>
#include <functional>
#include <memory>

namespace halvard {

/// The kernel's table of mounts, through libmount.
class MountTable {
 public:
  /// Reads a file in the form of "/proc/self/mountinfo". One that cannot be read gives an empty table.
  explicit MountTable(const QByteArray& path = "/proc/self/mountinfo");

  bool isReadable() const { return m_table != nullptr; }

  /// In the order of mounting. The pointer is valid inside the call only.
  void forEach(const std::function<void(libmnt_fs*)>& visit) const;

 private:
  std::unique_ptr<libmnt_table, void (*)(libmnt_table*)> m_table;
};

/// True for what this machine keeps itself, on a disk or in memory: no network, pseudo or swap entry, and of what a
/// program serves only that which stands on a disk.
bool isLocalFileSystem(libmnt_fs* entry);

/// True when something is mounted on demand right inside the mount with this id.
bool mountHasAutomounts(std::uint64_t mountId);

}  // namespace halvard
