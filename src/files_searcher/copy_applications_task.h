#pragma once

#include <QString>
#include <QStringList>
#include <optional>

#include "platform/ports/application_catalog.h"

namespace halvard {

/// Unpacks the sibling tools that ship as archives inside the program's own resources. Main thread; does not wait for
/// the unpacking.
class CopyApplicationsTask {
 public:
  struct FoundApplication {
    QString path;
    QString identifier;
  };

  /// `resourcesFolder` holds the program's resources; `applicationSupportFolder` is the program's own, nothing when it
  /// cannot be determined. `catalog` must outlive this object.
  CopyApplicationsTask(QString resourcesFolder, std::optional<QString> applicationSupportFolder,
                       const ApplicationCatalog& catalog);

  /// Each archive is unpacked once: a folder of its name marks it as handled.
  void copyApplications() const;

  std::optional<QString> createDestinationPath() const;

  /// The first unpacked application, in listing order, that has one of the identifiers.
  std::optional<FoundApplication> findAppPathForBundleIDs(const QStringList& identifiers) const;

  /// Starts an unpacked application. False when it cannot be started.
  bool launch(const FoundApplication& application) const;

 private:
  const QString m_source;
  const std::optional<QString> m_applicationSupportFolder;
  const ApplicationCatalog& m_catalog;
};

}  // namespace halvard
