#pragma once

#include "core/macos_version.h"
#include "core/notification_center.h"
#include "memory/purge_journal.h"
#include "memory/zp_purge_controller.h"
#include "platform/ports/user_notification_center.h"
#include "preferences/preferences_model.h"
#include "preferences/showcase_defaults.h"
#include "process_manager/cpu_info_manager.h"

namespace halvard {

/// The machine as the commands see it. All of it outlives them.
struct CliServices {
  HostStatistics& hostStatistics;
  /// For the purge alone: its background threads read it.
  HostStatistics& purgeHostStatistics;
  ProcessorTicks& processorTicks;
  ProcessInformation& processInformation;
  PurgeableMemory& purgeableMemory;
  DefaultsStore& store;
  ScriptRunner& scripts;
  Clock& clock;
  QString applicationVersion;
  /// False while another command cleans.
  std::function<bool()> isAlone = {};
};

/// The memory side of the program without its windows, for commands that find no running program: the same controller,
/// the same settings. Nothing is announced: the command's own output tells what happened. Main thread.
class LocalProgram {
 public:
  LocalProgram(const CliServices& services, PurgeControllerView& view);

  /// Reads the counters; false when the machine does not give them.
  bool refresh();
  /// The status record as of the latest refresh. The processor figure is the share since the call before.
  QJsonObject status();
  ZPPurgeController& controller() { return m_controller; }
  PurgeJournal& journal() { return m_journal; }

 private:
  class Silence : public UserNotificationCenter {
   public:
    void deliver(const UserNotification&) override {}
  };
  class NoLogin : public StartAtLoginSwitch {
   public:
    void setIsEnabledForHelperApp(bool, const std::function<void()>&) override {}
  };
  class NoWatch : public LargeApplicationWatch {
   public:
    void startTrackingHugeProcesses() override {}
    void stopTrackingHugeProcesses() override {}
  };
  class Cpu : public CpuUsageSource {
   public:
    explicit Cpu(CPUInfoManager& manager) : m_manager(manager) {}
    float getCPUUsage() override { return m_manager.getCPUUsage(); }

   private:
    CPUInfoManager& m_manager;
  };

  MacOSVersion m_version;
  NotificationCenter m_notifications;
  Silence m_silence;
  NoLogin m_noLogin;
  NoWatch m_noWatch;
  CPUInfoManager m_cpuInfo;
  Cpu m_cpu{m_cpuInfo};
  ShowcaseDefaults m_defaults;
  PreferencesModel m_preferences;
  PurgeManager m_purgeManager;
  ZPPurgeController m_controller;
  PurgeJournal m_journal;
  MemorySnapshot m_snapshot;
};

}  // namespace halvard
