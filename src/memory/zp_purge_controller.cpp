#include "memory/zp_purge_controller.h"

#include <QDateTime>
#include <QLocale>
#include <QPointer>
#include <system_error>

#include "core/clock.h"
#include "core/macos_version.h"
#include "core/notification_center.h"
#include "core/size_format.h"
#include "platform/ports/script_runner.h"
#include "platform/ports/user_notification_center.h"
#include "preferences/showcase_defaults.h"

namespace halvard {
namespace {

using namespace std::chrono;
using namespace std::chrono_literals;

constexpr Clock::Instant kReferenceDate = sys_days(year(2001) / January / 1);

double secondsSinceReferenceDate(Clock::Instant instant) {
  return duration<double>(instant - kReferenceDate).count();
}

}  // namespace

ZPPurgeController::ZPPurgeController(const PurgeControllerServices& services, PurgeControllerView& view)
    : m_services(services),
      m_view(view),
      m_snapshot(services.hostStatistics, services.version),
      m_bIsOSXMavericksOrHigher(services.version.is_10_9_orHigher()) {
  m_services.notifications.addObserver(kHugeProcessTerminated, this,
                                       [this](const QVariant&) { hugeProcessTerminated(); });
}

void ZPPurgeController::initValues() {
  m_snapshot.initValues();
  m_bPurging = false;
  m_handPurge = false;
  m_lLastPurgedSize = 0;
  m_lTicksFromLastFree = 0;
  m_tLastFreeTime = secondsSinceReferenceDate(m_services.clock.now());
  updateLastFreeLabel();
}

void ZPPurgeController::startLargeApplicationRule() {
  m_services.preferences.shouldCleanupMemoryIfLargeAppQuitsListener = this;
  if (m_services.preferences.shouldCleanupMemoryIfLargeAppQuits().value()) {
    m_services.largeApplications.startTrackingHugeProcesses();
  }
}

void ZPPurgeController::startRefreshChain() {
  m_services.clock.callAfter(0ms, this, [this] { checkMemory(true); });
}

void ZPPurgeController::onFreeMemory(Sender sender) {
  if (m_bPurging) return;
  if (sender == Sender::CleanButton) m_handPurge = true;
  m_view.beginProgressUpdate();
  m_bPurging = true;
  m_view.setCleanButtonEnabled(false);
  m_view.setCleanButtonTitle(tr("Cleaning..."));
  m_view.showCleaningIcon();
  m_snapshot.updateMemoryStatictics();
  m_before = readLedger(m_snapshot, m_services.hostStatistics, m_services.clock);
  Q_EMIT purgeStarted();
  startTaskPurge();
}

void ZPPurgeController::startTaskPurge() {
  if (m_bIsOSXMavericksOrHigher) m_services.purgeManager.setDelegate(this);
  // Assigning joins the thread of the purge before, which has nothing left to do.
  try {
    m_taskThread = std::jthread([this] { onTaskPurge(); });
  } catch (const std::system_error&) {
    // The manager does not block, and tells why it cannot work either.
    m_bIsOSXMavericksOrHigher ? purgeInProcess() : notifyPurgedSoon(false);
  }
}

void ZPPurgeController::onTaskPurge() {
  m_bIsOSXMavericksOrHigher ? purgeInProcess() : notifyPurgedSoon(m_services.scripts.run(m_services.purgeScriptPath));
}

void ZPPurgeController::purgeInProcess() {
  m_services.purgeManager.purgeWithCompletion([self = QPointer(this)] {
    if (self) self->notifyPurgedSoon(true);
  });
}

void ZPPurgeController::notifyPurgedSoon(bool success) {
  QMetaObject::invokeMethod(
      this, [this, success] { notifyPurged(success); }, Qt::QueuedConnection);
}

void ZPPurgeController::notifyPurged(bool success) {
  m_bPurging = false;
  m_view.setCleanButtonEnabled(true);
  m_view.setCleanButtonTitle(tr("Cleanup"));
  m_view.endProgressUpdate();
  if (success) {
    const ByteCount freeBefore = m_snapshot.calculateFreeSize();
    m_snapshot.updateMemoryStatictics();
    const ByteCount freeAfter = m_snapshot.calculateFreeSize();
    if (freeAfter > freeBefore) recordGain(freeBefore, freeAfter);
  }
  const PurgeReport report = makeReport(success);
  checkMemory(false);
  Q_EMIT purgeFinished(report);
}

void ZPPurgeController::recordGain(ByteCount freeBefore, ByteCount freeAfter) {
  m_lLastPurgedSize = freeAfter - freeBefore;
  m_tLastFreeTime = secondsSinceReferenceDate(m_services.clock.now());
  m_lTicksFromLastFree = 0;
  updateLastFreeLabel();
  m_services.defaults.setCleanedSize(m_services.defaults.cleanedSize() + m_lLastPurgedSize);
  showIfNeededNotificationWithCleanSize(m_lLastPurgedSize);
  if (m_lLastPurgedSize > kRateDialogThreshold) {
    m_services.clock.callAfter(1s, this, [this] { m_view.showRateDialogAutomaticallyIfNeeded(); });
  }
  m_view.onPurgedMemory();
  if (m_handPurge && m_lLastPurgedSize > kAutostartThreshold && m_services.defaults.showAutostartPopupAfterPurge()) {
    m_view.showAutostartPopupWindow(m_lLastPurgedSize);
  }
  m_handPurge = false;
}

PurgeReport ZPPurgeController::makeReport(bool success) const {
  PurgeReport report = ledgerOf(m_before, readLedger(m_snapshot, m_services.hostStatistics, m_services.clock));
  report.success = success;
  report.time = m_services.clock.now();
  if (m_bIsOSXMavericksOrHigher) report.outcome = m_services.purgeManager.lastOutcome();
  return report;
}

void ZPPurgeController::showIfNeededNotificationWithCleanSize(ByteCount size) {
  if (size <= kNotificationThreshold || !m_services.preferences.showNotificationAfreFreeUp().value()) return;
  const QString amount = size_format::stringFromSize(static_cast<std::int64_t>(m_lLastPurgedSize));
  m_services.userNotifications.deliver(
      {m_services.displayName, tr("%1 of RAM have been cleaned just now.").arg(amount), {}, {}});
}

void ZPPurgeController::updateLastFreeLabel() {
  // The text changes with a cleaning and at midnight, which is the end of a minute in every time zone.
  const auto minute = floor<minutes>(m_services.clock.now());
  const LastFreeLabel label(minute, m_tLastFreeTime, m_lLastPurgedSize);
  if (std::exchange(m_lastFreeLabel, label) == label) return;
  const std::int64_t size = m_tLastFreeTime > 0 ? static_cast<std::int64_t>(m_lLastPurgedSize) : -1;
  m_view.fillLastCleanedLabelWithSize(size, timeDescriptionIfSameDay());
}

QString ZPPurgeController::timeDescriptionIfSameDay() const {
  const auto toLocal = [](Clock::Instant instant) {
    return QDateTime::fromMSecsSinceEpoch(duration_cast<milliseconds>(instant.time_since_epoch()).count());
  };
  const auto elapsed = duration_cast<system_clock::duration>(duration<double>(m_tLastFreeTime));
  const QDateTime time = toLocal(kReferenceDate + elapsed);
  if (time.date() != toLocal(m_services.clock.now()).date()) return {};
  return tr("at %1").arg(QLocale().toString(time.time(), QLocale::ShortFormat));
}

void ZPPurgeController::onPurgeManagerPurgingProgress(float progress) {
  m_view.setProgess(progress);
  Q_EMIT purgeProgressed(static_cast<double>(progress));
}

}  // namespace halvard
