#pragma once

#include "platform/ports/search_mounts.h"

namespace halvard {

/// The mounts of this process, through libmount.
class LinuxSearchMounts : public SearchMounts {
 public:
  using IsReachable = bool (*)(const QByteArray& place, std::uint64_t mountId);

  /// `table` has the form of "/proc/self/mountinfo". `isReachable` tells whether the folder `place` can be entered, and
  /// belongs to the mount of this id.
  explicit LinuxSearchMounts(QByteArray table = "/proc/self/mountinfo", IsReachable isReachable = &reachable)
      : m_table(std::move(table)), m_isReachable(isReachable) {}

  std::unique_ptr<MountRules> rules() const override;
  std::vector<MountAlias> aliases() const override;
  std::vector<QByteArray> hiddenLayers() const override;
  std::optional<std::uint64_t> entriesAtPath(const QByteArray& path) const override;

 private:
  static bool reachable(const QByteArray& place, std::uint64_t mountId);

  QByteArray m_table;
  IsReachable m_isReachable;
};

}  // namespace halvard
