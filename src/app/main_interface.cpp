#include "app/main_interface.h"

#include <QGuiApplication>
#include <QScreen>
#include <cmath>

#include "app/main_menu.h"
#include "app/promotion.h"
#include "core/application_identity.h"
#include "core/clock.h"
#include "core/notification_center.h"
#include "login/run_at_login_manager.h"
#include "memory/memory_status.h"
#include "menubar/panel_placement.h"
#include "menubar/purge_details.h"
#include "menubar/status_item_text.h"
#include "menubar/summary_view.h"
#include "platform/ports/appearance.h"
#include "platform/ports/status_bar_item.h"
#include "platform/ports/window_hints.h"
#include "preferences/showcase_defaults.h"
#include "preferences/stored_keys.h"
#include "preferences/ui/autostart_popup_wc.h"
#include "preferences/ui/autostart_window.h"
#include "preferences/ui/preferences_window_controller.h"
#include "widgets/clean_memory_button.h"
#include "widgets/icon_button.h"

namespace halvard {

using namespace std::chrono_literals;

MainInterface::MainInterface(const MainInterfaceServices& services)
    : m_services(services),
      m_statusItem(services.statusItem, services.appearance, services.purge.preferences, services.purge.displayName),
      m_panel(services.purge.clock, services.purge.defaults, services.purge.notifications, services.statusItem,
              services.panelParts, services.windowHints),
      m_theMenu(std::make_unique<MainMenu>()),
      m_controller(services.purge, *this),
      m_namedPreferences(preferenceList(services.purge.preferences)) {}

MainInterface::~MainInterface() = default;

void MainInterface::setPromotion(Promotion& promotion) {
  m_promotion = &promotion;
}

void MainInterface::awakeFromNib() {
  m_panel.setPanelWindowDelegate(this);
  m_panel.awakeFromNib();
  m_controller.initValues();
  initShowInfo();
  m_controller.startLargeApplicationRule();
  addObservers();
  connectCommands();
  updatePreferencesButton();
  m_controller.startRefreshChain();
  prepareCleanButton();
  // At login the program often comes before the tray, and nobody has asked for it.
  const bool isUnasked = m_services.startAtLogin.wasAutolaunchedWithHelperApp();
  m_panel.followTray(isUnasked ? PanelWindow::WithoutTray::Minimizes : PanelWindow::WithoutTray::Opens);
  m_panel.showWindowIfNotLocked();
}

void MainInterface::initShowInfo() {
  ShowcaseDefaults& defaults = m_services.purge.defaults;
  if (defaults.getBoolValueForKey(stored_keys::initialized, false)) {
    m_bShowInfo = defaults.getBoolValueForKey(stored_keys::showInfo, true);
    return;
  }
  saveShowInfoState(true);
  defaults.saveBoolValue(true, stored_keys::initialized);
}

void MainInterface::saveShowInfoState(bool shows) {
  m_bShowInfo = shows;
  m_services.purge.defaults.saveBoolValue(shows, stored_keys::showInfo);
}

void MainInterface::addObservers() {
  NotificationCenter& notifications = m_services.purge.notifications;
  for (const QString& name : {kShowWindowAfterStart, kShowMainWindowAndMakeActive}) {
    notifications.addObserver(name, this, [this](const QVariant&) { showMainWindowAndMakeActive(); });
  }
  notifications.addObserver(NewsDialogWC::NewsHtmlChangedNotificationName(), this,
                            [this](const QVariant&) { updatePreferencesButton(); });
  connect(&m_panel, &PanelWindow::didShow, &m_controller, &ZPPurgeController::readAnew);
  connect(&m_panel, &PanelWindow::willClose, this, [this] {
    if (m_bShowInfo) saveShowInfoState(false);
  });
  connect(&m_services.appearance, &Appearance::changed, &m_controller, &ZPPurgeController::fillInfoPanel);
}

void MainInterface::connectCommands() {
  connect(&m_statusItem, &StatusItemController::statusItemAction, &m_panel,
          [this] { m_panel.processActionOfStatusItem(true); });
  connect(&m_panel.summary().freeButton(), &QAbstractButton::clicked, &m_controller,
          [this] { m_controller.onFreeMemory(ZPPurgeController::Sender::CleanButton); });
  connect(&m_panel, &PanelWindow::preferencesButtonPressed, this, &MainInterface::preferencesButtonPressed);
  connect(m_theMenu.get(), &MainMenu::onFreeMemory, &m_controller,
          [this] { m_controller.onFreeMemory(ZPPurgeController::Sender::None); });
  connect(m_theMenu.get(), &MainMenu::onTogglePanelInfo, this, &MainInterface::onTogglePanelInfo);
  connect(m_theMenu.get(), &MainMenu::newsButtonPressed, this, &MainInterface::newsButtonPressed);
  connect(m_theMenu.get(), &MainMenu::showOptimizationTools, m_promotion, &Promotion::showOptimizationTools);
  connect(m_theMenu.get(), &MainMenu::rateButtonPressed, m_promotion, &Promotion::rateButtonPressed);
  connect(m_theMenu.get(), &MainMenu::showPreferencesWindow, this, &MainInterface::showPreferencesWindow);
  connect(m_theMenu.get(), &MainMenu::checkForUpdates, this, &MainInterface::checkForUpdates);
  connect(m_theMenu.get(), &MainMenu::showAboutScreen, this, &MainInterface::showAboutScreen);
  connect(m_theMenu.get(), &MainMenu::quitRequested, this, &MainInterface::quitRequested);
}

void MainInterface::prepareCleanButton() {
  CleanMemoryButton& button = m_panel.summary().freeButton();
  button.setTitle(ZPPurgeController::tr("Cleanup"));
  button.setTracking(true);
}

void MainInterface::ShowMainWindowAndMakeActive(NotificationCenter& notifications) {
  notifications.post(kShowMainWindowAndMakeActive);
}

void MainInterface::showMainWindowAndMakeActive() {
  if (m_panel.isVisible()) {
    m_panel.bringToFront();
    return;
  }
  // Two requests at once open one panel.
  m_services.purge.clock.callAfter(
      1ms, this, [this] { m_panel.isVisible() ? m_panel.bringToFront() : m_panel.processActionOfStatusItem(false); });
}

void MainInterface::onTogglePanelInfo() {
  const bool shows = !m_panel.isVisible();
  shows ? m_panel.processActionOfStatusItem(false) : void(m_panel.close());
  saveShowInfoState(shows);
}

void MainInterface::preferencesButtonPressed() {
  m_theMenu->setInformation(status_item_text::information(m_controller.snapshot()));
  m_theMenu->validate(m_controller.isPurging(), m_panel.isVisible());
  const QPoint corner = m_panel.settingsButton().mapToGlobal(QPoint(0, m_panel.settingsButton().height()));
  m_theMenu->popup(corner + QPoint(-2, 5));
  m_theMenu->setFreshNews(m_promotion->manager().isHasFreshNews());
}

void MainInterface::newsButtonPressed() {
  const IconButton& button = m_panel.settingsButton();
  m_promotion->newsButtonPressed({button.mapToGlobal(QPoint(0, 0)), button.size()}, button.screen()->geometry());
  updatePreferencesButton();
}

void MainInterface::updatePreferencesButton() {
  const bool fresh = m_promotion->manager().isHasFreshNews();
  m_panel.settingsButton().setPicture(fresh ? IconButton::Picture::SettingsNews : IconButton::Picture::Settings);
  m_theMenu->setFreshNews(fresh);
}

void MainInterface::showDiskUsage() {
  const auto diskUsage = std::uint64_t{PanelWindow::AdFlag} | PanelWindow::DetailedAdFlag;
  if ((m_panel.windowState() & diskUsage) != diskUsage) {
    m_panel.changeWindowStateTo(m_panel.windowState() | diskUsage, false);
  }
  showMainWindowAndMakeActive();
}

void MainInterface::showPreferencesWindow() {
  if (!m_preferencesWindow) {
    m_preferencesWindow = std::make_unique<PreferencesWindowController>(
        m_services.purge.preferences, m_services.purge.defaults, m_services.startAtLogin);
  }
  m_preferencesWindow->showWindow();
}

void MainInterface::showAutostartPopupWindow(ByteCount cleanedSize) {
  if (!AutostartPopupWC::shouldBeShown(m_services.startAtLogin)) return;
  m_autostartPopup = std::make_unique<AutostartPopupWC>(m_services.purge.preferences, m_services.purge.defaults);
  m_autostartPopup->setCleanedSize(cleanedSize);
  AutostartWindow& window = m_autostartPopup->window();
  window.setBlended(m_services.windowHints.blendsWindows());
  placeBesidePanel(window);
  window.show();
  window.raise();
}

/// Beside a panel that is closed: at its item.
void MainInterface::placeBesidePanel(AutostartWindow& window) {
  const QRect panel = m_panel.geometry();
  const std::optional<QRect> item =
      m_panel.isVisible() ? panel_placement::middleOf(panel) : m_services.statusItem.geometry();
  const QScreen* screen = item ? QGuiApplication::screenAt(item->center()) : nullptr;
  const QRect available = (screen ? screen : m_panel.screen())->availableGeometry();
  if (!item) {
    window.move(panel_placement::cornerOf(available, window.size()));
    return;
  }
  const auto place = panel_placement::besideItem(*item, window.size(), available);
  const bool isBelowItem = place.edge == panel_placement::TriangleEdge::Top;
  window.setPointer(isBelowItem ? Qt::TopEdge : Qt::BottomEdge, place.apex);
  window.move(place.topLeft);
}

void MainInterface::showRateDialogAutomaticallyIfNeeded() {
  m_promotion->showRateDialogAutomaticallyIfNeeded();
}

void MainInterface::panelWindowHidesNews() {
  m_promotion->hideNews();
}

bool MainInterface::panelWindowHasPageOpen() const {
  return m_promotion->hasPageOpen();
}

void MainInterface::showAboutScreen() {
  if (!m_aboutWindow) m_aboutWindow = std::make_unique<AboutWindow>(m_shareButtons);
  m_aboutWindow->show();
  m_aboutWindow->raise();
  m_aboutWindow->activateWindow();
}

void MainInterface::setShareButtons(std::vector<ShareButton> buttons) {
  m_shareButtons = std::move(buttons);
  m_aboutWindow.reset();
}

void MainInterface::setUpdaterVisible(bool visible) {
  m_theMenu->setUpdaterVisible(visible);
}

void MainInterface::showPurge(const PurgeReport& report) {
  m_panel.summary().fillPurgeDetails(purgeDetails(report));
}

void MainInterface::resetUserDefaults() {
  DefaultsStore& store = m_services.purge.defaults.store();
  store.removePersistentDomain();
  store.synchronize();
}

QJsonObject MainInterface::status() {
  m_controller.readAnew();
  const auto cpuUsage = static_cast<double>(m_services.reportedCpuUsage.getCPUUsage());
  return memoryStatus(m_controller.snapshot(),
                      {std::isnan(cpuUsage) ? 0 : cpuUsage, m_controller.isPurging(), m_controller.lastPurgedSize(),
                       m_services.purge.defaults.cleanedSize()});
}

bool MainInterface::startCleaning() {
  if (m_controller.isPurging()) return false;
  m_controller.onFreeMemory(ZPPurgeController::Sender::None);
  return true;
}

QMap<QString, QString> MainInterface::preferences() {
  return preferenceValues(m_namedPreferences);
}

Result<void> MainInterface::setPreference(const QString& name, const QString& value) {
  return setNamedPreference(m_namedPreferences, name, value);
}

void MainInterface::beginProgressUpdate() {
  m_panel.summary().freeButton().beginProgressUpdate();
}

void MainInterface::endProgressUpdate() {
  m_panel.summary().freeButton().endProgressUpdate();
}

void MainInterface::setProgess(float progress) {
  m_panel.summary().freeButton().setProgess(progress);
}

void MainInterface::setCleanButtonEnabled(bool enabled) {
  m_panel.summary().freeButton().setEnabled(enabled);
}

void MainInterface::setCleanButtonTitle(const QString& title) {
  m_panel.summary().freeButton().setTitle(title);
}

void MainInterface::showCleaningIcon() {
  m_statusItem.showCleaningIcon();
}

void MainInterface::updateStatusItem(const MemorySnapshot& snapshot) {
  m_statusItem.updateStatusItem(snapshot);
  if (m_theMenu->isVisible()) m_theMenu->setInformation(status_item_text::information(snapshot));
  if (m_panel.isOpen()) m_panel.updateContentData();
}

bool MainInterface::isWatched() const {
  return m_panel.isOpen();
}

void MainInterface::fillInfoPanel(const MemorySnapshot& snapshot) {
  SummaryView& summary = m_panel.summary();
  const ByteCount used = snapshot.calculateUsedSize();
  summary.fillInfoPanelWithUsedMemoryPercent(snapshot.usedFraction(), used, used + snapshot.calculateFreeSize());
  const ByteCount wired = snapshot.counters().wire_count * snapshot.pageSize();
  summary.fillChart(wired, used - wired, snapshot.calculateFreeSize());
  m_statusItem.fillTitle(snapshot);
}

void MainInterface::fillLastCleanedLabelWithSize(std::int64_t size, const QString& timeDescription) {
  m_panel.summary().fillLastCleanedLabelWithSize(size, timeDescription);
}

void MainInterface::onPurgedMemory() {
  m_panel.onPurgedMemory();
}

}  // namespace halvard
