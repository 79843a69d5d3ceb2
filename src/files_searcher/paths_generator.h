#pragma once

#include <QByteArray>

#include "platform/ports/standard_folders.h"

namespace halvard {

/// The folders that the searches look at, as absolute paths. They need not exist. Any thread.
class PathsGenerator {
 public:
  /// `folders` must outlive this object; the home folder is found now.
  explicit PathsGenerator(const StandardFolders& folders)
      : m_folders(folders), m_homeDirectory(folders.findHomeDirectory()) {}

  const QByteArray& getHomeDirectory() const { return m_homeDirectory; }
  /// The start-up disk.
  QByteArray getCurrentDiskDirectory() const { return "/"; }
  QByteArray buildTrashDirectory() const { return m_folders.trash(); }
  QByteArray buildUserApplicationsDirectory() const { return m_folders.userApplications(); }
  QByteArray buildCacheDirectory() const { return m_folders.cache(); }
  QByteArray buildDownloadsDirectory() const { return m_folders.downloads(); }
  QByteArray findHomeDirectory() const { return m_folders.findHomeDirectory(); }

  const StandardFolders& folders() const { return m_folders; }

 private:
  const StandardFolders& m_folders;
  const QByteArray m_homeDirectory;
};

}  // namespace halvard
