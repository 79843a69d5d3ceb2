// The part of AdBasedOnSpotlightVC that asks for access.
#include <algorithm>
#include <utility>

#include "files_searcher/ui/ad_based_on_spotlight_vc.h"

namespace halvard {

bool AdBasedOnSpotlightVC::isAccessGranted() const {
  return isReviewMode() ? m_services.access.isUserFolderAccessible() : m_services.access.isDiskAccessible();
}

void AdBasedOnSpotlightVC::showDetailedDiskUsagePressed() {
  m_services.notifications.post(showDetailedDiskUsagePressedNotificationName());
}

void AdBasedOnSpotlightVC::showDetailedDiskUsagePressedBlueButton() {
  const auto show = [this] {
    Q_ASSERT(isAccessGranted());
    m_pShowDetailedDiskUsageBlueButton->setEnabled(false);
    if (m_compact) {
      showDetailedDiskUsagePressed();
    } else {
      changeToCompactMode(false, false);
      completionChangeToCompactMode(false);
    }
  };
  if (isAccessGranted()) return show();
  showOpenPanelToGrantAccessCompletion([show](bool granted) {
    if (granted) show();
  });
}

void AdBasedOnSpotlightVC::showOpenPanelToGrantAccessCompletion(std::function<void(bool granted)> completion) {
  const bool review = isReviewMode();
  const QByteArray expected = review ? m_services.access.getUserFolderPath() : QByteArray("/");
  const QString message = review ? tr("Press the Confirm button to grant access to the Home folder")
                                 : tr("Please grant access to the Startup Disk to analyze");
  const QString button = review ? tr("Confirm") : tr("Grant Access");
  const auto chosen = [this, review, expected,
                       completion = std::move(completion)](const std::optional<std::vector<QByteArray>>& folders) {
    if (!folders) return completion(false);
    if (m_services.removeMistakenFolders) m_services.removeMistakenFolders();
    if (std::find(folders->begin(), folders->end(), expected) == folders->end())
      return wrongFolderHasBeenSelectedCompletion(completion);
    if (review) {
      m_services.access.saveAccessToUserFolder();
    } else {
      m_services.access.saveAccessToDisk();
    }
    // What could not be recorded is not granted.
    completion(isAccessGranted());
  };
  m_services.panels.chooseFolder(m_view, message, button, expected, chosen);
}

void AdBasedOnSpotlightVC::wrongFolderHasBeenSelectedCompletion(std::function<void(bool granted)> completion) {
  const bool review = isReviewMode();
  const QString message =
      review ? tr("Please grant access to the Home folder") : tr("Please grant access to the Startup Disk");
  const QString information = review ? tr("Select the Home folder and press the Confirm button.")
                                     : tr("Select the Startup Disk and press the Grant Access button.");
  m_services.panels.showAlert(m_view, message, information, [this, completion = std::move(completion)] {
    showOpenPanelToGrantAccessCompletion(completion);
  });
}

}  // namespace halvard
