#pragma once

#include <QString>
#include <QStringList>
#include <memory>
#include <vector>

#include "platform/linux/gio/application_index.h"

namespace halvard {

/// Where desktop entries stand, the user's own folder first.
struct EntryFolders {
  QStringList applications;
  QStringList autostart;

  /// By XDG_DATA_HOME, XDG_DATA_DIRS, XDG_CONFIG_HOME and XDG_CONFIG_DIRS as they were when the program started.
  static EntryFolders ofUser();
};

/// The desktop entries of this user, read with GIO: those of the applications folders, then those that stand in an
/// autostart folder only. One thread, except where noted.
class InstalledApplications {
 public:
  explicit InstalledApplications(EntryFolders folders = EntryFolders::ofUser());
  ~InstalledApplications();

  /// The entries as they are now: read when first asked, and again when a folder has changed. Never null.
  std::shared_ptr<const ApplicationIndex> current();

  /// Starts the application of an entry; false when that does not work. Any thread.
  static bool launch(const QString& file);

 private:
  struct Folder;
  void readFolder(const QString& path, const QString& idPrefix, std::vector<InstalledApplication>& entries);
  bool hasChanged() const;

  const EntryFolders m_folders;
  std::vector<Folder> m_read;  // those `m_index` was made of, and what they were like
  std::shared_ptr<const ApplicationIndex> m_index;
};

}  // namespace halvard
