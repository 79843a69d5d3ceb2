// The part of ZPPurgeController that acts without the user: the refresh round and the rules for a purge by itself.
#include "core/clock.h"
#include "memory/zp_purge_controller.h"

namespace halvard {

using namespace std::chrono_literals;

void ZPPurgeController::checkMemory(bool repeat) {
  if (!m_bPurging) {
    if (!(repeat && isReadingAtHand()) && m_snapshot.updateMemoryStatictics() != HostStatistics::kSuccess) return;
    fillInfoPanel();
    m_view.updateStatusItem(m_snapshot);
    updateLastFreeLabel();
    m_bChecked = true;
    checkAutoPurge();
  }
  if (!repeat) return;
  ++m_lTicksFromLastFree;
  m_services.clock.callAfter(1s, this, [this] { checkMemory(true); });
}

bool ZPPurgeController::isReadingAtHand() {
  return m_bChecked && !m_view.isWatched() && m_services.hostStatistics.isUnmoved();
}

void ZPPurgeController::readAnew() {
  if (!m_bPurging && m_snapshot.updateMemoryStatictics() == HostStatistics::kSuccess) fillInfoPanel();
}

void ZPPurgeController::fillInfoPanel() {
  m_view.fillInfoPanel(m_snapshot);
}

void ZPPurgeController::checkAutoPurge() {
  PreferencesModel& preferences = m_services.preferences;
  if (!preferences.autoFreeUpMemory().value()) return;
  const double frequency = preferences.frequencyForToAutofree().value();
  if (frequency <= 0) return;
  if (static_cast<double>(m_lTicksFromLastFree) < frequency) return;
  if (m_snapshot.freeFraction() >= 1 - preferences.memoryUsageLimitToAutofree().value()) return;
  // Written so that a usage that is not a number starts nothing.
  const bool isIdleEnough =
      preferences.cpuUsageLimitToAutofree().value() > static_cast<double>(m_services.cpuUsage.getCPUUsage());
  if (!isIdleEnough) return;
  m_services.clock.callAfter(0ms, this, [this] { onFreeMemory(Sender::Controller); });
}

void ZPPurgeController::hugeProcessTerminated() {
  onFreeMemory(Sender::None);
}

void ZPPurgeController::preferencesModelShouldCleanupMemoryIfLargeAppQuitsValueChanged(PreferencesModel& model) {
  if (model.shouldCleanupMemoryIfLargeAppQuits().value()) {
    m_services.largeApplications.startTrackingHugeProcesses();
  } else {
    m_services.largeApplications.stopTrackingHugeProcesses();
  }
}

}  // namespace halvard
