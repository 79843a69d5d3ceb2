#include "app/application.h"

#include <QApplication>
#include <QFileInfo>
#include <QProcess>
#include <QStyle>

#include "app/launch_steps.h"
#include "core/application_identity.h"
#include "memory/purge_record.h"
#include "process_manager/ui/process_tableview_controller.h"
#include "promo/ui/viewer_page_window.h"

namespace halvard {

/// The process tracker as the memory controller knows it.
class Application::TrackerWatch : public LargeApplicationWatch {
 public:
  explicit TrackerWatch(ProcessTracker& tracker) : m_tracker(tracker) {}
  void startTrackingHugeProcesses() override { m_tracker.startTrackingHugeProcesses(); }
  void stopTrackingHugeProcesses() override { m_tracker.stopTrackingHugeProcesses(); }

 private:
  ProcessTracker& m_tracker;
};

/// The processor figures as the memory controller knows them.
class Application::CpuUsage : public CpuUsageSource {
 public:
  explicit CpuUsage(CPUInfoManager& manager) : m_manager(manager) {}
  float getCPUUsage() override { return m_manager.getCPUUsage(); }

 private:
  CPUInfoManager& m_manager;
};

/// What other subsystems draw in the panel.
class Application::Parts : public PanelParts {
 public:
  Parts(ProcessesManager& processes, DiskSection& disk) : m_processes(processes), m_disk(disk) {}

  void setPromoManager(const PromoManager& promoManager) { m_promoManager = &promoManager; }

  std::unique_ptr<PanelProcessList> makeProcessList(QWidget* parent) override {
    return std::make_unique<List>(
        m_processes, [this] { return isCanShowAds(); }, parent);
  }
  std::unique_ptr<PanelDiskUsage> makeDiskUsage(QWidget* parent) override { return m_disk.makeDiskUsage(parent); }
  bool isCanShowAds() const override { return m_promoManager && m_promoManager->isCanShowAds(); }
  bool startsWithDiskUsage() const override { return m_disk.startsWithDiskUsage(); }

 private:
  class List : public PanelProcessList {
   public:
    List(ProcessesManager& processes, std::function<bool()> isCanShowAds, QWidget* parent)
        : m_controller(processes, std::move(isCanShowAds), parent) {}
    QWidget* view() override { return m_controller.view(); }
    void updateApps() override { m_controller.updateApps(); }

   private:
    ProcessTableviewController m_controller;
  };

  ProcessesManager& m_processes;
  DiskSection& m_disk;
  const PromoManager* m_promoManager = nullptr;
};

/// The steps of a launch that belong to other subsystems.
class Application::Launch : public LaunchSteps {
 public:
  explicit Launch(Application& application) : m_application(application) {}

  void forceLightAppearance() override {
    if (!m_application.m_version.isMacOSHasVersion(QStringLiteral("10.14"), false, true)) return;
    QApplication::setPalette(QApplication::style()->standardPalette());
  }
  void awakeInterface() override {
    m_application.makePromotion();
    m_application.m_interface->awakeFromNib();
    m_application.m_platform.controlServer.start(*m_application.m_interface);
  }
  void copyApplications() override { m_application.m_diskSection.copyApplications(); }
  void setSharingButton() override { m_application.m_lifecycle.setSharingButton(*m_application.m_interface); }
  void startUpdater() override { m_application.m_lifecycle.startUpdater(*m_application.m_interface); }
  void startPromotionManager() override { m_application.m_promotion->start(); }
  void removeMistakenFolders() override { m_application.m_diskSection.removeMistakenFolders(); }
  void terminate() override { m_application.quit(); }

 private:
  Application& m_application;
};

namespace {

/// Its own surroundings are those of the program, not of the bundle that it leaves.
bool launchBundle(const QString& program) {
  QProcess process;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  for (const char* name : {"APPIMAGE", "APPDIR", "ARGV0", "OWD"})
    environment.remove(QString::fromLatin1(name));
  environment.insert(QString::fromLatin1(Application::kMovedFrom), qEnvironmentVariable("APPIMAGE"));
  process.setProcessEnvironment(environment);
  process.setProgram(program);
  return process.startDetached();
}

QString ownProgram() {
  return QFileInfo(QCoreApplication::applicationFilePath()).canonicalFilePath();
}

}  // namespace

Application::Application(const Platform& platform)
    : m_platform(platform),
      m_defaults(platform.defaultsStore, platform.clock, QCoreApplication::applicationVersion()),
      m_startAtLogin(platform.loginItems, platform.distributedNotifications, application_identity::kBundleIdentifier,
                     ownProgram()),
      m_preferences(platform.defaultsStore, m_startAtLogin),
      m_cpuInfo(platform.processorTicks, platform.processInformation),
      m_reportedCpuInfo(platform.processorTicks, platform.processInformation),
      m_cpuUsage(std::make_unique<CpuUsage>(m_cpuInfo)),
      m_reportedCpuUsage(std::make_unique<CpuUsage>(m_reportedCpuInfo)),
      m_processes(platform.processTable, platform.runningApplications, platform.clock),
      m_tracker(m_processes, m_notifications, platform.clock),
      m_largeApplications(std::make_unique<TrackerWatch>(m_tracker)),
      m_purgeManager(platform.purgeHostStatistics, platform.purgeableMemory, platform.clock),
      m_branding(Branding::load(Branding::systemConfigDirectories())),
      m_diskSection({m_platform.disk,
                     platform.clock,
                     m_defaults,
                     m_preferences,
                     m_notifications,
                     platform.distributedNotifications,
                     m_processes,
                     m_branding,
                     application_identity::kDisplayName,
                     {}}),
      m_parts(std::make_unique<Parts>(m_processes, m_diskSection)),
      m_interface(std::make_unique<MainInterface>(MainInterfaceServices{
          PurgeControllerServices{platform.hostStatistics, m_purgeManager, m_preferences, m_defaults, platform.clock,
                                  m_notifications, platform.userNotifications, *m_cpuUsage, *m_largeApplications,
                                  platform.scripts, m_version, application_identity::kDisplayName,
                                  QStringLiteral(":/purge.sh")},
          platform.statusItem, platform.appearance, *m_parts, platform.windowHints, *m_reportedCpuUsage,
          m_startAtLogin})),
      m_journal(m_interface->controller(), platform.hostStatistics, m_version, platform.defaultsStore, platform.clock),
      m_lifecycle(platform.lifecycle, platform.defaultsStore, platform.clock, platform.distributedNotifications,
                  m_notifications, m_branding),
      m_launch(std::make_unique<Launch>(*this)),
      m_delegate({m_notifications, m_startAtLogin, m_lifecycle.singleInstance, m_lifecycle.moveOffer,
                  m_lifecycle.documents, *m_launch, launchBundle, m_branding.isSuite}) {
  m_reportedCpuInfo.getCPUUsage();  // the first report measures from here, not from the start of the machine
  connectControlServer();
  m_diskSection.join(m_interface->panel());
  connect(m_interface.get(), &MainInterface::quitRequested, this, &Application::quit);
  connect(m_interface.get(), &MainInterface::reopened, &m_delegate, &ZPAppDelegate::applicationShouldHandleReopen);
}

Application::~Application() = default;

bool Application::start(const QStringList& arguments) {
  if (!m_delegate.applicationDidFinishLaunching(arguments)) return false;
  m_delegate.applicationDidBecomeActive();
  return true;
}

void Application::quit() {
  if (m_delegate.applicationShouldTerminate()) QCoreApplication::quit();
}

void Application::makePromotion() {
  m_promotion =
      std::make_unique<Promotion>(PromotionServices{m_platform.promotion, m_platform.clock, m_defaults, m_notifications,
                                                    m_platform.userNotifications, m_branding},
                                  pageWindowMaker());
  m_parts->setPromoManager(m_promotion->manager());
  m_interface->setPromotion(*m_promotion);
  connect(m_promotion.get(), &Promotion::mainWindowRequested, this,
          [this] { MainInterface::ShowMainWindowAndMakeActive(m_notifications); });
  connect(m_promotion.get(), &Promotion::diskUsageRequested, m_interface.get(), &MainInterface::showDiskUsage);
  connect(&m_diskSection, &DiskSection::toolOffered, m_promotion.get(), &Promotion::toolOffered);
}

void Application::connectControlServer() {
  ControlServer& server = m_platform.controlServer;
  ZPPurgeController& controller = m_interface->controller();
  connect(&controller, &ZPPurgeController::purgeProgressed, this,
          [&server](double progress) { server.publishProgress(progress); });
  connect(&controller, &ZPPurgeController::purgeFinished, this,
          [&server](const PurgeReport& report) { server.publishFinished(purgeRecord(report)); });
  connect(&m_journal, &PurgeJournal::rechecked, this,
          [&server](const PurgeReport& report) { server.publishRechecked(purgeRecord(report)); });
  connect(&m_journal, &PurgeJournal::recorded, m_interface.get(), &MainInterface::showPurge);
  connect(&m_journal, &PurgeJournal::rechecked, m_interface.get(), &MainInterface::showPurge);
}

}  // namespace halvard
