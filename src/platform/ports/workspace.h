#pragma once

#include <QString>
#include <QUrl>
#include <optional>

namespace halvard {

/// Other programs, as the desktop knows them. The only way by which web and mail addresses leave the program.
/// Main thread.
class Workspace {
 public:
  virtual ~Workspace() = default;

  /// Hands the address to the user's program for it. False when it is not one of http, https, mailto and appstream, or
  /// no program takes it.
  virtual bool openURL(const QUrl& url) = 0;
  /// Whether openURL() would find a program for the address.
  virtual bool canOpenURL(const QUrl& url) = 0;

  /// The desktop entry file of an application; nothing when it is not installed. `identifier` is the entry's id with
  /// or without ".desktop".
  virtual std::optional<QString> pathOfApplication(const QString& identifier) = 0;

  /// Starts an installed application, or brings it forward if it does so by itself. False when it is not installed or
  /// cannot be started.
  virtual bool launchApplication(const QString& identifier) = 0;
};

}  // namespace halvard
