#pragma once

#include <QByteArray>
#include <optional>
#include <stop_token>
#include <vector>

#include "platform/ports/application_catalog.h"
#include "platform/ports/folder_reader.h"
#include "platform/ports/standard_folders.h"

namespace halvard {

/// Finds application bundles: folders with "AppRun" inside, and files that are whole applications. Any thread.
class ApplicationBundles {
 public:
  /// The references must outlive this object.
  ApplicationBundles(const FolderReader& reader, const ApplicationCatalog& catalog, const StandardFolders& folders)
      : m_reader(reader), m_catalog(catalog), m_folders(folders) {}

  /// The first of the machine's folders for applications.
  std::optional<QByteArray> applicationFolderPath() const;

  /// Below applicationFolderPath(), as paths without links.
  std::vector<QByteArray> applicationsPathsArrayFromApplicationFolder(std::stop_token stop = {}) const;

  /// Below `folder`, not inside of bundles, no hidden names, no links, nothing from the 21st level on; a start `depth`
  /// of 1 counts the folder's own entries as the first level.
  std::vector<QByteArray> applicationsPathsArrayFromFolder(const QByteArray& folder, int depth,
                                                           std::stop_token stop = {}) const;

 private:
  const FolderReader& m_reader;
  const ApplicationCatalog& m_catalog;
  const StandardFolders& m_folders;
};

}  // namespace halvard
