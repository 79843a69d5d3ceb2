#pragma once

#include "core/macos_version.h"
#include "core/notification_center.h"
#include "memory/zp_purge_controller.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_host_statistics.h"
#include "platform/fake/fake_purgeable_memory.h"
#include "platform/fake/fake_user_notification_center.h"
#include "platform/ports/script_runner.h"
#include "preferences/showcase_defaults.h"

namespace halvard {

/// What a ZPPurgeController of a made-up machine is built from; the controller itself is each test's own.
struct ControllerParts {
  struct Cpu : CpuUsageSource {
    float getCPUUsage() override { return usage; }
    float usage = 0;
  };

  struct Watch : LargeApplicationWatch {
    void startTrackingHugeProcesses() override { running = true; }
    void stopTrackingHugeProcesses() override { running = false; }
    bool running = false;
  };

  struct NoScripts : ScriptRunner {
    bool run(const QString&) override { return false; }
  };

  struct NoLogin : StartAtLoginSwitch {
    void setIsEnabledForHelperApp(bool, const std::function<void()>&) override {}
  };

  ControllerParts() { managerHost.setPhysicalMemory(2 * PurgeManager::kAllocationBlockSize); }

  PurgeControllerServices services() {
    const QString name = QStringLiteral("Halvard");
    return {host,  manager, preferences, defaults, clock, notifications, userNotifications, cpu,
            watch, scripts, version,     name,     {}};
  }
  void setUsed(ByteCount bytes) { host.setStatistics64({.internal_page_count = bytes / *host.pageSize()}); }

  FakeHostStatistics host;
  FakeHostStatistics managerHost;
  FakePurgeableMemory memory;
  FakeClock clock;
  FakeDefaultsStore store;
  FakeUserNotificationCenter userNotifications;
  NotificationCenter notifications;
  MacOSVersion version;
  NoLogin login;
  Cpu cpu;
  Watch watch;
  NoScripts scripts;
  ShowcaseDefaults defaults{store, clock, QStringLiteral("1.0")};
  PreferencesModel preferences{store, login};
  PurgeManager manager{managerHost, memory, clock};
};

}  // namespace halvard
