#pragma once

#include <QByteArray>
#include <optional>
#include <vector>

namespace halvard {

/// The folders of the current user and of the system, as absolute paths. They need not exist. Any thread.
class StandardFolders {
 public:
  virtual ~StandardFolders() = default;

  /// By the password database's entry of the real user, else built from the login name.
  virtual QByteArray findHomeDirectory() const = 0;
  virtual QByteArray cache() const = 0;
  virtual QByteArray downloads() const = 0;
  virtual QByteArray trash() const = 0;
  /// Where users keep applications of their own, and where the machine's owner installs them.
  virtual QByteArray userApplications() const = 0;
  virtual std::vector<QByteArray> localApplications() const = 0;
  /// Data that programs keep for the user; nothing when there is no such place.
  virtual std::optional<QByteArray> applicationSupport() const = 0;
};

}  // namespace halvard
