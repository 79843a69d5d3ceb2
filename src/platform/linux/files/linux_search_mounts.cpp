#include "platform/linux/files/linux_search_mounts.h"

#include <QByteArrayList>

#include <sys/statvfs.h>

#include <algorithm>
#include <set>

#include "platform/linux/files/mount_table.h"

namespace halvard {
namespace {

struct Mount {
  std::uint64_t id;
  dev_t device;
  /// The folder of the file system that is mounted.
  QByteArray root;
};

class AllowedMounts : public MountRules {
 public:
  explicit AllowedMounts(std::set<std::uint64_t> ids) : m_ids(std::move(ids)) {}
  bool entersMount(std::uint64_t mountId) const override { return m_ids.contains(mountId); }

 private:
  const std::set<std::uint64_t> m_ids;
};

bool isBelow(const QByteArray& path, const QByteArray& folder) {
  return path == folder || folder == "/" || path.startsWith(folder + '/');
}

/// What stands on a disk of this machine. What is in memory only (tmpfs) does not fill the disk, an overlay shows what
/// stands elsewhere, and "/run" is the machine's scratch space whatever it is made of.
bool isSearched(libmnt_fs* entry) {
  if (mnt_fs_is_pseudofs(entry) || mnt_fs_is_netfs(entry) || mnt_fs_is_swaparea(entry)) return false;
  const QByteArray type = mnt_fs_get_fstype(entry);
  if (type == "overlay" || type == "tmpfs" || type == "squashfs" || type == "iso9660" || type.startsWith("fuse"))
    return false;
  const QByteArray place = mnt_fs_get_target(entry);
  return !isBelow(place, "/proc") && !isBelow(place, "/sys") && !isBelow(place, "/dev") && !isBelow(place, "/run");
}

}  // namespace

std::unique_ptr<MountRules> LinuxSearchMounts::rules() const {
  std::vector<Mount> mounts;
  MountTable(m_table).forEach([&](libmnt_fs* entry) {
    const bool startUpDisk = QByteArrayView(mnt_fs_get_target(entry)) == "/";
    if (!startUpDisk && !isSearched(entry)) return;
    mounts.push_back(
        {static_cast<std::uint64_t>(mnt_fs_get_id(entry)), mnt_fs_get_devno(entry), mnt_fs_get_root(entry)});
  });
  std::set<std::uint64_t> allowed;
  for (std::size_t index = 0; index < mounts.size(); ++index) {
    const Mount& mount = mounts[index];
    // Seen through another mount of the same file system: one that shows more of it, or the same and came first.
    const auto shows = [&](const Mount& other) {
      if (other.id == mount.id || other.device != mount.device || !isBelow(mount.root, other.root)) return false;
      return mount.root != other.root || &other < &mount;
    };
    if (std::none_of(mounts.begin(), mounts.end(), shows)) allowed.insert(mount.id);
  }
  return std::make_unique<AllowedMounts>(std::move(allowed));
}

std::vector<QByteArray> LinuxSearchMounts::hiddenLayers() const {
  std::vector<QByteArray> layers;
  MountTable(m_table).forEach([&](libmnt_fs* entry) {
    if (QByteArrayView(mnt_fs_get_fstype(entry)) != "overlay") return;
    char* value = nullptr;
    std::size_t length = 0;
    if (mnt_fs_get_option(entry, "lowerdir", &value, &length) != 0 || !value) return;
    for (const QByteArray& layer : QByteArray(value, static_cast<qsizetype>(length)).split(':')) {
      if (layer.startsWith('/') && layer != "/") layers.push_back(layer);
    }
  });
  return layers;
}

std::optional<std::uint64_t> LinuxSearchMounts::entriesAtPath(const QByteArray& path) const {
  struct statvfs found;
  if (::statvfs(path.constData(), &found) != 0 || found.f_files <= found.f_ffree) return {};
  return found.f_files - found.f_ffree;
}

}  // namespace halvard
