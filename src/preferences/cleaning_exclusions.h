#pragma once

#include <QString>
#include <QStringList>

#include "platform/ports/defaults_store.h"

namespace halvard {

/// The programs and applications that a cleaning leaves alone, by name; case does not matter. Any thread: it keeps
/// nothing, so that what another process stores is seen at once.
class CleaningExclusions {
 public:
  /// `store` outlives this object.
  explicit CleaningExclusions(DefaultsStore& store) : m_store(store) {}

  /// Sorted. What is stored in another form counts as nothing.
  QStringList names() const;
  /// False when it is there already, or `name` is blank.
  bool add(const QString& name);
  /// False when it is not there.
  bool remove(const QString& name);

 private:
  void save(const QStringList& names);

  DefaultsStore& m_store;
};

}  // namespace halvard
