#include "preferences/cleaning_exclusions.h"

#include "preferences/stored_keys.h"

namespace halvard {

QStringList CleaningExclusions::names() const {
  const std::optional<StoredValue> stored = m_store.objectForKey(stored_keys::cleaningExclusions);
  const auto* array = stored ? stored->as<StoredValue::Array>() : nullptr;
  QStringList names;
  for (const StoredValue& entry : array ? *array : StoredValue::Array()) {
    const QString* name = entry.as<QString>();
    if (name && !name->trimmed().isEmpty()) names << name->trimmed();
  }
  names.removeDuplicates();
  names.sort(Qt::CaseInsensitive);
  return names;
}

bool CleaningExclusions::add(const QString& name) {
  QStringList known = names();
  if (name.trimmed().isEmpty() || known.contains(name.trimmed(), Qt::CaseInsensitive)) return false;
  save(known << name.trimmed());
  return true;
}

bool CleaningExclusions::remove(const QString& name) {
  QStringList known = names();
  const auto count =
      known.removeIf([&](const QString& one) { return one.compare(name.trimmed(), Qt::CaseInsensitive) == 0; });
  if (count == 0) return false;
  save(known);
  return true;
}

void CleaningExclusions::save(const QStringList& names) {
  if (names.isEmpty()) {
    m_store.removeObject(stored_keys::cleaningExclusions);
  } else {
    StoredValue::Array array;
    for (const QString& name : names)
      array.push_back({name});
    m_store.setObject(stored_keys::cleaningExclusions, {std::move(array)});
  }
  m_store.synchronize();
}

}  // namespace halvard
