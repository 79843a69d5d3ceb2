#include "platform/linux/mounts/mount_table.h"

#include <cstring>

namespace halvard {

MountTable::MountTable(const QByteArray& path)
    : m_table(mnt_new_table_from_file(path.constData()), [](libmnt_table* table) { mnt_unref_table(table); }) {}

void MountTable::forEach(const std::function<void(libmnt_fs*)>& visit) const {
  if (!m_table) return;
  const std::unique_ptr<libmnt_iter, void (*)(libmnt_iter*)> position(mnt_new_iter(MNT_ITER_FORWARD),
                                                                      [](libmnt_iter* iter) { mnt_free_iter(iter); });
  libmnt_fs* entry = nullptr;
  while (mnt_table_next_fs(m_table.get(), position.get(), &entry) == 0)
    visit(entry);
}

bool isLocalFileSystem(libmnt_fs* entry) {
  if (mnt_fs_is_pseudofs(entry) || mnt_fs_is_netfs(entry) || mnt_fs_is_swaparea(entry)) return false;
  // libmount knows few of the clouds and servers behind "fuse.".
  const QByteArrayView type = mnt_fs_get_fstype(entry);
  return !type.startsWith("fuse") || type == QByteArrayView("fuseblk");
}

bool mountHasAutomounts(std::uint64_t mountId) {
  bool found = false;
  MountTable().forEach([&](libmnt_fs* entry) {
    const char* const type = mnt_fs_get_fstype(entry);
    const bool inside = static_cast<std::uint64_t>(mnt_fs_get_parent_id(entry)) == mountId;
    if (inside && type && std::strcmp(type, "autofs") == 0) found = true;
  });
  return found;
}

}  // namespace halvard
