#pragma once

#include <memory>

#include "app/disk_section.h"
#include "app/lifecycle_services.h"
#include "app/main_interface.h"
#include "app/promotion.h"
#include "app/zp_app_delegate.h"
#include "branding/branding.h"
#include "core/macos_version.h"
#include "core/notification_center.h"
#include "login/run_at_login_manager.h"
#include "memory/purge_journal.h"
#include "menubar/panel_parts.h"
#include "preferences/preferences_model.h"
#include "preferences/showcase_defaults.h"
#include "process_manager/cpu_info_manager.h"
#include "process_manager/process_tracker.h"
#include "process_manager/processes_manager.h"

namespace halvard {

class DistributedNotificationCenter;

/// The machine and the desktop, as adapters. All of it outlives the application.
struct Platform {
  Clock& clock;
  HostStatistics& hostStatistics;
  /// For the purge alone: its background threads read it.
  HostStatistics& purgeHostStatistics;
  ProcessorTicks& processorTicks;
  ProcessInformation& processInformation;
  PurgeableMemory& purgeableMemory;
  ProcessTable& processTable;
  RunningApplications& runningApplications;
  DefaultsStore& defaultsStore;
  StatusBarItem& statusItem;
  WindowHints& windowHints;
  Appearance& appearance;
  UserNotificationCenter& userNotifications;
  DistributedNotificationCenter& distributedNotifications;
  ControlServer& controlServer;
  ScriptRunner& scripts;
  LoginItemService& loginItems;
  PromotionPlatform promotion;
  DiskPlatform disk;
  LifecyclePlatform lifecycle;
};

/// The composition root: makes every service once, in the order of the members, and hands it on by reference.
/// Main thread.
class Application : public QObject {
  Q_OBJECT

 public:
  /// The variable that tells a relaunched program which image it was copied from.
  static constexpr const char* kMovedFrom = "HALVARD_MOVED_FROM";

  explicit Application(const Platform& platform);
  ~Application() override;

  /// Does what follows a launch. `arguments` without the program's path. False when this copy must end: another runs.
  bool start(const QStringList& arguments);
  /// Ends the program, unless something is to be kept from being lost.
  void quit();

  MainInterface& interface() { return *m_interface; }
  NotificationCenter& notifications() { return m_notifications; }
  ShowcaseDefaults& defaults() { return m_defaults; }
  DiskSection& diskSection() { return m_diskSection; }

 private:
  class TrackerWatch;
  class CpuUsage;
  class Parts;
  class Launch;

  void connectControlServer();
  void makePromotion();

  Platform m_platform;
  MacOSVersion m_version;
  NotificationCenter m_notifications;
  ShowcaseDefaults m_defaults;
  HalvardRunAtLoginManager m_startAtLogin;
  PreferencesModel m_preferences;
  CPUInfoManager m_cpuInfo;
  CPUInfoManager m_reportedCpuInfo;
  std::unique_ptr<CpuUsage> m_cpuUsage;
  std::unique_ptr<CpuUsage> m_reportedCpuUsage;
  ProcessesManager m_processes;
  ProcessTracker m_tracker;
  std::unique_ptr<TrackerWatch> m_largeApplications;
  PurgeManager m_purgeManager;
  Branding m_branding;
  DiskSection m_diskSection;
  std::unique_ptr<Parts> m_parts;
  std::unique_ptr<Promotion> m_promotion;
  std::unique_ptr<MainInterface> m_interface;
  PurgeJournal m_journal;
  LifecycleServices m_lifecycle;
  std::unique_ptr<Launch> m_launch;
  ZPAppDelegate m_delegate;
};

}  // namespace halvard
