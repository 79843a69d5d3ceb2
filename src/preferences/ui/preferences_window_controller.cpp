#include "preferences/ui/preferences_window_controller.h"

#include <QLabel>
#include <algorithm>
#include <cmath>
#include <utility>

#include "login/run_at_login_manager.h"
#include "preferences/cleaning_exclusions.h"
#include "preferences/cleaning_frequency.h"
#include "preferences/showcase_defaults.h"
#include "preferences/stored_keys.h"
#include "preferences/ui/preferences_window.h"
#include "widgets/alert_window.h"
#include "widgets/check_box.h"
#include "widgets/pop_up_list.h"
#include "widgets/text_field.h"
#include "widgets/ui_style.h"
#include "widgets/value_slider.h"

namespace halvard {
namespace {

/// The limit and the slider's value add up to this, in both directions.
constexpr double kCpuSliderSum = 1.1;

void show(CheckBox& box, bool checked) {
  if (box.isChecked() != checked) box.setChecked(checked);
}

/// Of whatever number is stored.
int percent(double fraction) {
  constexpr double kMost = 1e6;
  return std::isnan(fraction) ? 0 : static_cast<int>(std::clamp(fraction, -kMost, kMost) * 100);
}

QString percentText(double fraction) {
  return QStringLiteral("%1%").arg(percent(fraction));
}

}  // namespace

PreferencesWindowController::PreferencesWindowController(PreferencesModel& model, ShowcaseDefaults& defaults,
                                                         RunAtLoginManager& startAtLogin)
    : m_model(model),
      m_defaults(defaults),
      m_startAtLogin(startAtLogin),
      m_window(std::make_unique<PreferencesWindow>()) {
  windowDidLoad();
}

PreferencesWindowController::~PreferencesWindowController() = default;

void PreferencesWindowController::windowDidLoad() {
  migrateAutoStart();
  const auto intervals = static_cast<int>(cleaning_frequency::available().size());
  m_window->frequencySlider->setNumberOfTickMarks(intervals);
  m_window->frequencySlider->setScale(0, intervals - 1, 1, 1);
  showLaunchAtLogin();
  refresh(m_model.shouldCleanupMemoryIfLargeAppQuits());
  refresh(m_model.autoFreeUpMemory());
  refresh(m_model.visionIndex());
  refresh(m_model.showNotificationAfreFreeUp());
  refresh(m_model.memoryUsageLimitToAutofree());
  showFrequency();
  refresh(m_model.cpuUsageLimitToAutofree());
  refresh(m_model.scanDiskUsageAtAppStartUp());
  addListeners();
  connectControls();
}

void PreferencesWindowController::migrateAutoStart() {
  DefaultsStore& store = m_defaults.store();
  if (!store.objectForKey(stored_keys::autoStart)) return;
  if (m_startAtLogin.isLaunchAtStartup()) {
    m_startAtLogin.toggleLaunchAtLoginValue_WithoutHelperApp();
    m_startAtLogin.setIsEnabledForHelperApp(true, {});
  }
  store.removeObject(stored_keys::autoStart);
  store.synchronize();
}

void PreferencesWindowController::addListeners() {
  m_model.autoFreeUpMemory().listeners.add(*this);
  m_model.scanDiskUsageAtAppStartUp().listeners.add(*this);
  m_model.memoryUsageLimitToAutofree().listeners.add(*this);
  m_model.frequencyForToAutofree().listeners.add(*this);
  m_model.cpuUsageLimitToAutofree().listeners.add(*this);
  // Nothing in the window changes these three, but the command line does.
  m_model.shouldCleanupMemoryIfLargeAppQuits().listeners.add(*this);
  m_model.visionIndex().listeners.add(*this);
  m_model.showNotificationAfreFreeUp().listeners.add(*this);
}

void PreferencesWindowController::connectControls() {
  using Self = PreferencesWindowController;
  const auto onClick = [this](CheckBox* box, void (Self::*action)()) {
    connect(box, &CheckBox::clicked, this, action);
  };
  onClick(m_window->launchAtLoginButton, &Self::launchAtLoginButtonSelector);
  onClick(m_window->scanDiskUsageCheckBox, &Self::scanDiskUsageCheckBoxSelector);
  onClick(m_window->showNotificationAfreFreeUpButton, &Self::showNotificationAfreFreeUpSelector);
  onClick(m_window->cleanupMemoryIfLargeAppQuitsButton, &Self::cleanupMemoryIfLargeAppQuitsSelector);
  onClick(m_window->cleanUpMemoryAutomatically, &Self::cleanUpMemoryAutomaticallySelector);
  connect(m_window->visionComboBox, &QComboBox::activated, this, &Self::visionComboBoxSelector);
  connect(m_window->memoryUsageSlider, &ValueSlider::valueChosen, this, &Self::memoryUsageSliderSelector);
  connect(m_window->frequencySlider, &ValueSlider::valueChosen, this, &Self::frequencySliderSelector);
  connect(m_window->cpuUsageSlider, &ValueSlider::valueChosen, this, &Self::cpuUsageSliderSelector);
  connect(m_window->exclusionsField, &QLineEdit::editingFinished, this, &Self::exclusionsFieldSelector);
}

void PreferencesWindowController::showWindow() {
  if (m_window->isVisible()) m_window->blink();
  showLaunchAtLogin();
  showExclusions();
  m_window->show();
  m_window->raise();
  m_window->activateWindow();
}

void PreferencesWindowController::launchAtLoginButtonSelector() {
  const bool enabling = m_window->launchAtLoginButton->isChecked();
  m_startAtLogin.setIsEnabledForHelperApp(enabling, [this, enabling] { showFailure(enabling); });
  m_defaults.setShowAutostartPopupAfterPurge(false);
}

void PreferencesWindowController::scanDiskUsageCheckBoxSelector() {
  m_model.scanDiskUsageAtAppStartUp().setValue(m_window->scanDiskUsageCheckBox->isChecked());
}

void PreferencesWindowController::showNotificationAfreFreeUpSelector() {
  m_model.showNotificationAfreFreeUp().setValue(m_window->showNotificationAfreFreeUpButton->isChecked());
}

void PreferencesWindowController::cleanupMemoryIfLargeAppQuitsSelector() {
  m_model.shouldCleanupMemoryIfLargeAppQuits().setValue(m_window->cleanupMemoryIfLargeAppQuitsButton->isChecked());
}

void PreferencesWindowController::visionComboBoxSelector() {
  m_model.visionIndex().setValue(m_window->visionComboBox->currentIndex());
}

void PreferencesWindowController::cleanUpMemoryAutomaticallySelector() {
  m_model.autoFreeUpMemory().setValue(m_window->cleanUpMemoryAutomatically->isChecked());
}

void PreferencesWindowController::memoryUsageSliderSelector(double sliderValue) {
  m_model.memoryUsageLimitToAutofree().setValue(sliderValue);
}

void PreferencesWindowController::frequencySliderSelector(double sliderValue) {
  const auto& intervals = cleaning_frequency::available();
  const int index = static_cast<int>(sliderValue);
  m_selectedFrequencyIndexCachedValue = index;
  if (index < 0 || static_cast<std::size_t>(index) >= intervals.size()) return;
  const std::chrono::seconds interval = intervals[static_cast<std::size_t>(index)];
  m_model.frequencyForToAutofree().setValue(static_cast<double>(interval.count()));
}

void PreferencesWindowController::cpuUsageSliderSelector(double sliderValue) {
  m_model.cpuUsageLimitToAutofree().setValue(kCpuSliderSum - sliderValue);
}

void PreferencesWindowController::exclusionsFieldSelector() {
  // Leaving the field without a change must not write over what the command line has stored meanwhile.
  if (std::exchange(m_shownExclusions, m_window->exclusionsField->text()) == m_window->exclusionsField->text()) return;
  CleaningExclusions(m_defaults.store()).setNames(m_window->exclusionsField->text().split(u','));
  showExclusions();
}

void PreferencesWindowController::showExclusions() {
  m_shownExclusions = CleaningExclusions(m_defaults.store()).names().join(QStringLiteral(", "));
  m_window->exclusionsField->setText(m_shownExclusions);
}

int PreferencesWindowController::selectedFrequencyIndex() {
  return m_selectedFrequencyIndexCachedValue.value_or(
      cleaning_frequency::indexOf(m_model.frequencyForToAutofree().value()));
}

void PreferencesWindowController::showLaunchAtLogin() {
  show(*m_window->launchAtLoginButton, m_startAtLogin.isEnabledToAutoLaunchWithHelperApp());
}

void PreferencesWindowController::showFrequency() {
  m_window->frequencySlider->setDoubleValue(selectedFrequencyIndex());
  fillDescription();
}

void PreferencesWindowController::fillDescription() {
  const auto& intervals = cleaning_frequency::available();
  const auto index = static_cast<std::size_t>(selectedFrequencyIndex());
  const QString frequency = index < intervals.size() ? cleaning_frequency::briefText(intervals[index]) : QString();
  const double memoryLimit = m_model.memoryUsageLimitToAutofree().value();
  const double cpuLimit = m_model.cpuUsageLimitToAutofree().value();
  m_window->showFigures(percentText(memoryLimit), frequency, percentText(cpuLimit));
  const QString text = m_model.autoFreeUpMemory().value()
                           ? tr("*Free up automatically every ") + frequency + tr(" if memory usage is more than ") +
                                 QString::number(percent(memoryLimit)) + tr("% and if CPU usage is less than ") +
                                 QString::number(percent(cpuLimit)) + tr("%.")
                           : tr("*Check on to free up system memory automatically.");
  m_window->autoCleanUpMemoryFullDescriptionTextField->setText(text);
}

void PreferencesWindowController::preferenceItemDidChangeValue(PreferenceItemBase& item) {
  refresh(item);
}

void PreferencesWindowController::preferenceItemDidRejectValue(PreferenceItemBase& item) {
  refresh(item);
}

void PreferencesWindowController::refresh(PreferenceItemBase& item) {
  PreferencesWindow& window = *m_window;
  if (&item == &m_model.autoFreeUpMemory()) {
    show(*window.cleanUpMemoryAutomatically, m_model.autoFreeUpMemory().value());
  } else if (&item == &m_model.scanDiskUsageAtAppStartUp()) {
    show(*window.scanDiskUsageCheckBox, m_model.scanDiskUsageAtAppStartUp().value());
  } else if (&item == &m_model.showNotificationAfreFreeUp()) {
    show(*window.showNotificationAfreFreeUpButton, m_model.showNotificationAfreFreeUp().value());
  } else if (&item == &m_model.shouldCleanupMemoryIfLargeAppQuits()) {
    show(*window.cleanupMemoryIfLargeAppQuitsButton, m_model.shouldCleanupMemoryIfLargeAppQuits().value());
  } else if (&item == &m_model.visionIndex()) {
    window.visionComboBox->setCurrentIndex(static_cast<int>(m_model.visionIndex().value()));
  } else if (&item == &m_model.memoryUsageLimitToAutofree()) {
    window.memoryUsageSlider->setDoubleValue(m_model.memoryUsageLimitToAutofree().value());
  } else if (&item == &m_model.cpuUsageLimitToAutofree()) {
    window.cpuUsageSlider->setDoubleValue(kCpuSliderSum - m_model.cpuUsageLimitToAutofree().value());
  } else if (&item == &m_model.frequencyForToAutofree()) {
    followStoredFrequency();
  }
  fillDescription();
}

/// A change made elsewhere is not what the slider last chose.
void PreferencesWindowController::followStoredFrequency() {
  const auto chosen = m_selectedFrequencyIndexCachedValue;
  if (chosen && cleaning_frequency::indexOf(m_model.frequencyForToAutofree().value()) != *chosen) {
    m_selectedFrequencyIndexCachedValue.reset();
  }
  m_window->frequencySlider->setDoubleValue(selectedFrequencyIndex());
}

void PreferencesWindowController::showFailure(bool enabling) {
  const Alert alert{.message = tr("An error ocurred"),
                    .informativeText = enabling ? tr("Couldn't add Helper App to launch at login item list.")
                                                : tr("Couldn't remove Helper App from launch at login item list."),
                    .buttons = {tr("OK")},
                    .isCritical = true};
  auto* window = new AlertWindow(m_window->windowTitle(), alert, m_window.get());
  connect(window, &QDialog::finished, this, &PreferencesWindowController::showLaunchAtLogin);
  connect(window, &QDialog::finished, window, &QObject::deleteLater);
  window->open();
}

}  // namespace halvard
