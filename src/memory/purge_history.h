#pragma once

#include <QJsonArray>
#include <QJsonObject>

#include "platform/ports/defaults_store.h"

namespace halvard {

/// The records of the latest purges (see purgeRecord), in the settings store: each change is one transaction there, so
/// that a program killed in the middle leaves the history as it was before or as it is after. Any thread; what another
/// process has recorded is seen at once. Two that record at the same moment may lose one of the two.
class PurgeHistory {
 public:
  /// Records kept; the oldest goes first.
  static constexpr int kMost = 50;

  /// `store` outlives this object.
  explicit PurgeHistory(DefaultsStore& store) : m_store(store) {}

  /// Oldest first. What is stored in another form counts as nothing.
  QJsonArray records() const;

  /// False when one of another `time` has come after it.
  bool isLatest(const QJsonObject& record) const;

  /// Replaces the record of the same `time`, else adds one. Where the latest one and this one tell of purges that found
  /// no way to free anything, this one takes its place: a rule that tries in vain every second leaves one line.
  void put(const QJsonObject& record);

 private:
  DefaultsStore& m_store;
};

}  // namespace halvard
