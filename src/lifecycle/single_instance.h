#pragma once

#include <QObject>
#include <QString>
#include <memory>

namespace halvard {

class DistributedNotificationCenter;
class NotificationCenter;
class RunningCopies;

/// Keeps the program to one copy a session. Main thread.
class SingleInstance {
 public:
  /// "AppCopyHaveJustTriedToLaunchNotificatioName", between copies; its object is the bundle identifier.
  static QString appCopyHaveJustTriedToLaunchNotificatioName();

  /// The references outlive this object. `showRequest` is the notification that brings the panel forward.
  SingleInstance(RunningCopies& copies, DistributedNotificationCenter& distributed, NotificationCenter& notifications,
                 QString bundleIdentifier, QString showRequest);

  /// True when another copy runs: it has been brought forward, and this one must end.
  bool crashTheAppIfCopyIsAlreadyLaunched();

  /// For a relaunch from another place: the next copy may start, and this one no longer answers for it.
  void giveWay();
  /// After giveWay(), when nothing could be launched. False when another copy was faster.
  bool resume();

 private:
  bool becomeTheOne();
  void appCopyHaveJustTriedToLaunch();

  RunningCopies& m_copies;
  DistributedNotificationCenter& m_distributed;
  NotificationCenter& m_notifications;
  const QString m_bundleIdentifier;
  const QString m_showRequest;
  std::unique_ptr<QObject> m_observation;
};

}  // namespace halvard
