#pragma once

#include <QObject>
#include <QStringList>
#include <functional>
#include <optional>

#include "core/alert.h"
#include "core/clock.h"
#include "crash/cache_manager.h"
#include "crash/email_generator.h"

namespace halvard {

/// Shows the alert and waits for the answer.
class CrashAlert {
 public:
  virtual ~CrashAlert() = default;

  /// Nothing when there is no display to show it on.
  virtual std::optional<AlertAnswer> runModal(const Alert& content) = 0;
};

/// What the alert sets going. All of it outlives the generator.
struct AlertServices {
  CacheManager& cache;
  EmailGenerator& email;
  CrashAlert& alert;
  Clock& clock;
  /// After the crash is counted, before the alert and its texts are made.
  std::function<void()> counted;
  /// Starts the program again as a new instance.
  std::function<void()> relaunch;
  /// No mail program took the report.
  std::function<void()> mailRefused;
  /// Ends the crashed process with status 0. The last thing that happens.
  std::function<void()> exit;
};

/// Counts the crash, asks the user what to do about it and does it.
class AlertGenerator : public QObject {
  Q_OBJECT

 public:
  /// `bundleName` is the name of the program in the message.
  AlertGenerator(AlertServices services, QString bundleName);

  /// Once; a second call does nothing. Returns when the alert is closed; the exit follows 0.2 seconds later, or at once
  /// when there was no alert.
  void showAlertWith(const std::optional<CrashException>& exception, const std::optional<SignalInformation>& signal);

 private:
  Alert content() const;

  AlertServices m_services;
  const QString m_bundleName;
  bool m_shown = false;
};

}  // namespace halvard
