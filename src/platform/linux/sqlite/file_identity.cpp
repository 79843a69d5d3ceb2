#include "platform/linux/sqlite/file_identity.h"

#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <chrono>
#include <cstring>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>
#include <cerrno>
#include <cstdio>

namespace halvard {

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds lockPause = 10ms;
constexpr std::chrono::milliseconds lockPatience = 5s;
constexpr int namesTried = 10000;

Error systemError() {
  return {QString::fromLocal8Bit(std::strerror(errno))};
}

void flushFolder(const QString& folder) {
  const int descriptor = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  ::fsync(descriptor);
  ::close(descriptor);
}

// The lock on the folder stands in for RENAME_NOREPLACE on file systems that lack it.
bool renameUnlessTaken(const QByteArray& from, const QByteArray& to) {
  if (::renameat2(AT_FDCWD, from.constData(), AT_FDCWD, to.constData(), RENAME_NOREPLACE) == 0) return true;
  if (errno != EINVAL || ::access(to.constData(), F_OK) == 0) return false;
  return std::rename(from.constData(), to.constData()) == 0;
}

bool isFree(const QString& path, const QStringList& companionSuffixes) {
  bool taken = QFileInfo::exists(path);
  for (const QString& suffix : companionSuffixes)
    taken = taken || QFileInfo::exists(path + suffix);
  return !taken;
}

}  // namespace

std::optional<FileIdentity> identityOf(const QByteArray& path) {
  struct stat status;
  if (::stat(path.constData(), &status) != 0) return std::nullopt;
  return FileIdentity{status.st_dev, status.st_ino,
                      std::int64_t{status.st_ctim.tv_sec} * 1'000'000'000 + status.st_ctim.tv_nsec};
}

Result<void> makePrivateFolder(const QString& folder) {
  const QByteArray path = QFile::encodeName(folder);
  const QString parent = QFileInfo(folder).path();
  bool isMade = ::mkdir(path.constData(), 0700) == 0;
  if (!isMade && errno == ENOENT && parent != folder) {
    if (const Result<void> above = makePrivateFolder(parent); !above) return above;
    isMade = ::mkdir(path.constData(), 0700) == 0;
  }
  if (isMade) flushFolder(parent);
  return isMade || errno == EEXIST ? Result<void>() : systemError();
}

Result<QString> setAside(const QString& path, const QStringList& companionSuffixes) {
  for (int number = 1; number <= namesTried; ++number) {
    const QString target = path + QStringLiteral(".damaged-%1").arg(number);
    if (!isFree(target, companionSuffixes)) continue;
    for (const QString& suffix : companionSuffixes) {
      const bool moved = renameUnlessTaken(QFile::encodeName(path + suffix), QFile::encodeName(target + suffix));
      if (!moved && errno != ENOENT) return systemError();
    }
    if (!renameUnlessTaken(QFile::encodeName(path), QFile::encodeName(target))) return systemError();
    return target;
  }
  return Error{QStringLiteral("too many damaged files beside it")};
}

FolderLock::FolderLock(const QString& folder)
    : m_descriptor(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
  for (auto waited = 0ms; m_descriptor >= 0 && waited <= lockPatience; waited += lockPause) {
    if (::flock(m_descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK) return;
    std::this_thread::sleep_for(lockPause);
  }
}

FolderLock::~FolderLock() {
  if (m_descriptor >= 0) ::close(m_descriptor);
}

}  // namespace halvard
