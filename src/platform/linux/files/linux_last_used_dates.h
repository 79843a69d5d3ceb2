#pragma once

#include <memory>
#include <mutex>

#include "platform/ports/last_used_dates.h"

namespace halvard {

/// The desktop's list of recently used files, else the time the file was read; or when it was written, if that is
/// later. It was written when it was changed last at the latest, whatever date it bears.
class LinuxLastUsedDates : public LastUsedDates {
 public:
  /// `recentlyUsed` has the form of "recently-used.xbel"; it is read again when it has changed.
  explicit LinuxLastUsedDates(QByteArray recentlyUsed);
  ~LinuxLastUsedDates() override;

  /// "recently-used.xbel" in $XDG_DATA_HOME.
  static QByteArray defaultList();

  std::optional<Clock::Instant> lastUsedDate(const QByteArray& path) const override;

 private:
  struct List;
  std::optional<Clock::Instant> visited(const QByteArray& path) const;

  const QByteArray m_path;
  mutable std::mutex m_mutex;
  mutable std::unique_ptr<List> m_list;  // guarded by m_mutex
};

}  // namespace halvard
