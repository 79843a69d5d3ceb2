#pragma once

#include <QString>
#include <QStringList>
#include <optional>

#include "platform/ports/stored_value.h"

namespace halvard {

/// The persistent key-value store of one domain (the application's identifier). Safe from any thread, and from several
/// processes at once. No operation fails visibly: a store that cannot be written keeps working from memory.
class DefaultsStore {
 public:
  virtual ~DefaultsStore() = default;

  /// The value, of whatever kind; nothing when absent. Sees what this process has set and what others have committed.
  virtual std::optional<StoredValue> objectForKey(const QString& key) const = 0;
  virtual void setObject(const QString& key, StoredValue value) = 0;
  virtual void removeObject(const QString& key) = 0;

  /// All keys, sorted.
  virtual QStringList keys() const = 0;

  /// Writes everything set so far. True once the data is on its way to stable storage and no crash of this process
  /// can lose it; false when the medium refuses (the values are then kept and tried again at the next call).
  virtual bool synchronize() = 0;

  /// Removes every key of the domain.
  virtual void removePersistentDomain() = 0;
};

}  // namespace halvard
