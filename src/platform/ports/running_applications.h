#pragma once

#include <QString>
#include <QUrl>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace halvard {

struct ProcessRecord;

enum class ActivationPolicy {
  /// Has windows, or normally opens some.
  Regular = 0,
  /// Works in the background: entries hidden from menus or only started at login, programs that only own a tray item.
  Accessory = 1,
  /// No application for the user.
  Prohibited = 2,
};

/// One running application, by the identity of its process: a later process with the same pid is another one.
/// Any thread.
class RunningApplication {
 public:
  virtual ~RunningApplication() = default;

  virtual std::int32_t processIdentifier() const = 0;
  virtual ActivationPolicy activationPolicy() const = 0;

  /// In the user's language.
  virtual std::optional<QString> localizedName() const = 0;
  /// Name of a themed icon, or the absolute path of an image.
  virtual std::optional<QString> icon() const = 0;
  /// A local file: the desktop entry that describes the application, or its bundle.
  virtual std::optional<QUrl> bundleURL() const = 0;

  /// True from the moment the process ends, also while its parent has not asked for its status.
  virtual bool isTerminated() const = 0;

  /// Brings its windows to the front, or starts the application again when it has none or has ended. False when neither
  /// worked.
  virtual bool activate() = 0;
  /// Asks the application to quit; it may ask about unsaved work, or refuse. False when it has already ended.
  virtual bool terminate() = 0;
  /// Ends the process at once. False when it has already ended.
  virtual bool forceTerminate() = 0;
};

/// Which processes are applications, and which belong to one. One thread at a time, except where noted.
class RunningApplications {
 public:
  virtual ~RunningApplications() = default;

  /// Tells which processes exist; the questions below are answered for these. Call it once a pass, before them.
  virtual void update(const std::vector<ProcessRecord>& processes) = 0;

  /// Null when the pid is no application. The same handle as long as it is the same application.
  virtual std::shared_ptr<RunningApplication> runningApplicationWithProcessIdentifier(std::int32_t pid) = 0;

  /// The application on whose behalf the system keeps this process in a group (a control group), though it need not
  /// descend from it; nothing when there is none. Never the process itself.
  virtual std::optional<std::int32_t> applicationOfGroup(std::int32_t pid) = 0;

  /// The pid of this very program. Any thread.
  virtual std::int32_t currentApplication() const = 0;
};

}  // namespace halvard
