#include "promo/promo_settings.h"

#include "platform/ports/defaults_store.h"
#include "preferences/stored_keys.h"

namespace halvard {

PromoSettings PromoSettings::LoadHalvardData(const Branding& branding, const DefaultsStore& store) {
  PromoSettings settings;
  settings.m_feedFolder = branding.feedFolder;
  settings.m_storePage = branding.storePage;
  const auto interval = store.objectForKey(stored_keys::testTimeBetweenRealDiskChecks);
  if (const auto seconds = interval ? interval->toInteger() : std::nullopt) {
    settings.TIME_BETWEEN_REAL_DISK_CHECKS = std::chrono::seconds(*seconds);
  }
  const auto log = store.objectForKey(stored_keys::testShowCalculationLog);
  settings.IS_NEED_SHOW_CALCULATION_LOG = log && log->toBool().value_or(false);
  return settings;
}

QUrl PromoSettings::feed(const QString& name) const {
  return m_feedFolder.isEmpty() ? QUrl() : m_feedFolder.resolved(QUrl(name));
}

}  // namespace halvard
