#pragma once

#include <map>
#include <mutex>

#include "platform/ports/defaults_store.h"

namespace halvard {

/// A settings store in memory that counts what it is asked for. Thread safe.
class FakeDefaultsStore : public DefaultsStore {
 public:
  std::optional<StoredValue> objectForKey(const QString& key) const override;
  void setObject(const QString& key, StoredValue value) override;
  void removeObject(const QString& key) override;
  QStringList keys() const override;
  /// Fails while failSynchronize(true) stands; the values are kept.
  bool synchronize() override;
  void removePersistentDomain() override;

  void failSynchronize(bool fail);

  /// Calls of objectForKey().
  int reads() const;
  /// Calls of setObject(), removeObject() and removePersistentDomain().
  int writes() const;
  /// Calls of synchronize(), failed ones included.
  int synchronizations() const;
  /// True when something was written after the last synchronize() that succeeded.
  bool hasUnsavedChanges() const;

 private:
  mutable std::mutex m_mutex;
  std::map<QString, StoredValue> m_values;
  mutable int m_reads = 0;
  int m_writes = 0;
  int m_synchronizations = 0;
  bool m_fail = false;
  bool m_unsaved = false;
};

}  // namespace halvard
