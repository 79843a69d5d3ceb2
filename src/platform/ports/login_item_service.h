#pragma once

#include <QString>
#include <optional>
#include <vector>

#include "platform/ports/stored_value.h"

namespace halvard {

/// What the platform tells about one job that it starts at login, by key. "Label": string, the job's identifier;
/// "Program": string, absolute path of its executable; "ProgramArguments": array of strings, the program first;
/// "PID": integer, while it runs; "OnDemand": number, 0 for a job that starts at login and not when asked for;
/// "EnableTransactions": any kind. Each may be absent.
using JobDescription = StoredValue::Dictionary;

/// What an application's own folder says about it.
struct BundleInformation {
  std::optional<QString> identifier;
  std::optional<QString> name;
};

/// An entry of the user's plain list of programs to start at login.
struct SessionLoginItem {
  /// Names the entry towards the service.
  QString reference;
  /// Absolute path of the program, links resolved.
  QString location;
};

/// What starts when the user logs in. Main thread. Nothing is remembered: each answer is the state at that moment.
class LoginItemService {
 public:
  virtual ~LoginItemService() = default;

  /// Lets the job of a companion program start at login, or no longer. False when the service does not know the job or
  /// could not change it; what was then still is.
  virtual bool setEnabled(const QString& jobIdentifier, bool enabled) = 0;

  /// The jobs of the user that start at login, in the platform's order.
  virtual std::vector<JobDescription> copyAllJobDictionaries() const = 0;

  /// True while the program of a known job runs for this user, whether or not the job is enabled.
  virtual bool isJobRunning(const QString& jobIdentifier) const = 0;

  /// The application whose folder is `folder` and whose main program is `executable`; nothing when there is none.
  virtual std::optional<BundleInformation> bundleAt(const QString& folder, const QString& executable) const = 0;

  /// The plain list, in order.
  virtual std::vector<SessionLoginItem> sessionLoginItems() const = 0;
  /// False when it cannot be changed; true when there is no such entry.
  virtual bool removeSessionLoginItem(const QString& reference) = 0;
  /// Adds the program at the end; `hidden` programs show no window. False when it cannot be added.
  virtual bool appendSessionLoginItem(const QString& location, bool hidden) = 0;
};

}  // namespace halvard
