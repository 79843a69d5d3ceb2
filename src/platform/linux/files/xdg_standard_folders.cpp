#include "platform/linux/files/xdg_standard_folders.h"

#include <QDir>
#include <QFile>
#include <QStandardPaths>

#include <pwd.h>
#include <unistd.h>

namespace halvard {
namespace {

QByteArray standardPath(QStandardPaths::StandardLocation location) {
  return QFile::encodeName(QStandardPaths::writableLocation(location));
}

}  // namespace

QByteArray XdgStandardFolders::findHomeDirectory() const {
  std::vector<char> text(16 * 1024);
  passwd entry{};
  passwd* found = nullptr;
  if (::getpwuid_r(::getuid(), &entry, text.data(), text.size(), &found) == 0 && found) return found->pw_dir;
  return "/home/" + qgetenv("LOGNAME");
}

QByteArray XdgStandardFolders::cache() const {
  return standardPath(QStandardPaths::GenericCacheLocation);
}

QByteArray XdgStandardFolders::downloads() const {
  const QByteArray path = standardPath(QStandardPaths::DownloadLocation);
  // The desktop names the home folder itself when the user deleted the one for downloads.
  const bool isHome = path.isEmpty() || QDir(QFile::decodeName(path)) == QDir::home();
  return isHome ? findHomeDirectory() + "/Downloads" : path;
}

QByteArray XdgStandardFolders::trash() const {
  return standardPath(QStandardPaths::GenericDataLocation) + "/Trash";
}

QByteArray XdgStandardFolders::userApplications() const {
  return findHomeDirectory() + "/Applications";
}

std::vector<QByteArray> XdgStandardFolders::localApplications() const {
  return {"/opt"};
}

std::optional<QByteArray> XdgStandardFolders::applicationSupport() const {
  const QByteArray path = standardPath(QStandardPaths::GenericDataLocation);
  if (path.isEmpty()) return {};
  return path;
}

}  // namespace halvard
