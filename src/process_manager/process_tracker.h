#pragma once

#include <QObject>
#include <chrono>
#include <future>
#include <vector>

#include "core/clock.h"
#include "core/units.h"
#include "process_manager/application_entry.h"

namespace halvard {

class NotificationCenter;
class ProcessesManager;

/// Watches the applications that use much memory and posts HugeProcessTerminatedNotificationName() when one of them
/// has quit: at once after a very large one, after a delay otherwise. Main thread.
class ProcessTracker {
 public:
  /// The arguments must outlive this object.
  ProcessTracker(ProcessesManager& processes, NotificationCenter& notifications, Clock& clock);

  /// Posted without an object.
  static QString HugeProcessTerminatedNotificationName();

  static constexpr ByteCount sizeOfAnAppToTerminateImmediatelly() { return 262'144'000; }
  static constexpr ByteCount sizeOfAnAppToTerminateAfterDelay() { return 52'428'800; }
  static constexpr std::chrono::seconds delayToPurgeAfterQuitingFromSmallApp() { return std::chrono::seconds(60); }
  static constexpr std::chrono::seconds trackingInterval() { return std::chrono::seconds(5); }

  /// Takes the first step one interval from now. Does nothing while tracking.
  void startTrackingHugeProcesses();
  /// Ends the steps. What was found last and a pending delayed announcement stay.
  void stopTrackingHugeProcesses();
  bool isTracking() const { return m_timerUpdateInfo.isPending(); }

  /// One step: takes the list asked for in the step before, looks which of its large applications have quit, and asks
  /// for a new one.
  void updateInfo();
  /// Announces, or schedules to, when the largest of those found last that have quit was large enough.
  void processTerminatedApps();

  /// Does nothing while a delayed announcement is pending.
  void startPurgeWithDelay();
  void stopDelayedPurge();
  /// Cancels a pending delayed announcement and posts the notification.
  void startPurgeImmediately();

 private:
  void scheduleStep();
  void performDelayedPurge();
  void takeList();

  ProcessesManager& m_processes;
  NotificationCenter& m_notifications;
  Clock& m_clock;
  QObject m_context;
  std::future<ApplicationEntries> m_list;                  // asked for, not yet taken
  std::optional<ApplicationEntries> m_lastFoundProcesses;  // none before the first list
  ScheduledCall m_timerUpdateInfo;
  ScheduledCall m_timerPurge;
};

}  // namespace halvard
