#include "platform/linux/files/linux_application_catalog.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QStandardPaths>

#include <fcntl.h>
#include <gio/gdesktopappinfo.h>
#include <unistd.h>

#include <cerrno>
#include <set>

#include "platform/linux/procfs/file_descriptor.h"

namespace halvard {
namespace {

const QString kEntrySuffix = QStringLiteral(".desktop");

struct Entry {
  QString identifier;
  QByteArray file;
  /// The last one of the same name in the search path: what a package brought and the user's own replaces.
  QByteArray replaced;
  QByteArray executable;
};

QString withoutSuffix(const QString& id) {
  return id.endsWith(kEntrySuffix) ? id.chopped(kEntrySuffix.size()) : id;
}

std::vector<Entry> visibleEntries() {
  std::vector<Entry> entries;
  GList* const all = g_app_info_get_all();
  for (GList* at = all; at; at = at->next) {
    GDesktopAppInfo* const info = G_DESKTOP_APP_INFO(at->data);
    const char* const file = g_desktop_app_info_get_filename(info);
    const char* const id = g_app_info_get_id(G_APP_INFO(info));
    if (!file || !id || g_desktop_app_info_get_nodisplay(info)) continue;
    const QString name = QString::fromUtf8(id);
    const QStringList places = QStandardPaths::locateAll(QStandardPaths::ApplicationsLocation, name);
    entries.push_back({withoutSuffix(name), file, places.isEmpty() ? QByteArray() : QFile::encodeName(places.last()),
                       g_app_info_get_executable(G_APP_INFO(info))});
  }
  g_list_free_full(all, g_object_unref);
  return entries;
}

/// For an entry that no package owns: its program, a whole AppImage for instance.
std::optional<CatalogApplication> programOf(const Entry& entry) {
  const QString name = QFile::decodeName(entry.executable);
  const QFileInfo program(name.contains(QLatin1Char('/')) ? name : QStandardPaths::findExecutable(name));
  if (name.isEmpty() || !program.isFile()) return {};
  return CatalogApplication{entry.identifier, QFile::encodeName(program.filePath()),
                            static_cast<ByteCount>(program.size())};
}

}  // namespace

std::vector<CatalogApplication> LinuxApplicationCatalog::applications(std::stop_token stop) const {
  const std::vector<Entry> entries = visibleEntries();
  QByteArrayList files;
  for (const Entry& entry : entries) {
    files << entry.file;
    if (entry.replaced != entry.file && !entry.replaced.isEmpty()) files << entry.replaced;
  }
  const auto owners = m_packages.ownersOfFiles(files, stop);
  std::vector<CatalogApplication> result;
  std::set<QByteArray> counted;
  for (const Entry& entry : entries) {
    auto owner = owners.find(entry.file);
    if (owner == owners.end()) owner = owners.find(entry.replaced);
    if (owner == owners.end()) {
      const auto program = programOf(entry);
      // Launchers of one runtime, and those that start with "env", have their program in common.
      if (program && counted.insert(program->path).second) result.push_back(*program);
    } else if (counted.insert(owner->second.key).second) {
      result.push_back({entry.identifier, entry.file, owner->second.installedSize});
    }
  }
  return result;
}

std::optional<QString> LinuxApplicationCatalog::bundleIdentifier(const QByteArray& path) const {
  const QFileInfo bundle(QFile::decodeName(path));
  if (!bundle.exists()) return {};
  if (!bundle.isDir()) return withoutSuffix(bundle.fileName());
  const QStringList entries = QDir(bundle.filePath()).entryList({QLatin1Char('*') + kEntrySuffix}, QDir::Files);
  return entries.isEmpty() ? bundle.completeBaseName() : withoutSuffix(entries.first());
}

bool LinuxApplicationCatalog::isApplicationFile(const QByteArray& path) const {
  if (!path.toLower().endsWith(".appimage")) return false;
  // Looking at an application does not use it.
  FileDescriptor file(::open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOATIME));
  if (!file && errno == EPERM) file = FileDescriptor(::open(path.constData(), O_RDONLY | O_NONBLOCK | O_CLOEXEC));
  QByteArray head(11, '\0');
  if (!file || ::read(file.get(), head.data(), 11) != 11) return false;
  return head.startsWith(
             "\x7f"
             "ELF") &&
         (head.mid(8) == "AI\x01" || head.mid(8) == "AI\x02");
}

}  // namespace halvard
