#include "process_manager/process_tracker.h"

#include <algorithm>

#include "core/notification_center.h"
#include "process_manager/processes_manager.h"

namespace halvard {

ProcessTracker::ProcessTracker(ProcessesManager& processes, NotificationCenter& notifications, Clock& clock)
    : m_processes(processes),
      m_notifications(notifications),
      m_clock(clock),
      m_timerUpdateInfo(clock),
      m_timerPurge(clock) {}

QString ProcessTracker::HugeProcessTerminatedNotificationName() {
  return QStringLiteral("HugeProcessTerminated");
}

void ProcessTracker::startTrackingHugeProcesses() {
  if (!isTracking()) scheduleStep();
}

void ProcessTracker::stopTrackingHugeProcesses() {
  m_timerUpdateInfo.cancel();
}

void ProcessTracker::scheduleStep() {
  m_timerUpdateInfo.start(trackingInterval(), [this] {
    scheduleStep();
    updateInfo();
  });
}

void ProcessTracker::updateInfo() {
  takeList();
  processTerminatedApps();
  if (!m_list.valid()) m_list = m_processes.getTopProcess(sizeOfAnAppToTerminateAfterDelay());
}

// Not when it arrives: that would wake this thread a second time for what is looked at in the next step only.
void ProcessTracker::takeList() {
  if (!m_list.valid() || m_list.wait_for(std::chrono::seconds(0)) != std::future_status::ready) return;
  m_lastFoundProcesses = m_list.get();
}

void ProcessTracker::processTerminatedApps() {
  if (!m_lastFoundProcesses) return;
  ByteCount largest = 0;
  // Each quit is seen once, even where the next list is late.
  std::erase_if(*m_lastFoundProcesses, [&largest](const ApplicationEntry& entry) {
    if (!entry.app->isTerminated()) return false;
    largest = std::max(largest, entry.size.value_or(0));
    return true;
  });
  if (largest >= sizeOfAnAppToTerminateImmediatelly()) return startPurgeImmediately();
  if (largest >= sizeOfAnAppToTerminateAfterDelay()) startPurgeWithDelay();
}

void ProcessTracker::startPurgeWithDelay() {
  if (m_timerPurge.isPending()) return;
  m_timerPurge.start(delayToPurgeAfterQuitingFromSmallApp(), [this] { performDelayedPurge(); });
}

void ProcessTracker::performDelayedPurge() {
  m_clock.callAfter(std::chrono::milliseconds(0), &m_context, [this] { startPurgeImmediately(); });
}

void ProcessTracker::stopDelayedPurge() {
  m_timerPurge.cancel();
}

void ProcessTracker::startPurgeImmediately() {
  stopDelayedPurge();
  m_notifications.post(HugeProcessTerminatedNotificationName());
}

}  // namespace halvard
