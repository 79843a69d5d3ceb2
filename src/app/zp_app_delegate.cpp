#include "app/zp_app_delegate.h"

#include <utility>

#include "app/launch_steps.h"
#include "app/main_interface.h"
#include "core/notification_center.h"
#include "lifecycle/document_store.h"
#include "lifecycle/move_to_applications.h"
#include "lifecycle/own_bundle.h"
#include "lifecycle/single_instance.h"
#include "login/run_at_login_manager.h"

namespace halvard {

ZPAppDelegate::ZPAppDelegate(AppDelegateServices services) : m_services(std::move(services)) {}

bool ZPAppDelegate::applicationDidFinishLaunching(const QStringList& arguments) {
  m_services.steps.forceLightAppearance();
  // Crash capture is on already: it starts before there is anything that could crash.
  m_services.startAtLogin.checkWasAutolaunchedWithHelperApp_AutoTerminateHelper(true);
  if (m_services.singleInstance.crashTheAppIfCopyIsAlreadyLaunched()) return false;
  // Only now: a second copy never shows a second status item.
  m_services.steps.awakeInterface();
  if (m_services.isSuite) {
    finishLaunching(arguments);
  } else {
    m_asksToMove = true;
    m_services.moveOffer.copyAppToApplications(
        [this, arguments](const std::optional<QString>& newPath) { moveOfferAnswered(newPath, arguments); });
  }
  return true;
}

void ZPAppDelegate::moveOfferAnswered(const std::optional<QString>& newPath, const QStringList& arguments) {
  m_asksToMove = false;
  if (newPath) return relaunch(*newPath);
  finishLaunching(arguments);
  if (m_wasActive && !m_services.startAtLogin.wasAutolaunchedWithHelperApp()) applicationDidBecomeActive();
}

/// The new copy is to find nobody who holds its place. Where it cannot be started, this one stays as it is.
void ZPAppDelegate::relaunch(const QString& bundle) {
  m_services.singleInstance.giveWay();
  if (m_services.launch(programOfBundle(bundle)) || !m_services.singleInstance.resume()) m_services.steps.terminate();
}

void ZPAppDelegate::finishLaunching(const QStringList& arguments) {
  m_services.steps.copyApplications();
  m_services.steps.setSharingButton();
  m_services.steps.startUpdater();
  m_services.steps.startPromotionManager();
  if (arguments.contains(MainInterface::kShowWindowAfterStart)) {
    m_services.notifications.post(MainInterface::kShowWindowAfterStart);
  }
  m_services.steps.removeMistakenFolders();
}

bool ZPAppDelegate::applicationShouldHandleReopen() {
  MainInterface::ShowMainWindowAndMakeActive(m_services.notifications);
  return true;
}

void ZPAppDelegate::applicationDidBecomeActive() {
  const bool isFirst = !std::exchange(m_wasActive, true);
  if (isFirst && m_services.startAtLogin.wasAutolaunchedWithHelperApp()) return;
  // The panel would take the focus from the question; it follows the answer.
  if (m_asksToMove) return;
  MainInterface::ShowMainWindowAndMakeActive(m_services.notifications);
}

bool ZPAppDelegate::applicationShouldTerminate() {
  return m_services.documents.applicationShouldTerminate();
}

}  // namespace halvard
