#pragma once

#include <QObject>
#include <memory>
#include <vector>

#include "app/about_window.h"
#include "memory/purge_controller_view.h"
#include "memory/zp_purge_controller.h"
#include "menubar/panel_window.h"
#include "menubar/status_item_controller.h"
#include "platform/ports/control_channel.h"
#include "preferences/preference_list.h"

namespace halvard {

class Appearance;
class AutostartPopupWC;
class AutostartWindow;
class MainMenu;
class PreferencesWindowController;
class Promotion;
class RunAtLoginManager;
class StatusBarItem;
class WindowHints;

/// What the main interface joins. All of it outlives the interface.
struct MainInterfaceServices {
  PurgeControllerServices purge;
  StatusBarItem& statusItem;
  Appearance& appearance;
  PanelParts& panelParts;
  WindowHints& windowHints;
  /// For status reports alone, so that asking for one does not shorten what the automatic rule measures.
  CpuUsageSource& reportedCpuUsage;
  RunAtLoginManager& startAtLogin;
};

/// Joins the memory controller with the status item, the panel and the menu, and carries out the commands of all three.
/// Main thread.
class MainInterface final : public QObject,
                            public ControlHandler,
                            private PurgeControllerView,
                            private PanelWindowDelegate {
  Q_OBJECT

 public:
  inline static const QString kShowMainWindowAndMakeActive = QStringLiteral("ShowMainWindowAndMakeActive");
  inline static const QString kShowWindowAfterStart = QStringLiteral("ShowWindowAfterStart");

  explicit MainInterface(const MainInterfaceServices& services);
  ~MainInterface() override;

  /// Before awakeFromNib(). `promotion` outlives the interface.
  void setPromotion(Promotion& promotion);
  Promotion& promotion() { return *m_promotion; }

  /// Everything that happens once when the interface is there: first figures, item, observers, first refresh.
  void awakeFromNib();

  /// Asks whoever shows the panel to bring it forward.
  static void ShowMainWindowAndMakeActive(NotificationCenter& notifications);

  void showMainWindowAndMakeActive();
  void onTogglePanelInfo();
  void preferencesButtonPressed();
  /// Opens the news next to the settings button.
  void newsButtonPressed();
  /// Opens the panel with its disk section.
  void showDiskUsage();
  /// One that is visible already blinks.
  void showPreferencesWindow();
  void showAboutScreen();
  /// For the about window, from its next opening on.
  void setShareButtons(std::vector<ShareButton> buttons);
  /// Whether the menu has its item for updates; it has none at first.
  void setUpdaterVisible(bool visible);
  /// The offer to start at login, unless the program does already.
  void showAutostartPopupWindow(ByteCount cleanedSize) override;
  void showRateDialogAutomaticallyIfNeeded() override;
  /// Fills the details line of the panel.
  void showPurge(const PurgeReport& report);
  /// Removes every stored setting.
  void resetUserDefaults();

  QJsonObject status() override;
  bool startCleaning() override;
  void showPanel() override { Q_EMIT reopened(); }
  QMap<QString, QString> preferences() override;
  Result<void> setPreference(const QString& name, const QString& value) override;

  ZPPurgeController& controller() { return m_controller; }
  PanelWindow& panel() { return m_panel; }

 Q_SIGNALS:
  void quitRequested();
  /// The program was asked from outside to show itself.
  void reopened();
  void checkForUpdates();

 private:
  void initShowInfo();
  void saveShowInfoState(bool shows);
  void addObservers();
  void connectCommands();
  void prepareCleanButton();
  void updatePreferencesButton();
  void placeBesidePanel(AutostartWindow& window);

  void beginProgressUpdate() override;
  void endProgressUpdate() override;
  void setProgess(float progress) override;
  void setCleanButtonEnabled(bool enabled) override;
  void setCleanButtonTitle(const QString& title) override;
  void showCleaningIcon() override;
  void updateStatusItem(const MemorySnapshot& snapshot) override;
  bool isWatched() const override;
  void fillInfoPanel(const MemorySnapshot& snapshot) override;
  void fillLastCleanedLabelWithSize(std::int64_t size, const QString& timeDescription) override;
  void onPurgedMemory() override;
  void panelWindowWantsToOpenPreferences() override { showPreferencesWindow(); }
  void panelWindowHidesNews() override;
  bool panelWindowHasPageOpen() const override;

  MainInterfaceServices m_services;
  Promotion* m_promotion = nullptr;
  StatusItemController m_statusItem;
  PanelWindow m_panel;
  std::unique_ptr<MainMenu> m_theMenu;
  std::unique_ptr<PreferencesWindowController> m_preferencesWindow;
  std::unique_ptr<AutostartPopupWC> m_autostartPopup;
  std::vector<ShareButton> m_shareButtons;
  std::unique_ptr<AboutWindow> m_aboutWindow;
  ZPPurgeController m_controller;
  const std::vector<NamedPreference> m_namedPreferences;
  bool m_bShowInfo = true;
};

}  // namespace halvard
