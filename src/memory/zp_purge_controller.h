#pragma once

#include <QObject>
#include <QString>
#include <chrono>
#include <thread>
#include <tuple>

#include "memory/memory_snapshot.h"
#include "memory/purge_controller_view.h"
#include "memory/purge_ledger.h"
#include "memory/purge_manager.h"
#include "preferences/preferences_model.h"

namespace halvard {

class Clock;
class MacOSVersion;
class NotificationCenter;
class ScriptRunner;
class ShowcaseDefaults;
class UserNotificationCenter;

/// Tells how busy the processors have been since it was last asked.
class CpuUsageSource {
 public:
  virtual ~CpuUsageSource() = default;
  /// 0 to 1, or not a number when no time has passed.
  virtual float getCPUUsage() = 0;
};

/// Posts ZPPurgeController::kHugeProcessTerminated on the notification centre while it runs.
class LargeApplicationWatch {
 public:
  virtual ~LargeApplicationWatch() = default;
  virtual void startTrackingHugeProcesses() = 0;
  virtual void stopTrackingHugeProcesses() = 0;
};

/// Everything the controller works with. All of it outlives the controller.
struct PurgeControllerServices {
  HostStatistics& hostStatistics;
  PurgeManager& purgeManager;
  PreferencesModel& preferences;
  ShowcaseDefaults& defaults;
  Clock& clock;
  NotificationCenter& notifications;
  UserNotificationCenter& userNotifications;
  CpuUsageSource& cpuUsage;
  LargeApplicationWatch& largeApplications;
  ScriptRunner& scripts;
  const MacOSVersion& version;
  /// The application's display name.
  QString displayName;
  /// The legacy purge script of the resources.
  QString purgeScriptPath;
};

/// Keeps the memory figures current with a one-second refresh round, runs the purge and decides when one is due.
/// Shows everything through one view. Main thread.
class ZPPurgeController final : public QObject,
                                public PurgeManagerDelegate,
                                public PreferencesModelShouldCleanupMemoryIfLargeAppQuitsNotifier {
  Q_OBJECT

 public:
  /// Who asks for a purge. Only one from the button may be followed by the offer to start at login.
  enum class Sender { CleanButton, Controller, None };

  inline static const QString kHugeProcessTerminated = QStringLiteral("HugeProcessTerminated");
  /// A gain above this many bytes invites the rate dialog.
  static constexpr ByteCount kRateDialogThreshold = 524'288'000;
  /// A gain by the button above this many bytes offers start at login.
  static constexpr ByteCount kAutostartThreshold = 104'857'600;
  /// A gain above this many bytes is announced; decimal on purpose.
  static constexpr ByteCount kNotificationThreshold = 500'000'000;

  ZPPurgeController(const PurgeControllerServices& services, PurgeControllerView& view);

  /// First figures and state: page size, time of the last purge = now, an empty last-cleaned label.
  void initValues();
  /// Starts the large-application rule if the preference is on, and follows the preference.
  void startLargeApplicationRule();
  /// Schedules the first refresh round, which repeats every second.
  void startRefreshChain();

  /// Starts a purge. Does nothing while one runs.
  void onFreeMemory(Sender sender);

  /// One refresh round. Reads the counters unless it is one of the chain, nobody watches, and nothing has moved since
  /// the round before. With `repeat` the next one follows a second later. A failed counter read ends the chain.
  void checkMemory(bool repeat);

  /// Reads the counters and fills in what they come to, for whoever wants to know now. Does nothing while a purge runs.
  void readAnew();

  /// Refills the texts of the panel and the status item from the reading at hand.
  void fillInfoPanel();
  /// Refills the text that tells of the last purge; it names purges of today only.
  void updateLastFreeLabel();

  bool isPurging() const { return m_bPurging; }
  const MemorySnapshot& snapshot() const { return m_snapshot; }
  /// Bytes gained by the last successful purge; 0 before the first.
  ByteCount lastPurgedSize() const { return m_lLastPurgedSize; }
  /// Refresh rounds since the start or the last purge that gained memory.
  std::int64_t ticksFromLastFree() const { return m_lTicksFromLastFree; }

  void onPurgeManagerStartPurge() override {}
  void onPurgeManagerEndPurge() override {}
  void onPurgeManagerPurgingProgress(float progress) override;
  void preferencesModelShouldCleanupMemoryIfLargeAppQuitsValueChanged(PreferencesModel& model) override;

 Q_SIGNALS:
  void purgeStarted();
  /// 0 to 1.
  void purgeProgressed(double progress);
  /// After everything that follows a purge has been done.
  void purgeFinished(const halvard::PurgeReport& report);

 private:
  bool isReadingAtHand();
  void checkAutoPurge();
  void hugeProcessTerminated();
  void startTaskPurge();
  /// Background thread.
  void onTaskPurge();
  void purgeInProcess();
  /// Any thread.
  void notifyPurgedSoon(bool success);
  void notifyPurged(bool success);
  void recordGain(ByteCount freeBefore, ByteCount freeAfter);
  void showIfNeededNotificationWithCleanSize(ByteCount size);
  PurgeReport makeReport(bool success) const;
  QString timeDescriptionIfSameDay() const;

  PurgeControllerServices m_services;
  PurgeControllerView& m_view;
  MemorySnapshot m_snapshot;
  bool m_bIsOSXMavericksOrHigher;
  bool m_bPurging = false;
  bool m_bChecked = false;
  bool m_handPurge = false;
  ByteCount m_lLastPurgedSize = 0;
  double m_tLastFreeTime = 0;  // seconds since 2001-01-01 UTC
  /// The minute in which the label was filled last, and the time and size of the cleaning that it named.
  using LastFreeLabel = std::tuple<std::chrono::sys_time<std::chrono::minutes>, double, ByteCount>;
  LastFreeLabel m_lastFreeLabel;
  std::int64_t m_lTicksFromLastFree = 0;
  /// What a purge is measured against.
  LedgerReading m_before;
  // Last, so that it is joined before anything it uses goes.
  std::jthread m_taskThread;
};

}  // namespace halvard
