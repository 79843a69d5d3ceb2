#pragma once

#include <QByteArray>
#include <QString>
#include <optional>
#include <stop_token>
#include <vector>

#include "core/units.h"

namespace halvard {

/// An application the system has a description of.
struct CatalogApplication {
  /// The desktop entry's id without ".desktop".
  QString identifier;
  /// The file that describes it when a package owns it, else its program.
  QByteArray path;
  /// Installed size by the package database, or the size of the program.
  ByteCount size;
};

/// The applications that are installed, whatever installed them. Any thread.
class ApplicationCatalog {
 public:
  virtual ~ApplicationCatalog() = default;

  /// What menus show. Several entries of one package count as one application. May take a second; never on the main
  /// thread.
  virtual std::vector<CatalogApplication> applications(std::stop_token stop) const = 0;

  /// The identifier of a bundle; nothing when it has none.
  virtual std::optional<QString> bundleIdentifier(const QByteArray& path) const = 0;

  /// True for a single file that is a whole application.
  virtual bool isApplicationFile(const QByteArray& path) const = 0;
};

}  // namespace halvard
