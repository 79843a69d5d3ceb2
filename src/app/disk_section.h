#pragma once

#include <QObject>
#include <QPointer>
#include <memory>

#include "app/running_tools.h"
#include "files_searcher/disk_access_restore_manager.h"
#include "files_searcher/searcher_manager.h"
#include "files_searcher/sibling_tools.h"
#include "files_searcher/ui/ad_based_on_spotlight_vc.h"
#include "files_searcher/ui/grant_panels.h"
#include "menubar/panel_parts.h"
#include "platform/ports/search_mounts.h"

namespace halvard {

class PanelWindow;
class PreferencesModel;

/// The machine's files, as adapters. All of it outlives the application.
struct DiskPlatform {
  const FolderReader& reader;
  const ApplicationCatalog& catalog;
  const LastUsedDates& lastUsedDates;
  const BackgroundPriority& priority;
  const StandardFolders& folders;
  const FolderAccess& access;
  FileMetadataQueryService& queries;
  Workspace& workspace;
};

/// The disk search of the program: makes its services, its section of the panel, and joins the section with the panel.
/// Main thread.
class DiskSection : public QObject {
  Q_OBJECT

 public:
  /// All outlives the section.
  struct Services {
    const DiskPlatform& platform;
    Clock& clock;
    ShowcaseDefaults& defaults;
    PreferencesModel& preferences;
    NotificationCenter& notifications;
    DistributedNotificationCenter& distributedNotifications;
    ProcessesManager& processes;
    const Branding& branding;
    /// The program's name, for its folder of application support.
    QString displayName;
    /// Only the home folder is asked for; may be empty: never.
    std::function<bool()> isReviewMode;
  };

  explicit DiskSection(Services services);

  std::unique_ptr<PanelDiskUsage> makeDiskUsage(QWidget* parent);
  /// True when the disk is to be scanned at start-up and its owner has granted access.
  bool startsWithDiskUsage() const;

  /// From now on the section's wish for its other mode reaches the panel, a search ends when the panel closes, and goes
  /// on when it opens again. `panel` is the one that the parts are made for.
  void join(PanelWindow& panel);

  /// Unpacks the tools that ship with the program.
  void copyApplications() const { m_shippedTools.copyApplications(); }
  /// Removes what the uninstaller tool leaves in a wrong place.
  void removeMistakenFolders() const;

  /// Null while the panel has no such section.
  AdBasedOnSpotlightVC* controller() const { return m_controller; }
  DiskAccessRestoreManager& access() { return m_access; }

 Q_SIGNALS:
  /// A tool that is not installed was offered.
  void toolOffered(halvard::SiblingApp type);

 private:
  class Part;

  AdBasedOnSpotlightVC::Services controllerServices();

  const Services m_services;
  PathsGenerator m_paths;
  BundleExcludeList m_excludeList;
  SearcherManager m_searchers;
  DiskAccessRestoreManager m_access;
  StartScanningInLaunchedAppManager m_startScanning;
  CopyApplicationsTask m_shippedTools;
  RunningTools m_runningTools;
  SiblingTools m_tools;
  QtGrantPanels m_panels;
  QPointer<AdBasedOnSpotlightVC> m_controller;
};

}  // namespace halvard
