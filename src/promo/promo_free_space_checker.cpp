#include "promo/promo_free_space_checker.h"

#include <algorithm>

#include "preferences/showcase_defaults.h"

namespace halvard {
namespace {

bool isNearlyFull(const PromoFreeSpaceChecker::VolumeRecord& volume) {
  constexpr double smallestShare = 0.05;
  constexpr ByteCount smallestFree = 10'000'000'000;
  constexpr ByteCount largeDisk = 100'000'000'000;
  const double share = static_cast<double>(volume.freeSize) / static_cast<double>(volume.size);
  return share < smallestShare || (volume.freeSize < smallestFree && volume.size > largeDisk);
}

}  // namespace

PromoFreeSpaceChecker::PromoFreeSpaceChecker(MountedVolumes& volumes, ShowcaseDefaults& defaults, const Clock& clock,
                                             std::chrono::seconds timeBetweenChecks)
    : m_volumes(volumes), m_defaults(defaults), m_clock(clock), m_timeBetweenChecks(timeBetweenChecks) {}

float PromoFreeSpaceChecker::getTimeToWaitBeforeShowLackOfMemoryWarning() const {
  const auto last = m_defaults.getLastLackOfSpaceWarningDate();
  if (!last) return 0;
  return std::chrono::duration<float>(m_timeBetweenChecks - (m_clock.now() - *last)).count();
}

bool PromoFreeSpaceChecker::isNeedShowLackOfMemoryWarning() {
  if (getTimeToWaitBeforeShowLackOfMemoryWarning() > 0) return false;
  m_defaults.setNowAsLastLackOfSpaceWarningDate();
  m_fullVolume.reset();
  if (!enumerateVolumes()) return false;
  const auto full = std::find_if(m_records.begin(), m_records.end(), isNearlyFull);
  if (full != m_records.end()) m_fullVolume = *full;
  return m_fullVolume.has_value();
}

bool PromoFreeSpaceChecker::enumerateVolumes() {
  m_records.clear();
  const auto mounted = m_volumes.mountedLocalVolumes();
  if (!mounted) return false;
  for (const MountedVolume& volume : *mounted) {
    if (!isSystemMTMFS(volume)) addVolumeAtPath(volume, m_records);
  }
  return true;
}

void PromoFreeSpaceChecker::addVolumeAtPath(const MountedVolume& volume, std::vector<VolumeRecord>& records) {
  if (!volume.writable) return;
  const std::optional<VolumeSpace> space = m_volumes.spaceAtPath(volume.path);
  if (!space) return;
  const ByteCount freeSize = freeSizeOf(volume, *space);
  if (space->size == 0 && freeSize == 0) return;
  records.push_back({.path = volume.path, .name = volume.name, .size = space->size, .freeSize = freeSize});
}

bool PromoFreeSpaceChecker::isSystemMTMFS(const MountedVolume& volume) {
  return volume.fileSystemType == QLatin1String("mtmfs");
}

ByteCount PromoFreeSpaceChecker::freeSizeOf(const MountedVolume& volume, const VolumeSpace& space) {
  if (volume.path != QLatin1String("/")) return space.freeSize;
  const std::optional<QString> text = getSystemDiskFreeSize();
  // A text that is no number is 0, and 0 is nearly full.
  return text ? text->toULongLong() : space.freeSize;
}

std::optional<QString> PromoFreeSpaceChecker::getSystemDiskFreeSize() {
  return m_volumes.startupDiskFreeSize();
}

}  // namespace halvard
