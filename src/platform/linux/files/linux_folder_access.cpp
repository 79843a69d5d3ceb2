#include "platform/linux/files/linux_folder_access.h"

#include <QByteArrayList>

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

#include <cstring>

#include "platform/linux/procfs/file_descriptor.h"

namespace halvard {
namespace {

const QByteArray kForm = "halvard-bookmark-1";

/// What tells a folder from another one at the same place. Birth time is 0 where the file system keeps none.
std::optional<QByteArray> identityOf(const QByteArray& path) {
  const FileDescriptor folder(::open(path.constData(), O_PATH | O_CLOEXEC));
  struct statx found;
  struct statfs system;
  if (!folder || ::fstatfs(folder.get(), &system) != 0) return {};
  if (::statx(folder.get(), "", AT_EMPTY_PATH, STATX_INO | STATX_BTIME, &found) != 0) return {};
  std::uint64_t id = 0;
  static_assert(sizeof system.f_fsid == sizeof id);
  std::memcpy(&id, &system.f_fsid, sizeof id);
  const bool born = (found.stx_mask & STATX_BTIME) != 0;
  return QByteArray::number(static_cast<qulonglong>(id), 16) + ' ' +
         QByteArray::number(static_cast<qulonglong>(found.stx_ino)) + ' ' +
         QByteArray::number(born ? static_cast<qlonglong>(found.stx_btime.tv_sec) : 0) + '.' +
         QByteArray::number(born ? found.stx_btime.tv_nsec : 0);
}

}  // namespace

bool LinuxFolderAccess::isPathAccessible(const QByteArray& path, Mode mode) const {
  return !path.isEmpty() && ::access(path.constData(), static_cast<int>(mode)) == 0;
}

std::optional<QByteArray> LinuxFolderAccess::createBookmark(const QByteArray& path) const {
  const auto identity = identityOf(path);
  if (!identity) return {};
  return kForm + '\0' + *identity + '\0' + path;
}

std::optional<QByteArray> LinuxFolderAccess::resolveBookmark(const QByteArray& bookmark) const {
  const QList<QByteArray> parts = bookmark.split('\0');
  if (parts.size() != 3 || parts[0] != kForm || identityOf(parts[2]) != parts[1]) return {};
  if (!isPathAccessible(parts[2], Mode::Read)) return {};
  return parts[2];
}

}  // namespace halvard
