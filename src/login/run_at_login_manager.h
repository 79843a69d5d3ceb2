#pragma once

#include <QString>
#include <functional>
#include <optional>
#include <vector>

#include "login/login_item.h"
#include "platform/ports/distributed_notification_center.h"
#include "platform/ports/login_item_service.h"
#include "preferences/preferences_model.h"

namespace halvard {

/// Start at login by way of a companion program, the launcher, which the platform starts and which starts the
/// application. Whether it is on is asked of the platform each time and never stored. Main thread; one for the process.
class RunAtLoginManager : public StartAtLoginSwitch {
 public:
  /// The references must outlive this object. `mainBundleIdentifier` is that of the application, `mainProgram` its
  /// absolute path with links resolved.
  RunAtLoginManager(LoginItemService& service, DistributedNotificationCenter& notifications,
                    QString mainBundleIdentifier, QString mainProgram);

  bool isEnabledToAutoLaunchWithHelperApp() const;
  bool isAppWithBundleIdentifierEnabledForAutolaunch(const QString& identifier) const;
  /// The jobs that count as login items, in the platform's order, without those of the platform itself.
  std::vector<LoginItem> loadSandboxedLoginItems() const;

  /// `failedBlock` may be empty; it runs once when the platform refuses.
  void setIsEnabledForHelperApp(bool enabled, const std::function<void()>& failedBlock) override;
  void setIsEnabled(bool enabled, const QString& forHelperAppBundleIdentifier,
                    const std::function<void()>& failedBlock);

  /// Whether the launcher runs, and so has probably started this run. With `terminate` a running launcher is told to
  /// quit.
  bool checkWasAutolaunchedWithHelperApp_AutoTerminateHelper(bool terminate);
  /// The answer of the check; false before.
  bool wasAutolaunchedWithHelperApp() const { return m_wasAutolaunchedWithHelperApp; }

  // The older mechanism, an entry for the application itself in the plain list; for migration only.
  bool isLaunchAtStartup() const;
  /// The last entry of the application.
  std::optional<SessionLoginItem> itemRefInLoginItems() const;
  void addAppToStartup();
  /// Removes the application's entry, or adds one at the end.
  void toggleLaunchAtLoginValue_WithoutHelperApp();

 protected:
  virtual QString _launcherAppBundleIdentifier() const;

 private:
  LoginItemService& m_service;
  DistributedNotificationCenter& m_notifications;
  const QString m_mainBundleIdentifier;
  const QString m_mainProgram;
  bool m_wasAutolaunchedWithHelperApp = false;
};

/// The one that is used.
class HalvardRunAtLoginManager : public RunAtLoginManager {
 public:
  using RunAtLoginManager::RunAtLoginManager;

 protected:
  QString _launcherAppBundleIdentifier() const override;
};

}  // namespace halvard
