#include "app/disk_section.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>

#include "files_searcher/uninstaller_mistaken_folders_remover.h"
#include "menubar/panel_window.h"
#include "preferences/preferences_model.h"

namespace halvard {
namespace {

DiskSearchServices searchServices(const DiskSection::Services& services, const PathsGenerator& paths,
                                  const BundleExcludeList& excludeList) {
  const DiskPlatform& disk = services.platform;
  return {services.clock,     disk.reader,   disk.catalog,
          disk.lastUsedDates, disk.priority, paths,
          excludeList,        disk.queries,  isCalculationLogWanted(services.defaults.store())};
}

/// The files that are installed with the program; archives cannot be read out of the executable.
QString resourcesFolder() {
  return QDir::cleanPath(QCoreApplication::applicationDirPath() + QStringLiteral("/../share/halvard"));
}

std::optional<QString> supportFolder(const DiskSection::Services& services) {
  const auto parent = services.platform.folders.applicationSupport();
  if (!parent) return {};
  return QFile::decodeName(*parent) + QLatin1Char('/') + services.displayName;
}

}  // namespace

/// The section as the panel knows it.
class DiskSection::Part : public PanelDiskUsage {
 public:
  Part(AdBasedOnSpotlightVC::Services services, QWidget* parent) : m_controller(std::move(services), parent) {}

  QWidget* view() override { return m_controller.view(); }
  float getViewHeightForMode(Mode mode) override {
    return m_controller.getViewHeightForMode(mode == Detailed ? AdBasedOnSpotlightVC::Detailed
                                                              : AdBasedOnSpotlightVC::Compact);
  }
  void changeToCompactMode(bool compact, bool animated) override {
    m_controller.changeToCompactMode(compact, animated);
  }
  void completionChangeToCompactMode(bool compact) override { m_controller.completionChangeToCompactMode(compact); }

  AdBasedOnSpotlightVC& controller() { return m_controller; }

 private:
  AdBasedOnSpotlightVC m_controller;
};

DiskSection::DiskSection(Services services)
    : m_services(std::move(services)),
      m_paths(m_services.platform.folders),
      m_searchers(searchServices(m_services, m_paths, m_excludeList), m_services.defaults.store()),
      m_access(m_services.defaults.store(), m_services.platform.access, m_paths),
      m_startScanning(m_services.distributedNotifications, m_services.clock),
      m_shippedTools(resourcesFolder(), supportFolder(m_services), m_services.platform.catalog),
      m_runningTools(m_services.processes),
      m_tools({m_services.branding, m_services.platform.workspace, m_shippedTools, m_startScanning,
               [this](const QString& identifier) { return m_runningTools.find(identifier); },
               [this](SiblingApp type) { Q_EMIT toolOffered(type); }}) {}

AdBasedOnSpotlightVC::Services DiskSection::controllerServices() {
  return {m_searchers,
          m_access,
          m_tools,
          m_services.defaults,
          m_services.notifications,
          m_panels,
          m_services.isReviewMode,
          [this] { removeMistakenFolders(); }};
}

std::unique_ptr<PanelDiskUsage> DiskSection::makeDiskUsage(QWidget* parent) {
  auto part = std::make_unique<Part>(controllerServices(), parent);
  m_controller = &part->controller();
  return part;
}

bool DiskSection::startsWithDiskUsage() const {
  if (!m_services.preferences.scanDiskUsageAtAppStartUp().value()) return false;
  const bool review = m_services.isReviewMode && m_services.isReviewMode();
  return review ? m_access.isUserFolderAccessible() : m_access.isDiskAccessible();
}

void DiskSection::join(PanelWindow& panel) {
  m_services.notifications.addObserver(AdBasedOnSpotlightVC::showDetailedDiskUsagePressedNotificationName(), &panel,
                                       [&panel](const QVariant&) { panel.showDetailedAdNotification(); });
  connect(&panel, &PanelWindow::willClose, this, [this] {
    if (m_controller) m_controller->pauseScanning();
  });
  connect(&panel, &PanelWindow::didShow, this, [this] {
    m_runningTools.refresh();
    if (m_controller) m_controller->resumeScanning();
  });
}

void DiskSection::removeMistakenFolders() const {
  const auto uninstaller = m_services.branding.siblings.find(SiblingApp::Uninstaller);
  if (uninstaller == m_services.branding.siblings.end()) return;
  const Tool& tool = uninstaller->second.own;
  uninstaller_mistaken_folders_remover::removeContainer(m_paths.getHomeDirectory(), tool.name,
                                                        tool.identifiers.value(0));
}

}  // namespace halvard
