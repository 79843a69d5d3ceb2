#include "preferences/cleaning_exclusions.h"

#include <algorithm>

#include "preferences/stored_keys.h"

namespace halvard {
namespace {

// A comma parts the names where several are shown in one line.
bool isName(const QString& trimmed) {
  const auto isOut = [](QChar one) { return one.category() == QChar::Other_Control || one == QLatin1Char(','); };
  return !trimmed.isEmpty() && std::none_of(trimmed.begin(), trimmed.end(), isOut);
}

}  // namespace

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

Result<void> CleaningExclusions::add(const QString& name) {
  const QString wanted = name.trimmed();
  QStringList known = names();
  if (!isName(wanted)) return Error{QStringLiteral("a name is one line with something in it and no comma")};
  if (known.contains(wanted, Qt::CaseInsensitive)) return Error{QStringLiteral("'%1' is excluded already").arg(wanted)};
  return save(known << wanted);
}

bool CleaningExclusions::setNames(const QStringList& names) {
  QStringList wanted;
  for (const QString& name : names) {
    const QString one = name.trimmed();
    if (isName(one) && !wanted.contains(one, Qt::CaseInsensitive)) wanted << one;
  }
  return static_cast<bool>(save(wanted));
}

Result<void> CleaningExclusions::remove(const QString& name) {
  const QString wanted = name.trimmed();
  QStringList known = names();
  const auto count = known.removeIf([&](const QString& one) { return one.compare(wanted, Qt::CaseInsensitive) == 0; });
  if (count == 0) return Error{QStringLiteral("'%1' is not excluded").arg(wanted)};
  return save(known);
}

Result<void> CleaningExclusions::save(const QStringList& names) {
  if (names.isEmpty()) {
    m_store.removeObject(stored_keys::cleaningExclusions);
  } else {
    StoredValue::Array array;
    for (const QString& name : names)
      array.push_back({name});
    m_store.setObject(stored_keys::cleaningExclusions, {std::move(array)});
  }
  if (m_store.synchronize()) return {};
  return Error{QStringLiteral("the settings could not be written")};
}

}  // namespace halvard
