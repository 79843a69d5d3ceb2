#include "files_searcher/searcher_manager.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numeric>
#include <utility>

#include "preferences/stored_keys.h"

namespace halvard {
namespace {

/// The three junk folders and the other three figures.
constexpr int kThreads = 6;
/// Seconds: neither without a pause nor longer than a timer can wait.
constexpr double kShortestRescanTime = 1;
constexpr double kLongestRescanTime = 2e6;
constexpr std::array kTypes{DiskInfoType::Junk, DiskInfoType::Applications, DiskInfoType::LargeAndOld,
                            DiskInfoType::Duplicates};

ByteCount totalSize(const std::vector<FoundFile>& files) {
  return std::accumulate(files.begin(), files.end(), ByteCount{0},
                         [](ByteCount sum, const FoundFile& file) { return sum + file.size; });
}

}  // namespace

SearcherManager::SearcherManager(const DiskSearchServices& services, const DefaultsStore& store)
    : m_services(services), m_jobs(QStringLiteral("disk figures"), kThreads), m_restart(services.clock) {
  const auto stored = store.objectForKey(stored_keys::testRescanDiskJunkTime);
  const double time = stored && stored->isNumber() ? stored->toReal().value_or(0) : 0;
  if (std::isfinite(time) && time > 0)
    m_nRescanTime = static_cast<float>(std::clamp(time, kShortestRescanTime, kLongestRescanTime));
}

SearcherManager::~SearcherManager() = default;

void SearcherManager::startSearchWithDelegate(SearcherManagerDelegate& delegate, bool forced) {
  m_delegate = &delegate;
  startSearchForced(forced);
}

void SearcherManager::startSearchForced(bool forced) {
  if (forced) {
    m_clearDiskDict.reset();
    m_unusedAppsDict.reset();
    m_largeOldDict.reset();
    m_duplicatesDict.reset();
    for (const DiskInfoType type : kTypes)
      lastScanDate(type).reset();
  }
  for (const DiskInfoType type : kTypes) {
    if (!isFresh(type)) {
      startSearchForType(type);
    } else if (hasResult(type)) {
      notifyDelegatAboutInfoForType(type);
    }
  }
  m_restart.start(std::chrono::milliseconds(static_cast<std::int64_t>(m_nRescanTime * 1000.0F)),
                  [this] { restartGentlyAfterDay(); });
}

void SearcherManager::startSearchForType(DiskInfoType type) {
  if (std::find(kTypes.begin(), kTypes.end(), type) == kTypes.end()) return;
  isAwaited(type) = true;
  switch (type) {
    case DiskInfoType::Junk:
      lastScanDate(type) = m_services.clock.now();
      m_cacheAndDownloadsSearcher = std::make_unique<CacheAndDownloadsSearcher>(m_services, m_jobs);
      m_services.clock.callAfter(std::chrono::milliseconds(0), m_cacheAndDownloadsSearcher.get(),
                                 [this] { m_cacheAndDownloadsSearcher->findCacheAndDownloadsWithDelegate(*this); });
      break;
    case DiskInfoType::Applications:
      m_appSearcher = std::make_unique<AppsSearcher>(m_services, m_jobs);
      m_appSearcher->findAppsWithDelegate(*this);
      lastScanDate(type) = m_services.clock.now();
      break;
    case DiskInfoType::LargeAndOld:
      m_largeOldSearcher = std::make_unique<LargeAndOldSearcher>(m_services, m_jobs);
      m_largeOldSearcher->findLargeOldWithDelegate(*this);
      lastScanDate(type) = m_services.clock.now();
      break;
    case DiskInfoType::Duplicates:
      m_duplicatesSearcher = std::make_unique<DuplicatesSearcher>(m_services, m_jobs);
      m_duplicatesSearcher->findDuplicatesWithDelegate(*this);
      lastScanDate(type) = m_services.clock.now();
      break;
  }
}

void SearcherManager::cancelSearches() {
  m_cacheAndDownloadsSearcher.reset();
  m_appSearcher.reset();
  m_largeOldSearcher.reset();
  m_duplicatesSearcher.reset();
  for (const DiskInfoType type : kTypes) {
    if (std::exchange(isAwaited(type), false)) lastScanDate(type).reset();
  }
}

bool SearcherManager::hasResult(DiskInfoType type) const {
  switch (type) {
    case DiskInfoType::Junk:
      return m_clearDiskDict.has_value();
    case DiskInfoType::Applications:
      return m_unusedAppsDict.has_value();
    case DiskInfoType::LargeAndOld:
      return m_largeOldDict.has_value();
    case DiskInfoType::Duplicates:
      return m_duplicatesDict.has_value();
  }
  return false;
}

bool SearcherManager::isFresh(DiskInfoType type) const {
  const auto date = m_lastScanDates[static_cast<std::size_t>(type)];
  return date && std::chrono::duration<double>(m_services.clock.now() - *date).count() <= double{m_nRescanTime};
}

void SearcherManager::notifyDelegatAboutInfoForType(DiskInfoType type) {
  if (!m_delegate) return;
  switch (type) {
    case DiskInfoType::Junk:
      return m_delegate->onSpotlightManagerFoundJunkFilesInfo(m_clearDiskDict.value_or(JunkFilesViewInfo{}));
    case DiskInfoType::Applications:
      return m_delegate->onSpotlightManagerFoundApplicationsInfo(
          m_unusedAppsDict.value_or(ApplicationsUnusedViewInfo{}));
    case DiskInfoType::LargeAndOld:
      return m_delegate->onSpotlightManagerFoundLargetAndOldFilesInfo(
          m_largeOldDict.value_or(LargeAndOldFilesViewInfo{}));
    case DiskInfoType::Duplicates:
      return m_delegate->onSpotlightManagerFoundDuplicatesInfo(m_duplicatesDict.value_or(DuplicateFilesViewInfo{}));
  }
}

void SearcherManager::onCacheAndDownloadsSearcherDoneWithDict(const JunkFilesViewInfo& sizes) {
  m_clearDiskDict = sizes;
  isAwaited(DiskInfoType::Junk) = false;
  notifyDelegatAboutInfoForType(DiskInfoType::Junk);
}

void SearcherManager::onSpotlightAppsSearcherDoneWithApps(const std::vector<FoundFile>& applications) {
  m_unusedAppsDict = {totalSize(applications), applications.size()};
  isAwaited(DiskInfoType::Applications) = false;
  notifyDelegatAboutInfoForType(DiskInfoType::Applications);
}

void SearcherManager::onSpotlightLargeOldSearcherDoneWithFiles(const std::vector<FoundFile>& files) {
  // Unlike the applications, these are not even kept when nobody wants to hear of them.
  if (!m_delegate) return;
  m_largeOldDict = {totalSize(files), files.size()};
  isAwaited(DiskInfoType::LargeAndOld) = false;
  notifyDelegatAboutInfoForType(DiskInfoType::LargeAndOld);
}

void SearcherManager::onDuplicatesSearcherDoneWithDict(const DuplicateFilesViewInfo& totals) {
  m_duplicatesDict = totals;
  isAwaited(DiskInfoType::Duplicates) = false;
  notifyDelegatAboutInfoForType(DiskInfoType::Duplicates);
}

ByteCount SearcherManager::getTotalCalculatedSize() const {
  if (!m_clearDiskDict || !m_unusedAppsDict || !m_largeOldDict || !m_duplicatesDict) return 0;
  return m_clearDiskDict->total() + m_duplicatesDict->size + m_largeOldDict->size + m_unusedAppsDict->size;
}

}  // namespace halvard
