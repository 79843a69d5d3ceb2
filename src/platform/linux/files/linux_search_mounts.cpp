#include "platform/linux/files/linux_search_mounts.h"

#include <QByteArrayList>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <set>

#include "platform/linux/mounts/mount_table.h"

namespace halvard {
namespace {

/// What a file is taken to occupy where the file system does not count files.
constexpr std::uint64_t kUsualBytesOfAFile = 64 * 1024;

struct Mount {
  std::uint64_t id;
  dev_t device;
  /// The folder of the file system that is mounted.
  QByteArray root;
  /// Where it is mounted.
  QByteArray place;
};
using Mounts = std::vector<Mount>;

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
  if (!isLocalFileSystem(entry)) return false;
  const QByteArray type = mnt_fs_get_fstype(entry);
  if (type == "overlay" || type == "tmpfs" || type == "squashfs" || type == "iso9660") return false;
  const QByteArray place = mnt_fs_get_target(entry);
  return !isBelow(place, "/proc") && !isBelow(place, "/sys") && !isBelow(place, "/dev") && !isBelow(place, "/run");
}

Mounts searchedMounts(const QByteArray& table) {
  Mounts mounts;
  MountTable(table).forEach([&](libmnt_fs* entry) {
    const bool startUpDisk = QByteArrayView(mnt_fs_get_target(entry)) == "/";
    if (!startUpDisk && !isSearched(entry)) return;
    mounts.push_back({static_cast<std::uint64_t>(mnt_fs_get_id(entry)), mnt_fs_get_devno(entry), mnt_fs_get_root(entry),
                      mnt_fs_get_target(entry)});
  });
  // The start-up disk goes before whatever else shows it.
  std::stable_partition(mounts.begin(), mounts.end(), [](const Mount& mount) { return mount.place == "/"; });
  return mounts;
}

bool isPartOf(const Mount& mount, const Mount& other) {
  return mount.device == other.device && isBelow(mount.root, other.root);
}

/// The place of the folder of `mount` below that of `other`, which shows it.
QByteArray placeWithin(const Mount& mount, const Mount& other) {
  const QByteArray below = other.root == "/" ? mount.root : mount.root.mid(other.root.size());
  const QByteArray path = (other.place == "/" ? QByteArray() : other.place) + (below == "/" ? QByteArray() : below);
  return path.isEmpty() ? QByteArray("/") : path;
}

/// The mount of the same file system to enter instead: one that shows more of it, or the same and came first, where
/// the folder can be entered. One that is not entered itself shows nothing. Null when `mount` is to be entered itself.
const Mount* shownBy(const Mounts& mounts, const Mount& mount, LinuxSearchMounts::IsReachable isReachable) {
  const auto shows = [&](const Mount& other) {
    return &other != &mount && isPartOf(mount, other) && (mount.root != other.root || &other < &mount) &&
           isReachable(placeWithin(mount, other), other.id) && !shownBy(mounts, other, isReachable);
  };
  if (mount.place == "/") return nullptr;
  const Mount* best = nullptr;
  for (const Mount& other : mounts) {
    if ((!best || other.root.size() < best->root.size()) && shows(other)) best = &other;
  }
  return best;
}

}  // namespace

bool LinuxSearchMounts::reachable(const QByteArray& place, std::uint64_t mountId) {
  struct statx found;
  constexpr int flags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT | AT_STATX_DONT_SYNC;
  return ::statx(AT_FDCWD, place.constData(), flags, STATX_MNT_ID, &found) == 0 && found.stx_mnt_id == mountId &&
         ::access(place.constData(), R_OK | X_OK) == 0;
}

std::unique_ptr<MountRules> LinuxSearchMounts::rules() const {
  const Mounts mounts = searchedMounts(m_table);
  std::set<std::uint64_t> allowed;
  for (const Mount& mount : mounts) {
    if (!shownBy(mounts, mount, m_isReachable)) allowed.insert(mount.id);
  }
  return std::make_unique<AllowedMounts>(std::move(allowed));
}

std::vector<MountAlias> LinuxSearchMounts::aliases() const {
  const Mounts mounts = searchedMounts(m_table);
  std::vector<MountAlias> aliases;
  for (const Mount& mount : mounts) {
    if (const Mount* const other = shownBy(mounts, mount, m_isReachable))
      aliases.push_back({mount.place, placeWithin(mount, *other)});
  }
  return aliases;
}

std::vector<QByteArray> LinuxSearchMounts::hiddenLayers() const {
  std::vector<QByteArray> layers;
  // A mount that shows the whole disk of which the start-up disk is a part.
  const Mounts mounts = searchedMounts(m_table);
  for (const Mount& mount : mounts) {
    const Mount& startUpDisk = mounts.front();
    if (startUpDisk.place == "/" && mount.place != "/" && isPartOf(startUpDisk, mount))
      layers.push_back(placeWithin(startUpDisk, mount));
  }
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
  if (::statvfs(path.constData(), &found) != 0) return {};
  const std::uint64_t counted = found.f_files - std::min(found.f_files, found.f_ffree);
  const std::uint64_t blocks = found.f_blocks - std::min(found.f_blocks, found.f_bfree);
  const std::uint64_t entries = found.f_files > 0 ? counted : blocks * found.f_frsize / kUsualBytesOfAFile;
  return entries > 0 ? std::optional(entries) : std::nullopt;
}

}  // namespace halvard
