#pragma once

#include <QByteArray>
#include <QSet>
#include <QString>

#include "core/result.h"

namespace halvard {

/// Judges the names of one archive, in order.
class EntryNames {
 public:
  explicit EntryNames(int maximumDepth) : m_maximumDepth(maximumDepth) {}

  /// The entry's path below the destination, folders with a trailing "/" taken off; an error when the name must not be
  /// used, or meets an earlier one where case and composition of letters do not count.
  Result<QString> accept(const QByteArray& name, bool isFolder);

 private:
  const int m_maximumDepth;
  QSet<QString> m_seen;
  QSet<QString> m_folders;
};

}  // namespace halvard
