#pragma once

#include <QString>
#include <chrono>
#include <optional>
#include <vector>

#include "platform/ports/mounted_volumes.h"

namespace halvard {

class Clock;
class ShowcaseDefaults;

/// Tells, at most once an interval, whether a local disk is nearly full: less than 5 % free, or less than 10 GB on one
/// of more than 100 GB. Looks at writable volumes alone. One thread at a time.
class PromoFreeSpaceChecker {
 public:
  struct VolumeRecord {
    QString path;
    QString name;
    ByteCount size = 0;
    ByteCount freeSize = 0;
    bool operator==(const VolumeRecord&) const = default;
  };

  /// The references outlive this object.
  PromoFreeSpaceChecker(MountedVolumes& volumes, ShowcaseDefaults& defaults, const Clock& clock,
                        std::chrono::seconds timeBetweenChecks);

  /// Seconds until the next check is due; 0 before the first, negative when overdue.
  float getTimeToWaitBeforeShowLackOfMemoryWarning() const;

  /// Blocks for one statvfs a volume. A call before its time answers false and looks at nothing; any other starts the
  /// interval anew, whatever the answer.
  bool isNeedShowLackOfMemoryWarning();

  /// The volume that made the last answer true.
  const std::optional<VolumeRecord>& fullVolume() const { return m_fullVolume; }
  /// The volumes of the last check.
  const std::vector<VolumeRecord>& volumes() const { return m_records; }

 private:
  bool enumerateVolumes();
  void addVolumeAtPath(const MountedVolume& volume, std::vector<VolumeRecord>& records);
  static bool isSystemMTMFS(const MountedVolume& volume);
  ByteCount freeSizeOf(const MountedVolume& volume, const VolumeSpace& space);
  std::optional<QString> getSystemDiskFreeSize();

  MountedVolumes& m_volumes;
  ShowcaseDefaults& m_defaults;
  const Clock& m_clock;
  const std::chrono::seconds m_timeBetweenChecks;
  std::vector<VolumeRecord> m_records;
  std::optional<VolumeRecord> m_fullVolume;
};

}  // namespace halvard
