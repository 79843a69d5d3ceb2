#include "preferences/preference_item.h"

namespace halvard {

bool PreferenceItemBase::mayChange() {
  PreferenceItemDelegate* const decider = delegate.get();
  if (!decider || decider->preferenceItemShouldChangeValue(*this)) return true;
  listeners.invoke([this](PreferenceItemListener& listener) { listener.preferenceItemDidRejectValue(*this); });
  return false;
}

void PreferenceItemBase::store(StoredValue stored) {
  m_store.setObject(m_key, std::move(stored));
  m_store.synchronize();
}

void PreferenceItemBase::notifyChange() {
  listeners.invoke([this](PreferenceItemListener& listener) { listener.preferenceItemDidChangeValue(*this); });
}

template <>
std::optional<bool> preferenceValue(const StoredValue& stored) {
  return stored.toBool();
}

template <>
std::optional<std::int64_t> preferenceValue(const StoredValue& stored) {
  return stored.toInteger();
}

template <>
std::optional<double> preferenceValue(const StoredValue& stored) {
  return stored.toReal();
}

}  // namespace halvard
