#include "platform/fake/fake_defaults_store.h"

#include <utility>

namespace halvard {

std::optional<StoredValue> FakeDefaultsStore::objectForKey(const QString& key) const {
  const std::lock_guard lock(m_mutex);
  ++m_reads;
  const auto found = m_values.find(key);
  return found == m_values.end() ? std::nullopt : std::optional(found->second);
}

void FakeDefaultsStore::setObject(const QString& key, StoredValue value) {
  const std::lock_guard lock(m_mutex);
  ++m_writes;
  m_unsaved = true;
  m_values.insert_or_assign(key, std::move(value));
}

void FakeDefaultsStore::removeObject(const QString& key) {
  const std::lock_guard lock(m_mutex);
  ++m_writes;
  m_unsaved = true;
  m_values.erase(key);
}

QStringList FakeDefaultsStore::keys() const {
  const std::lock_guard lock(m_mutex);
  QStringList names;
  for (const auto& entry : m_values)
    names << entry.first;
  return names;
}

bool FakeDefaultsStore::synchronize() {
  const std::lock_guard lock(m_mutex);
  ++m_synchronizations;
  if (m_fail) return false;
  m_unsaved = false;
  return true;
}

void FakeDefaultsStore::removePersistentDomain() {
  const std::lock_guard lock(m_mutex);
  ++m_writes;
  m_unsaved = true;
  m_values.clear();
}

void FakeDefaultsStore::failSynchronize(bool fail) {
  const std::lock_guard lock(m_mutex);
  m_fail = fail;
}

int FakeDefaultsStore::reads() const {
  const std::lock_guard lock(m_mutex);
  return m_reads;
}

int FakeDefaultsStore::writes() const {
  const std::lock_guard lock(m_mutex);
  return m_writes;
}

int FakeDefaultsStore::synchronizations() const {
  const std::lock_guard lock(m_mutex);
  return m_synchronizations;
}

bool FakeDefaultsStore::hasUnsavedChanges() const {
  const std::lock_guard lock(m_mutex);
  return m_unsaved;
}

}  // namespace halvard
