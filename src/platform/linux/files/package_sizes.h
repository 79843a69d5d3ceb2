#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <map>
#include <optional>
#include <stop_token>
#include <vector>

#include "core/units.h"

namespace halvard {

/// The package that owns a file.
struct OwningPackage {
  /// Unique among all packages of the machine.
  QByteArray key;
  ByteCount installedSize;

  bool operator==(const OwningPackage&) const = default;
};

/// What the machine's package databases know: dpkg, rpm, flatpak and snap, those of them that are there.
class PackageSizes {
 public:
  explicit PackageSizes(QByteArray snapMounts = "/snap", QByteArray snapFiles = "/var/lib/snapd/snaps")
      : m_snapMounts(std::move(snapMounts)), m_snapFiles(std::move(snapFiles)) {}

  /// The owners of those of the files that have one. Runs the package tools; blocks.
  std::map<QByteArray, OwningPackage> ownersOfFiles(const QByteArrayList& files, std::stop_token stop) const;

 private:
  std::optional<OwningPackage> flatpakOwner(const QByteArray& file) const;
  std::optional<OwningPackage> snapOwner(const QByteArray& file) const;

  const QByteArray m_snapMounts;
  const QByteArray m_snapFiles;
};

/// What the package tools print, and what their databases hold.
namespace package_output {

/// "dpkg-query -S": file to package. A file of several packages belongs to the first.
std::map<QByteArray, QByteArray> dpkgOwners(const QByteArray& output);
/// "dpkg-query -W" with a line "package<TAB>KiB" each: package to bytes.
std::map<QByteArray, ByteCount> dpkgSizes(const QByteArray& output);
/// "rpm -qf" of one file, with a line "package<TAB>bytes" for each owner, or a message: the first owner.
std::optional<OwningPackage> rpmOwner(const QByteArray& output);
/// The file "deploy" of a flatpak application: its installed size in bytes.
std::optional<ByteCount> flatpakInstalledSize(const QByteArray& deployFile);

}  // namespace package_output

}  // namespace halvard
