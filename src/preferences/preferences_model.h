#pragma once

#include <functional>
#include <optional>

#include "preferences/preference_item.h"

namespace halvard {

class PreferencesModel;

/// Told when `shouldCleanupMemoryIfLargeAppQuits` changed.
class PreferencesModelShouldCleanupMemoryIfLargeAppQuitsNotifier : public WeakTarget {
 public:
  virtual ~PreferencesModelShouldCleanupMemoryIfLargeAppQuitsNotifier() = default;
  virtual void preferencesModelShouldCleanupMemoryIfLargeAppQuitsValueChanged(PreferencesModel& model) = 0;
};

/// Start at login, as far as the model needs it.
class StartAtLoginSwitch {
 public:
  virtual ~StartAtLoginSwitch() = default;
  /// Switches start at login on or off; runs `failedBlock` once when the platform refuses. `failedBlock` may be empty.
  virtual void setIsEnabledForHelperApp(bool enabled, const std::function<void()>& failedBlock) = 0;
};

/// The preferences of the user. Main thread; made once and kept for the whole process.
class PreferencesModel : private PreferenceItemListener, private PreferenceItemDelegate {
 public:
  /// Both must outlive the model. The default of the interval is computed here from the former frequency.
  PreferencesModel(DefaultsStore& store, StartAtLoginSwitch& startAtLogin);

  /// Free memory automatically.
  PreferenceItem<bool>& autoFreeUpMemory() { return m_autoFreeUpMemory; }
  /// Only when the memory use is above this fraction, 0..1.
  PreferenceItem<double>& memoryUsageLimitToAutofree() { return m_memoryUsageLimitToAutofree; }
  /// Only when the CPU use is below this fraction, 0..1.
  PreferenceItem<double>& cpuUsageLimitToAutofree() { return m_cpuUsageLimitToAutofree; }
  /// The former interval: 0 rarely, 1 normally, 2 often, 3 every five minutes.
  PreferenceItem<std::int64_t>& frequencyForToAutofreeOld() { return m_frequencyForToAutofreeOld; }
  /// The interval of automatic freeing in seconds.
  PreferenceItem<double>& frequencyForToAutofree() { return m_frequencyForToAutofree; }
  /// Free memory after a large application quits.
  PreferenceItem<bool>& shouldCleanupMemoryIfLargeAppQuits() { return m_shouldCleanupMemoryIfLargeAppQuits; }
  /// Text beside the status icon: 0 none, 1 used percentage, 2 used size, 3 free size.
  PreferenceItem<std::int64_t>& visionIndex() { return m_visionIndex; }
  /// Scan the disk usage at start-up.
  PreferenceItem<bool>& scanDiskUsageAtAppStartUp() { return m_scanDiskUsageAtAppStartUp; }
  /// Post a notification after freeing.
  PreferenceItem<bool>& showNotificationAfreFreeUp() { return m_showNotificationAfreFreeUp; }

  // Each made on first access and kept.
  BoolObjCPreferenceItem& objcAutoFreeUpMemory();
  BoolObjCPreferenceItem& objcShouldCleanupMemoryIfLargeAppQuits();
  BoolObjCPreferenceItem& objcScanDiskUsageAtAppStartUp();
  BoolObjCPreferenceItem& objcShowNotificationAfreFreeUp();
  DoubleObjCPreferenceItem& objcMemoryUsageLimitToAutofree();
  DoubleObjCPreferenceItem& objcCpuUsageLimitToAutofree();
  DoubleObjCPreferenceItem& objcFrequencyForToAutofree();
  IntObjCPreferenceItem& objcVisionIndex();

  /// Held weakly; none at first.
  WeakRef<PreferencesModelShouldCleanupMemoryIfLargeAppQuitsNotifier> shouldCleanupMemoryIfLargeAppQuitsListener;

  /// Switches on start at login (a failure is ignored), then automatic freeing.
  void turnOnAutoStartAndAutoFree();

 private:
  void preferenceItemDidChangeValue(PreferenceItemBase& item) override;
  void preferenceItemDidRejectValue(PreferenceItemBase& item) override;
  bool preferenceItemShouldChangeValue(PreferenceItemBase& item) override;

  StartAtLoginSwitch& m_startAtLogin;
  PreferenceItem<bool> m_autoFreeUpMemory;
  PreferenceItem<double> m_memoryUsageLimitToAutofree;
  PreferenceItem<double> m_cpuUsageLimitToAutofree;
  PreferenceItem<std::int64_t> m_frequencyForToAutofreeOld;
  PreferenceItem<bool> m_shouldCleanupMemoryIfLargeAppQuits;
  PreferenceItem<std::int64_t> m_visionIndex;
  PreferenceItem<bool> m_scanDiskUsageAtAppStartUp;
  PreferenceItem<bool> m_showNotificationAfreFreeUp;
  // Last of the items: its default is computed from the former frequency.
  PreferenceItem<double> m_frequencyForToAutofree;

  std::optional<BoolObjCPreferenceItem> m_objcAutoFreeUpMemory;
  std::optional<BoolObjCPreferenceItem> m_objcShouldCleanupMemoryIfLargeAppQuits;
  std::optional<BoolObjCPreferenceItem> m_objcScanDiskUsageAtAppStartUp;
  std::optional<BoolObjCPreferenceItem> m_objcShowNotificationAfreFreeUp;
  std::optional<DoubleObjCPreferenceItem> m_objcMemoryUsageLimitToAutofree;
  std::optional<DoubleObjCPreferenceItem> m_objcCpuUsageLimitToAutofree;
  std::optional<DoubleObjCPreferenceItem> m_objcFrequencyForToAutofree;
  std::optional<IntObjCPreferenceItem> m_objcVisionIndex;
};

}  // namespace halvard
