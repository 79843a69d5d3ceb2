#include "crash/cache_manager.h"

#include "preferences/number_conversion.h"
#include "preferences/stored_keys.h"

namespace halvard {

std::uint64_t CacheManager::crashesCount() const {
  const std::optional<StoredValue> stored = m_store.objectForKey(stored_keys::crashesCount);
  return stored ? convertedUnsigned(*stored).value_or(0) : 0;
}

void CacheManager::incrementCrashesCount() {
  m_store.setObject(stored_keys::crashesCount, {static_cast<std::int64_t>(crashesCount() + 1)});
  m_store.synchronize();
}

bool CacheManager::sendCrashReportsDisabled() const {
  const std::optional<StoredValue> stored = m_store.objectForKey(stored_keys::sendCrashReportsDisabled);
  return stored && convertedBool(*stored).value_or(false);
}

void CacheManager::setSendCrashReportsDisabled(bool disabled) {
  m_store.setObject(stored_keys::sendCrashReportsDisabled, {disabled});
  m_store.synchronize();
}

}  // namespace halvard
