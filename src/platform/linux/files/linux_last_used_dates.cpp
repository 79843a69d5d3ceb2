#include "platform/linux/files/linux_last_used_dates.h"

#include <QFile>
#include <QStandardPaths>

#include <fcntl.h>
#include <glib.h>
#include <sys/stat.h>
#include <sys/statvfs.h>

#include <algorithm>

namespace halvard {
namespace {

Clock::Instant instantOf(const statx_timestamp& time) {
  return Clock::Instant(std::chrono::duration_cast<Clock::Instant::duration>(std::chrono::seconds(time.tv_sec) +
                                                                             std::chrono::nanoseconds(time.tv_nsec)));
}

/// False on a mount that does not record readings.
bool keepsAccessTimes(const QByteArray& path) {
  struct statvfs found;
  return ::statvfs(path.constData(), &found) == 0 && (found.f_flag & ST_NOATIME) == 0;
}

}  // namespace

struct LinuxLastUsedDates::List {
  std::unique_ptr<GBookmarkFile, decltype(&g_bookmark_file_free)> bookmarks{g_bookmark_file_new(),
                                                                            &g_bookmark_file_free};
  std::int64_t modified = -1;
};

LinuxLastUsedDates::LinuxLastUsedDates(QByteArray recentlyUsed) : m_path(std::move(recentlyUsed)) {}
LinuxLastUsedDates::~LinuxLastUsedDates() = default;

QByteArray LinuxLastUsedDates::defaultList() {
  return QFile::encodeName(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation)) +
         "/recently-used.xbel";
}

std::optional<Clock::Instant> LinuxLastUsedDates::visited(const QByteArray& path) const {
  const std::unique_ptr<char, decltype(&g_free)> uri(g_filename_to_uri(path.constData(), nullptr, nullptr), &g_free);
  if (!uri) return {};
  const std::lock_guard lock(m_mutex);
  struct stat found;
  const std::int64_t modified = ::stat(m_path.constData(), &found) == 0 ? found.st_mtim.tv_sec : 0;
  if (!m_list || m_list->modified != modified) {
    m_list = std::make_unique<List>();
    m_list->modified = modified;
    // A list that is missing or broken names no file.
    g_bookmark_file_load_from_file(m_list->bookmarks.get(), m_path.constData(), nullptr);
  }
  GDateTime* const date = g_bookmark_file_get_visited_date_time(m_list->bookmarks.get(), uri.get(), nullptr);
  if (!date) return {};
  return Clock::Instant(std::chrono::seconds(g_date_time_to_unix(date)));
}

std::optional<Clock::Instant> LinuxLastUsedDates::lastUsedDate(const QByteArray& path) const {
  const auto date = visited(path);
  struct statx found;
  constexpr unsigned int times = STATX_ATIME | STATX_CTIME | STATX_MTIME;
  if (::statx(AT_FDCWD, path.constData(), AT_SYMLINK_NOFOLLOW | AT_NO_AUTOMOUNT, times, &found) != 0) return date;
  const auto read = date ? *date : instantOf(keepsAccessTimes(path) ? found.stx_atime : found.stx_ctime);
  // Writing to a file leaves the time it was read as it is. Who writes cannot do it after the last change: a later time
  // of writing was set, and may lie in the future.
  return std::max(read, std::min(instantOf(found.stx_mtime), instantOf(found.stx_ctime)));
}

}  // namespace halvard
