#pragma once

#include <QString>
#include <QUrl>
#include <functional>
#include <memory>
#include <optional>

#include "branding/branding.h"
#include "files_searcher/copy_applications_task.h"
#include "files_searcher/start_scanning_in_launched_app_manager.h"
#include "platform/ports/running_applications.h"
#include "platform/ports/workspace.h"

namespace halvard {

/// Opens the tool that deals with a figure, or offers it. The maker's own tool comes first, then the others that do the
/// same job. Main thread.
class SiblingTools {
 public:
  /// What a button says about the tool of a type.
  struct Offer {
    QString name;
    /// A themed icon's name or an image's path; may be empty.
    QString icon;
    /// "Open" or "Get".
    bool isInstalled = false;
    /// False: neither installed nor to be had anywhere; pressing the button would do nothing.
    bool isAvailable = false;
  };
  struct Services {
    const Branding& branding;
    Workspace& workspace;
    const CopyApplicationsTask& shippedTools;
    StartScanningInLaunchedAppManager& startScanning;
    /// The running application of an identifier; null when it does not run.
    std::function<std::shared_ptr<RunningApplication>(const QString& identifier)> runningApplication;
    /// Reports that a tool was offered, for the usage events; may be empty.
    std::function<void(SiblingApp type)> offered;
  };

  /// What `services` refers to must outlive this object.
  explicit SiblingTools(Services services) : m_services(std::move(services)) {}

  Offer offerForType(SiblingApp type) const;

  /// Activates it when it runs, launches it when it is installed, and opens the place where it is to be had otherwise.
  void openOrGet(SiblingApp type);

  /// The maker's page with the campaign's keys, else a software centre's address; empty when there is none.
  QUrl getAdvertisementURL(SiblingApp type) const;

 private:
  const SiblingTool* toolOf(SiblingApp type) const;
  std::vector<const Tool*> candidates(SiblingApp type) const;
  std::shared_ptr<RunningApplication> findRunningAppForBundleIDs(const Tool& tool) const;
  std::optional<QString> findInstalledIdentifier(const Tool& tool) const;

  const Services m_services;
};

}  // namespace halvard
