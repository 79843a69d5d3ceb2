#pragma once

#include <QObject>
#include <QString>
#include <chrono>
#include <functional>

#include "core/clock.h"
#include "core/result.h"

namespace halvard {

class DistributedNotificationCenter;

/// The companion that the session starts at login: starts the application, stays until the application has noticed it
/// and says "TERMINATEHELPER", and never longer than `patience`. The application lives on without it. Main thread.
class Launcher : public QObject {
 public:
  /// Longer than a start takes on a busy machine right after login; nothing waits for it.
  static constexpr std::chrono::minutes patience{2};

  /// The references must outlive this object. `applicationIdentifier` is the object of the notification meant for us.
  /// `quit` is called once, after start() has returned.
  Launcher(DistributedNotificationCenter& notifications, Clock& clock, QString applicationIdentifier,
           std::function<void()> quit);

  /// `program` by absolute path. After a failure `quit` is never called.
  Result<void> start(const QString& program);

 private:
  void finish();

  DistributedNotificationCenter& m_notifications;
  Clock& m_clock;
  const QString m_applicationIdentifier;
  std::function<void()> m_quit;
};

}  // namespace halvard
