#include "platform/linux/gio/installed_applications.h"

#include <QDir>
#include <QFile>
#include <algorithm>
#include <cstdlib>
#include <optional>
#include <utility>

#include <gio/gdesktopappinfo.h>
#include <gio/gio.h>
#include <sys/stat.h>

namespace halvard {

namespace {

struct GlibFree {
  void operator()(void* memory) const { ::g_free(memory); }
  void operator()(char** strings) const { ::g_strfreev(strings); }
  void operator()(GDesktopAppInfo* object) const { ::g_object_unref(object); }
  void operator()(GKeyFile* file) const { ::g_key_file_free(file); }
};
template <class T>
using Owned = std::unique_ptr<T, GlibFree>;

QString text(const char* utf8) {
  return QString::fromUtf8(utf8);
}

QByteArrayList parseCommandLine(const char* line) {
  int count = 0;
  char** words = nullptr;
  if (!line || !::g_shell_parse_argv(line, &count, &words, nullptr)) return {};
  const std::unique_ptr<char*, GlibFree> owner(words);
  QByteArrayList result;
  for (int position = 0; position < count; ++position)
    result << QByteArray(words[position]);
  return result;
}

QString iconText(GIcon* icon) {
  if (!icon) return {};
  const Owned<char> name(::g_icon_to_string(icon));  // a path, a name, or for several names a list
  if (!G_IS_THEMED_ICON(icon)) return text(name.get());
  const char* const* names = ::g_themed_icon_get_names(G_THEMED_ICON(icon));
  return names && names[0] ? text(names[0]) : QString();
}

void readProgram(GDesktopAppInfo* info, InstalledApplication& entry) {
  entry.arguments = programAndArguments(parseCommandLine(::g_app_info_get_commandline(G_APP_INFO(info))));
  if (entry.arguments.isEmpty()) return;
  const Owned<char> program(::g_find_program_in_path(entry.arguments.takeFirst().constData()));
  if (!program) return;
  entry.program = program.get();
  const std::unique_ptr<char, decltype(&std::free)> resolved(::realpath(program.get(), nullptr), &std::free);
  entry.resolvedProgram = resolved ? QByteArray(resolved.get()) : entry.program;
}

InstalledApplication readEntry(GDesktopAppInfo* info) {
  InstalledApplication entry;
  entry.name = text(::g_app_info_get_display_name(G_APP_INFO(info)));
  entry.icon = iconText(::g_app_info_get_icon(G_APP_INFO(info)));
  entry.windowClass = text(::g_desktop_app_info_get_startup_wm_class(info));
  entry.hidden = ::g_desktop_app_info_get_nodisplay(info);
  entry.inTerminal = ::g_desktop_app_info_get_boolean(info, "Terminal");
  readProgram(info, entry);
  return entry;
}

// Asked of the file: GIO takes no entry that has no more than this line.
bool isMarkedAsDeleted(const QByteArray& path) {
  const Owned<GKeyFile> file(::g_key_file_new());
  return ::g_key_file_load_from_file(file.get(), path.constData(), G_KEY_FILE_NONE, nullptr) &&
         ::g_key_file_get_boolean(file.get(), G_KEY_FILE_DESKTOP_GROUP, G_KEY_FILE_DESKTOP_KEY_HIDDEN, nullptr);
}

// Nothing when the file describes no application, or one whose program is not installed. An entry marked as deleted
// keeps its place, because it hides those of the same id in later folders.
std::optional<InstalledApplication> readFile(const QString& path) {
  const QByteArray file = QFile::encodeName(path);
  const Owned<GDesktopAppInfo> info(::g_desktop_app_info_new_from_filename(file.constData()));
  const bool isDeleted = info ? ::g_desktop_app_info_get_is_hidden(info.get()) : isMarkedAsDeleted(file);
  if (isDeleted) return InstalledApplication();
  return info ? std::optional(readEntry(info.get())) : std::nullopt;
}

// Variables may name a folder with a slash at its end; the paths of entries are compared.
QString folderBelow(const char* folder, const char* name) {
  return QDir::cleanPath(QFile::decodeName(folder) + QLatin1Char('/') + text(name));
}

QStringList foldersBelow(const char* user, const char* const* system, const char* name) {
  QStringList folders{folderBelow(user, name)};
  for (; *system; ++system)
    folders << folderBelow(*system, name);
  return folders;
}

}  // namespace

EntryFolders EntryFolders::ofUser() {
  return {foldersBelow(::g_get_user_data_dir(), ::g_get_system_data_dirs(), "applications"),
          foldersBelow(::g_get_user_config_dir(), ::g_get_system_config_dirs(), "autostart")};
}

struct InstalledApplications::Folder {
  QByteArray path;
  timespec changed{};
  ino_t node = 0;  // 0: does not exist

  explicit Folder(QByteArray folder) : path(std::move(folder)) {
    struct stat status {};
    if (::stat(path.constData(), &status) != 0) return;
    changed = status.st_mtim;
    node = status.st_ino;
  }
  bool operator==(const Folder& other) const {
    return changed.tv_sec == other.changed.tv_sec && changed.tv_nsec == other.changed.tv_nsec && node == other.node;
  }
};

InstalledApplications::InstalledApplications(EntryFolders folders) : m_folders(std::move(folders)) {}

InstalledApplications::~InstalledApplications() = default;

bool InstalledApplications::hasChanged() const {
  return std::ranges::any_of(m_read, [](const Folder& folder) { return !(Folder(folder.path) == folder); });
}

// The id of an entry in a sub-folder is its path with dashes: "kde/konsole.desktop" is "kde-konsole".
void InstalledApplications::readFolder(const QString& path, const QString& idPrefix,
                                       std::vector<InstalledApplication>& entries) {
  m_read.emplace_back(QFile::encodeName(path));
  const QDir directory(path);
  for (const QString& name : directory.entryList({QStringLiteral("*.desktop")}, QDir::Files, QDir::Name)) {
    auto entry = readFile(directory.filePath(name));
    if (!entry) continue;
    entry->id = idPrefix + name.chopped(qsizetype(qstrlen(".desktop")));
    entry->file = directory.filePath(name);
    entries.push_back(std::move(*entry));
  }
  for (const QString& name : directory.entryList(QDir::Dirs | QDir::NoDotAndDotDot | QDir::NoSymLinks, QDir::Name))
    readFolder(directory.filePath(name), idPrefix + name + QLatin1Char('-'), entries);
}

std::shared_ptr<const ApplicationIndex> InstalledApplications::current() {
  if (m_index && !hasChanged()) return m_index;
  m_read.clear();
  std::vector<InstalledApplication> entries;
  for (const QString& folder : m_folders.applications)
    readFolder(folder, {}, entries);
  const std::size_t installed = entries.size();
  for (const QString& folder : m_folders.autostart)
    readFolder(folder, {}, entries);
  for (std::size_t position = installed; position < entries.size(); ++position)
    entries[position].autostartOnly = true;
  m_index = std::make_shared<const ApplicationIndex>(std::move(entries));
  return m_index;
}

bool InstalledApplications::launch(const QString& file) {
  const QByteArray path = QFile::encodeName(file);
  const Owned<GDesktopAppInfo> info(::g_desktop_app_info_new_from_filename(path.constData()));
  return info && ::g_app_info_launch(G_APP_INFO(info.get()), nullptr, nullptr, nullptr);
}

}  // namespace halvard
