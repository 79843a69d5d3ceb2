#pragma once

#include <QString>
#include <QStringList>

#include "core/result.h"
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
  /// An error, and nothing changed, when it is there already or cannot be a name (blank, more than one line,
  /// with a comma).
  Result<void> add(const QString& name);
  /// An error, and nothing changed, when it is not there.
  Result<void> remove(const QString& name);
  /// Exactly these; what cannot be a name, and what comes twice, is passed over. False when they could not be stored.
  bool setNames(const QStringList& names);

 private:
  Result<void> save(const QStringList& names);

  DefaultsStore& m_store;
};

}  // namespace halvard
