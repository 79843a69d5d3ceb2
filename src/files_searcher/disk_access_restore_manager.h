#pragma once

#include <QByteArray>
#include <optional>

#include "files_searcher/paths_generator.h"
#include "platform/ports/defaults_store.h"
#include "platform/ports/folder_access.h"

namespace halvard {

/// Which folders the user has granted the program to read. Grants live in the stored settings as bookmarks. Main
/// thread.
class DiskAccessRestoreManager {
 public:
  /// The references must outlive this object.
  DiskAccessRestoreManager(DefaultsStore& store, const FolderAccess& access, const PathsGenerator& paths)
      : m_store(store), m_access(access), m_paths(paths) {}

  bool isDiskAccessible() const { return isPathAccessible("/"); }
  /// Nothing is stored when the folder cannot be recorded.
  void saveAccessToDisk() { saveAccess("/"); }
  /// The path of the start-up disk if the grant still holds.
  std::optional<QByteArray> restoreAccessToDiskIfNeeded() const { return resolve("/"); }

  bool isUserFolderAccessible() const { return isDiskAccessible() || isPathAccessible(getUserFolderPath()); }
  void saveAccessToUserFolder() { saveAccess(getUserFolderPath()); }
  QByteArray getUserFolderPath() const { return m_paths.getHomeDirectory(); }

  bool isApplicationsFolderAccessible() const;
  void saveAccessToApplicationsFolder();
  QByteArray getApplicationsFolderPath() const;

  bool isPathAccessible(const QByteArray& path) const;
  void saveAccessToPath(const QByteArray& path) { saveAccess(path); }
  /// A path other than "/" needs no grant while it is readable.
  std::optional<QByteArray> restoreAccessToPathIfNeeded(const QByteArray& path) const;
  /// "DISK_ACCESS_DATA" for "/", the path itself for every other.
  static QString keyForPath(const QByteArray& path);

 private:
  std::optional<QByteArray> resolve(const QByteArray& path) const;
  void saveAccess(const QByteArray& path);

  DefaultsStore& m_store;
  const FolderAccess& m_access;
  const PathsGenerator& m_paths;
};

}  // namespace halvard
