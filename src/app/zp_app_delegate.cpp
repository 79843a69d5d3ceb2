#include "app/zp_app_delegate.h"

#include "app/main_interface.h"
#include "core/notification_center.h"

namespace halvard {

ZPAppDelegate::ZPAppDelegate(NotificationCenter& notifications) : m_notifications(notifications) {}

void ZPAppDelegate::applicationDidFinishLaunching(const QStringList& arguments) {
  if (arguments.contains(MainInterface::kShowWindowAfterStart)) {
    m_notifications.post(MainInterface::kShowWindowAfterStart);
  }
}

void ZPAppDelegate::applicationShouldHandleReopen() {
  MainInterface::ShowMainWindowAndMakeActive(m_notifications);
}

}  // namespace halvard
