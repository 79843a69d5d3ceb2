#include "app/zp_app_delegate.h"

#include "app/main_interface.h"
#include "core/notification_center.h"
#include "login/run_at_login_manager.h"

#include <utility>

namespace halvard {

ZPAppDelegate::ZPAppDelegate(NotificationCenter& notifications, RunAtLoginManager& startAtLogin)
    : m_notifications(notifications), m_startAtLogin(startAtLogin) {}

void ZPAppDelegate::applicationDidFinishLaunching(const QStringList& arguments) {
  m_startAtLogin.checkWasAutolaunchedWithHelperApp_AutoTerminateHelper(true);
  if (arguments.contains(MainInterface::kShowWindowAfterStart)) {
    m_notifications.post(MainInterface::kShowWindowAfterStart);
  }
}

void ZPAppDelegate::applicationShouldHandleReopen() {
  MainInterface::ShowMainWindowAndMakeActive(m_notifications);
}

void ZPAppDelegate::applicationDidBecomeActive() {
  const bool isFirst = !std::exchange(m_wasActive, true);
  if (isFirst && m_startAtLogin.wasAutolaunchedWithHelperApp()) return;
  MainInterface::ShowMainWindowAndMakeActive(m_notifications);
}

}  // namespace halvard
