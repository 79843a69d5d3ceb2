#pragma once

#include <QObject>
#include <memory>
#include <optional>

#include "preferences/preferences_model.h"

namespace halvard {

class PreferencesWindow;
class RunAtLoginManager;
class ShowcaseDefaults;

/// Runs the preferences window: every control shows one preference, writes it back when the user changes it, and
/// follows changes made elsewhere. Main thread.
class PreferencesWindowController : public QObject, private PreferenceItemListener {
  Q_OBJECT

 public:
  /// All outlive the controller. Makes the window and carries over the former start-at-login switch.
  PreferencesWindowController(PreferencesModel& model, ShowcaseDefaults& defaults, RunAtLoginManager& startAtLogin);
  ~PreferencesWindowController() override;

  /// Shows the window and brings it to the front; one that is visible already blinks first.
  void showWindow();
  PreferencesWindow& window() { return *m_window; }

  // What the controls do.
  void launchAtLoginButtonSelector();
  void scanDiskUsageCheckBoxSelector();
  void showNotificationAfreFreeUpSelector();
  void cleanupMemoryIfLargeAppQuitsSelector();
  void visionComboBoxSelector();
  void cleanUpMemoryAutomaticallySelector();
  /// The fraction as it stands.
  void memoryUsageSliderSelector(double sliderValue);
  /// An index into the list of intervals, truncated; one beyond the list stores nothing.
  void frequencySliderSelector(double sliderValue);
  /// Runs the other way round from the stored limit: 1.1 less the value.
  void cpuUsageSliderSelector(double sliderValue);
  /// The names of CleaningExclusions, with commas between them.
  void exclusionsFieldSelector();

 private:
  void windowDidLoad();
  void migrateAutoStart();
  void connectControls();
  void addListeners();
  void showLaunchAtLogin();
  void showExclusions();
  void showFrequency();
  void followStoredFrequency();
  void fillDescription();
  int selectedFrequencyIndex();
  void showFailure(bool enabling);

  void preferenceItemDidChangeValue(PreferenceItemBase& item) override;
  void preferenceItemDidRejectValue(PreferenceItemBase& item) override;
  void refresh(PreferenceItemBase& item);

  PreferencesModel& m_model;
  ShowcaseDefaults& m_defaults;
  RunAtLoginManager& m_startAtLogin;
  std::unique_ptr<PreferencesWindow> m_window;
  std::optional<int> m_selectedFrequencyIndexCachedValue;
  QString m_shownExclusions;
};

}  // namespace halvard
