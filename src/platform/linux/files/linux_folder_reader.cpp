#include "platform/linux/files/linux_folder_reader.h"

#include <dirent.h>
#include <fcntl.h>
#include <limits.h>
#include <linux/magic.h>
#include <linux/openat2.h>
#include <sched.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <utility>

#include "platform/linux/files/folder_records.h"
#include "platform/linux/mounts/mount_table.h"
#include "platform/linux/procfs/file_descriptor.h"

namespace halvard {
namespace {

constexpr std::size_t kBufferSize = 32 * 1024;
constexpr int kOpenFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC | O_NONBLOCK;
constexpr int kLookFlags = AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT;
/// With these a file system answers from what it has at hand, where the server of it may be dead.
constexpr int kGlanceFlags = kLookFlags | AT_STATX_DONT_SYNC;
constexpr unsigned int kAttributeMask = STATX_TYPE | STATX_BLOCKS | STATX_SIZE | STATX_NLINK;

EntryType typeOfMode(std::uint16_t mode) {
  if (S_ISDIR(mode)) return EntryType::Folder;
  if (S_ISREG(mode)) return EntryType::File;
  return S_ISLNK(mode) ? EntryType::SymbolicLink : EntryType::Other;
}

std::optional<EntryAttributes> attributesAt(int folder, const char* name) {
  struct statx found;
  if (::statx(folder, name, kLookFlags, kAttributeMask, &found) != 0) return {};
  const EntryType type = typeOfMode(found.stx_mode);
  if (type == EntryType::Folder) return EntryAttributes{type, 0, 0, found.stx_nlink};
  return EntryAttributes{type, found.stx_blocks * 512, found.stx_size, found.stx_nlink};
}

/// Like openat() for paths the kernel refuses because of their length: walks there in pieces.
FileDescriptor openInPieces(const QByteArray& path) {
  FileDescriptor folder(::open(path.startsWith('/') ? "/" : ".", O_PATH | O_DIRECTORY | O_CLOEXEC));
  qsizetype begin = 0;
  while (folder && begin < path.size()) {
    qsizetype end = path.size();
    if (end - begin >= PATH_MAX) end = path.lastIndexOf('/', begin + PATH_MAX - 2);
    if (end <= begin) return {};
    QByteArray piece = path.mid(begin, end - begin);
    while (piece.startsWith('/'))
      piece.remove(0, 1);
    begin = end + 1;
    if (piece.isEmpty()) continue;
    const bool last = begin >= path.size();
    folder = FileDescriptor(::openat(folder.get(), piece.constData(), last ? kOpenFlags : O_PATH | O_CLOEXEC));
  }
  return folder;
}

/// The type of the file system as statfs tells it; 0 when it does not.
decltype(statfs::f_type) fileSystemOf(int folder) {
  struct statfs found;
  return ::fstatfs(folder, &found) == 0 ? found.f_type : 0;
}

/// The file systems on which looking at a folder never mounts another one.
bool neverMountsByItself(decltype(statfs::f_type) fileSystem) {
  switch (fileSystem) {
    case EXT4_SUPER_MAGIC:
    case TMPFS_MAGIC:
    case XFS_SUPER_MAGIC:
    case BTRFS_SUPER_MAGIC:
    case F2FS_SUPER_MAGIC:
    case OVERLAYFS_SUPER_MAGIC:
      return true;
    default:
      return false;
  }
}

/// What is the same for all folders of one mount.
struct MountTraits {
  std::uint64_t id;
  /// A folder can be opened without asking first whether opening it would mount something: the kernel then refuses
  /// mount points by itself, which saves a call a folder.
  bool opensBlindly;
  decltype(statfs::f_type) fileSystem;
};

MountTraits traitsOfMount(int folder, std::uint64_t id) {
  const auto fileSystem = fileSystemOf(folder);
  return {id, neverMountsByItself(fileSystem) && !mountHasAutomounts(id), fileSystem};
}

class LinuxOpenFolder : public OpenFolder {
 public:
  LinuxOpenFolder(FileDescriptor descriptor, MountTraits mount) : m_descriptor(std::move(descriptor)), m_mount(mount) {}

  bool nextBatch(FolderBatch& batch) override;
  std::optional<EntryAttributes> attributes(const char* name) const override {
    return attributesAt(m_descriptor.get(), name);
  }
  std::unique_ptr<OpenFolder> openFolder(const char* name, const MountRules* rules) const override;

 private:
  EntryType typeOf(std::uint8_t recorded, const char* name) const;

  std::unique_ptr<OpenFolder> openAfterAsking(const char* name, const MountRules* rules) const;

  FileDescriptor m_descriptor;
  const MountTraits m_mount;
  bool m_isOver = false;
};

bool LinuxOpenFolder::nextBatch(FolderBatch& batch) {
  batch.entries.clear();
  if (m_isOver) return false;
  if (!batch.buffer) batch.buffer = std::make_unique_for_overwrite<std::byte[]>(kBufferSize);
  const long length = ::syscall(SYS_getdents64, m_descriptor.get(), batch.buffer.get(), kBufferSize);
  if (length <= 0) return false;
  const std::span records(batch.buffer.get(), static_cast<std::size_t>(length));
  const std::int64_t goesOnAt = folder_records::forEach(records, [&](const char* name, std::uint8_t type) {
    batch.entries.push_back({std::string_view(name), typeOf(type, name)});
  });
  // Saves the call that would find nothing more.
  m_isOver = folder_records::endsFolder(goesOnAt, m_mount.fileSystem);
  return true;
}

EntryType LinuxOpenFolder::typeOf(std::uint8_t recorded, const char* name) const {
  switch (recorded) {
    case DT_DIR:
      return EntryType::Folder;
    case DT_REG:
      return EntryType::File;
    case DT_LNK:
      return EntryType::SymbolicLink;
    case DT_UNKNOWN:
      // Some file systems leave the type out of their folders.
      if (const auto found = attributes(name)) return found->type;
      [[fallthrough]];
    default:
      return EntryType::Other;
  }
}

std::unique_ptr<OpenFolder> LinuxOpenFolder::openFolder(const char* name, const MountRules* rules) const {
  if (!m_mount.opensBlindly) return openAfterAsking(name, rules);
  open_how how{};
  how.flags = kOpenFlags | O_NOFOLLOW;
  how.resolve = RESOLVE_NO_XDEV | RESOLVE_NO_SYMLINKS;
  const long folder = ::syscall(SYS_openat2, m_descriptor.get(), name, &how, sizeof how);
  if (folder >= 0) return std::make_unique<LinuxOpenFolder>(FileDescriptor(static_cast<int>(folder)), m_mount);
  // A mount point, or a sandbox that does not know the call.
  const bool ask = (errno == EXDEV && rules) || errno == ENOSYS || errno == EPERM;
  return ask ? openAfterAsking(name, rules) : nullptr;
}

std::unique_ptr<OpenFolder> LinuxOpenFolder::openAfterAsking(const char* name, const MountRules* rules) const {
  struct statx found;
  if (::statx(m_descriptor.get(), name, kGlanceFlags, STATX_TYPE | STATX_MNT_ID, &found) != 0) return nullptr;
  if (!S_ISDIR(found.stx_mode) || (found.stx_attributes & STATX_ATTR_AUTOMOUNT) != 0) return nullptr;
  const bool otherMount = found.stx_mnt_id != m_mount.id;
  if (otherMount && (!rules || !rules->entersMount(found.stx_mnt_id))) return nullptr;
  FileDescriptor folder(::openat(m_descriptor.get(), name, kOpenFlags | O_NOFOLLOW));
  if (!folder) return nullptr;
  const MountTraits mount = otherMount ? traitsOfMount(folder.get(), found.stx_mnt_id) : m_mount;
  return std::make_unique<LinuxOpenFolder>(std::move(folder), mount);
}

}  // namespace

std::unique_ptr<OpenFolder> LinuxFolderReader::open(const QByteArray& path) const {
  FileDescriptor folder(::open(path.constData(), kOpenFlags));
  if (!folder && errno == ENAMETOOLONG) folder = openInPieces(path);
  struct statx found;
  if (!folder || ::statx(folder.get(), "", AT_EMPTY_PATH, STATX_MNT_ID, &found) != 0) return nullptr;
  const MountTraits mount = traitsOfMount(folder.get(), found.stx_mnt_id);
  return std::make_unique<LinuxOpenFolder>(std::move(folder), mount);
}

std::optional<EntryAttributes> LinuxFolderReader::attributes(const QByteArray& path) const {
  return attributesAt(AT_FDCWD, path.constData());
}

std::optional<std::uint64_t> LinuxFolderReader::mountOf(const QByteArray& path) const {
  struct statx found;
  if (::statx(AT_FDCWD, path.constData(), kGlanceFlags, STATX_MNT_ID, &found) != 0) return {};
  return found.stx_mnt_id;
}

std::optional<QByteArray> LinuxFolderReader::canonicalPath(const QByteArray& path) const {
  const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(path.constData(), nullptr), &std::free);
  if (!resolved) return {};
  return QByteArray(resolved.get());
}

std::function<void()> LinuxFolderReader::threadSpreader() const {
  return [processor = ::sched_getcpu()] {
    cpu_set_t allowed;
    if (processor < 0 || ::sched_getaffinity(0, sizeof allowed, &allowed) != 0) return;
    cpu_set_t others = allowed;
    CPU_CLR(static_cast<std::size_t>(processor), &others);
    // Moved by the first call, free again by the second.
    if (CPU_COUNT(&others) > 0 && ::sched_setaffinity(0, sizeof others, &others) == 0)
      ::sched_setaffinity(0, sizeof allowed, &allowed);
  };
}

}  // namespace halvard
