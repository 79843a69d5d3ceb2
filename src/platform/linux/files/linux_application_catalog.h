#pragma once

#include "platform/linux/files/package_sizes.h"
#include "platform/ports/application_catalog.h"

namespace halvard {

/// Desktop entries through GIO, sizes from the package databases, bundles by their form: an AppDir (a folder with
/// "AppRun"), or an AppImage file.
class LinuxApplicationCatalog : public ApplicationCatalog {
 public:
  std::vector<CatalogApplication> applications(std::stop_token stop) const override;
  std::optional<QString> bundleIdentifier(const QByteArray& path) const override;
  bool isApplicationFile(const QByteArray& path) const override;

 private:
  PackageSizes m_packages;
};

}  // namespace halvard
