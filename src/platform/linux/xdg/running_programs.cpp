#include "platform/linux/xdg/running_programs.h"

#include <QFile>
#include <algorithm>
#include <climits>
#include <memory>
#include <optional>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cstdlib>

namespace halvard {
namespace {

struct DirectoryCloser {
  void operator()(DIR* directory) const { ::closedir(directory); }
};

std::optional<QString> programOf(int procDescriptor, const char* pid) {
  struct stat status;
  if (::fstatat(procDescriptor, pid, &status, 0) != 0 || status.st_uid != ::geteuid()) return std::nullopt;
  char target[PATH_MAX];
  const QByteArray link = QByteArray(pid) + "/exe";
  const ssize_t length = ::readlinkat(procDescriptor, link.constData(), target, sizeof target);
  if (length <= 0) return std::nullopt;
  QByteArray path(target, length);
  constexpr char replaced[] = " (deleted)";
  if (path.endsWith(replaced)) path.chop(sizeof replaced - 1);
  return QFile::decodeName(path);
}

}  // namespace

QHash<QString, std::int32_t> runningPrograms(const QString& procRoot) {
  QHash<QString, std::int32_t> programs;
  const std::unique_ptr<DIR, DirectoryCloser> directory(::opendir(QFile::encodeName(procRoot).constData()));
  if (!directory) return programs;
  const int descriptor = ::dirfd(directory.get());
  while (const dirent* entry = ::readdir(directory.get())) {
    char* end = nullptr;
    const long pid = std::strtol(entry->d_name, &end, 10);
    if (pid <= 0 || pid > INT_MAX || *end != '\0') continue;
    if (const std::optional<QString> program = programOf(descriptor, entry->d_name)) {
      std::int32_t& lowest = programs[*program];
      lowest = lowest == 0 ? static_cast<std::int32_t>(pid) : std::min(lowest, static_cast<std::int32_t>(pid));
    }
  }
  return programs;
}

}  // namespace halvard
