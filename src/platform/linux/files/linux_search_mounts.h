#pragma once

#include "platform/ports/search_mounts.h"

namespace halvard {

/// The mounts of this process, through libmount.
class LinuxSearchMounts : public SearchMounts {
 public:
  /// `table` has the form of "/proc/self/mountinfo".
  explicit LinuxSearchMounts(QByteArray table = "/proc/self/mountinfo") : m_table(std::move(table)) {}

  std::unique_ptr<MountRules> rules() const override;
  std::vector<MountAlias> aliases() const override;
  std::vector<QByteArray> hiddenLayers() const override;
  std::optional<std::uint64_t> entriesAtPath(const QByteArray& path) const override;

 private:
  QByteArray m_table;
};

}  // namespace halvard
