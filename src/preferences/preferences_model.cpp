#include "preferences/preferences_model.h"

#include "preferences/stored_keys.h"

namespace halvard {
namespace {

double secondsOr(const DefaultsStore& store, const QString& key, double defaultSeconds) {
  const std::optional<StoredValue> stored = store.objectForKey(key);
  return stored ? stored->toReal().value_or(defaultSeconds) : defaultSeconds;
}

// The former list runs from the rarest to the most frequent, the reverse of the present one.
double migratedFrequency(const DefaultsStore& store, std::int64_t formerIndex) {
  const double often = secondsOr(store, stored_keys::testPurgeFrequencyOften, 7200);
  const double normally = secondsOr(store, stored_keys::testPurgeFrequencyNormally, 14400);
  const double rarely = secondsOr(store, stored_keys::testPurgeFrequencyRarely, 28800);
  switch (formerIndex) {
    case 0:
      return rarely;
    case 2:
      return often;
    case 3:
      return 300;
    default:
      return normally;
  }
}

template <class Bridge, class Item>
Bridge& madeOnce(std::optional<Bridge>& bridge, Item& item) {
  if (!bridge) bridge.emplace(item);
  return *bridge;
}

}  // namespace

PreferencesModel::PreferencesModel(DefaultsStore& store, StartAtLoginSwitch& startAtLogin)
    : m_startAtLogin(startAtLogin),
      m_autoFreeUpMemory(store, false, stored_keys::autoFree),
      m_memoryUsageLimitToAutofree(store, 0.8, stored_keys::usageLimit),
      m_cpuUsageLimitToAutofree(store, 0.2, stored_keys::cpuUsageLimit),
      m_frequencyForToAutofreeOld(store, 1, stored_keys::frequency),
      m_shouldCleanupMemoryIfLargeAppQuits(store, true, stored_keys::purgeAfterHugeAppQuit),
      m_visionIndex(store, 1, stored_keys::visionPrefIndex),
      m_scanDiskUsageAtAppStartUp(store, true, stored_keys::scanDiskUsageAtStartUp),
      m_showNotificationAfreFreeUp(store, true, stored_keys::showFreeUpNotification),
      m_frequencyForToAutofree(store, migratedFrequency(store, m_frequencyForToAutofreeOld.value()),
                               stored_keys::frequencyNew) {
  m_autoFreeUpMemory.delegate = this;
  m_shouldCleanupMemoryIfLargeAppQuits.listeners.add(*this);
  m_frequencyForToAutofree.listeners.add(*this);
}

BoolObjCPreferenceItem& PreferencesModel::objcAutoFreeUpMemory() {
  return madeOnce(m_objcAutoFreeUpMemory, m_autoFreeUpMemory);
}

BoolObjCPreferenceItem& PreferencesModel::objcShouldCleanupMemoryIfLargeAppQuits() {
  return madeOnce(m_objcShouldCleanupMemoryIfLargeAppQuits, m_shouldCleanupMemoryIfLargeAppQuits);
}

BoolObjCPreferenceItem& PreferencesModel::objcScanDiskUsageAtAppStartUp() {
  return madeOnce(m_objcScanDiskUsageAtAppStartUp, m_scanDiskUsageAtAppStartUp);
}

BoolObjCPreferenceItem& PreferencesModel::objcShowNotificationAfreFreeUp() {
  return madeOnce(m_objcShowNotificationAfreFreeUp, m_showNotificationAfreFreeUp);
}

DoubleObjCPreferenceItem& PreferencesModel::objcMemoryUsageLimitToAutofree() {
  return madeOnce(m_objcMemoryUsageLimitToAutofree, m_memoryUsageLimitToAutofree);
}

DoubleObjCPreferenceItem& PreferencesModel::objcCpuUsageLimitToAutofree() {
  return madeOnce(m_objcCpuUsageLimitToAutofree, m_cpuUsageLimitToAutofree);
}

DoubleObjCPreferenceItem& PreferencesModel::objcFrequencyForToAutofree() {
  return madeOnce(m_objcFrequencyForToAutofree, m_frequencyForToAutofree);
}

IntObjCPreferenceItem& PreferencesModel::objcVisionIndex() {
  return madeOnce(m_objcVisionIndex, m_visionIndex);
}

void PreferencesModel::turnOnAutoStartAndAutoFree() {
  m_startAtLogin.setIsEnabledForHelperApp(true, [] {});
  m_autoFreeUpMemory.setValue(true);
}

void PreferencesModel::preferenceItemDidChangeValue(PreferenceItemBase& item) {
  if (item.key() != m_shouldCleanupMemoryIfLargeAppQuits.key()) return;
  if (auto* const listener = shouldCleanupMemoryIfLargeAppQuitsListener.get()) {
    listener->preferencesModelShouldCleanupMemoryIfLargeAppQuitsValueChanged(*this);
  }
}

void PreferencesModel::preferenceItemDidRejectValue(PreferenceItemBase&) {}

bool PreferencesModel::preferenceItemShouldChangeValue(PreferenceItemBase&) {
  return true;
}

}  // namespace halvard
