#include "login/run_at_login_manager.h"

#include <algorithm>
#include <utility>

namespace halvard {

RunAtLoginManager::RunAtLoginManager(LoginItemService& service, DistributedNotificationCenter& notifications,
                                     QString mainBundleIdentifier, QString mainProgram)
    : m_service(service),
      m_notifications(notifications),
      m_mainBundleIdentifier(std::move(mainBundleIdentifier)),
      m_mainProgram(std::move(mainProgram)) {}

bool RunAtLoginManager::isEnabledToAutoLaunchWithHelperApp() const {
  return isAppWithBundleIdentifierEnabledForAutolaunch(_launcherAppBundleIdentifier());
}

bool RunAtLoginManager::isAppWithBundleIdentifierEnabledForAutolaunch(const QString& identifier) const {
  const std::vector<LoginItem> items = loadSandboxedLoginItems();
  return std::any_of(items.begin(), items.end(),
                     [&](const LoginItem& item) { return item.bundleIdentifier == identifier; });
}

std::vector<LoginItem> RunAtLoginManager::loadSandboxedLoginItems() const {
  std::vector<LoginItem> items;
  for (const JobDescription& job : m_service.copyAllJobDictionaries()) {
    const auto label = job.find(QStringLiteral("Label"));
    const QString* text = label == job.end() ? nullptr : label->second.as<QString>();
    if (text && text->startsWith(QLatin1StringView("com.apple."))) continue;
    if (LoginItem::jobIsSandboxed(job)) items.push_back(LoginItem::itemFromServiceManagementDictionary(job, m_service));
  }
  return items;
}

void RunAtLoginManager::setIsEnabledForHelperApp(bool enabled, const std::function<void()>& failedBlock) {
  setIsEnabled(enabled, _launcherAppBundleIdentifier(), failedBlock);
}

void RunAtLoginManager::setIsEnabled(bool enabled, const QString& forHelperAppBundleIdentifier,
                                     const std::function<void()>& failedBlock) {
  if (!m_service.setEnabled(forHelperAppBundleIdentifier, enabled) && failedBlock) failedBlock();
}

bool RunAtLoginManager::checkWasAutolaunchedWithHelperApp_AutoTerminateHelper(bool terminate) {
  m_wasAutolaunchedWithHelperApp = m_service.isJobRunning(_launcherAppBundleIdentifier());
  if (terminate && m_wasAutolaunchedWithHelperApp) {
    m_notifications.post(QStringLiteral("TERMINATEHELPER"), m_mainBundleIdentifier);
  }
  return m_wasAutolaunchedWithHelperApp;
}

bool RunAtLoginManager::isLaunchAtStartup() const {
  return itemRefInLoginItems().has_value();
}

std::optional<SessionLoginItem> RunAtLoginManager::itemRefInLoginItems() const {
  std::optional<SessionLoginItem> last;
  for (SessionLoginItem& item : m_service.sessionLoginItems()) {
    if (item.location == m_mainProgram) last = std::move(item);
  }
  return last;
}

void RunAtLoginManager::addAppToStartup() {
  m_service.appendSessionLoginItem(m_mainProgram, false);
}

void RunAtLoginManager::toggleLaunchAtLoginValue_WithoutHelperApp() {
  if (const std::optional<SessionLoginItem> item = itemRefInLoginItems()) {
    m_service.removeSessionLoginItem(item->reference);
  } else {
    addAppToStartup();
  }
}

QString RunAtLoginManager::_launcherAppBundleIdentifier() const {
  return m_mainBundleIdentifier + QStringLiteral(".launcher");
}

QString HalvardRunAtLoginManager::_launcherAppBundleIdentifier() const {
  return RunAtLoginManager::_launcherAppBundleIdentifier();
}

}  // namespace halvard
