#pragma once

#include <QObject>
#include <array>
#include <memory>
#include <optional>

#include "core/clock.h"
#include "core/jobs.h"
#include "core/weak_ref.h"
#include "files_searcher/apps_searcher.h"
#include "files_searcher/cache_and_downloads_searcher.h"
#include "files_searcher/disk_info.h"
#include "files_searcher/disk_search_services.h"
#include "files_searcher/duplicates_searcher.h"
#include "files_searcher/large_and_old_searcher.h"
#include "platform/ports/defaults_store.h"

namespace halvard {

/// Hears each figure when it is found, and again when a search is asked for that has a fresh result.
class SearcherManagerDelegate : public WeakTarget {
 public:
  virtual void onSpotlightManagerFoundJunkFilesInfo(const JunkFilesViewInfo& info) = 0;
  virtual void onSpotlightManagerFoundApplicationsInfo(const ApplicationsUnusedViewInfo& info) = 0;
  virtual void onSpotlightManagerFoundLargetAndOldFilesInfo(const LargeAndOldFilesViewInfo& info) = 0;
  virtual void onSpotlightManagerFoundDuplicatesInfo(const DuplicateFilesViewInfo& info) = 0;

 protected:
  ~SearcherManagerDelegate() = default;
};

/// Runs the four searchers and keeps what they found for a day. Main thread.
class SearcherManager : public QObject,
                        private CacheAndDownloadsSearcherDelegate,
                        private AppsSearcherDelegate,
                        private LargeAndOldSearcherDelegate,
                        private DuplicatesSearcherDelegate {
 public:
  /// `store` is read now: the time after which a search is repeated, in seconds, 86400 when it holds no positive
  /// number.
  SearcherManager(const DiskSearchServices& services, const DefaultsStore& store);
  ~SearcherManager() override;

  /// The delegate replaces the one before and is held weakly.
  void startSearchWithDelegate(SearcherManagerDelegate& delegate, bool forced);
  /// Starts what is idle or stale, tells again what is fresh, leaves alone what runs. Forced: starts everything anew.
  void startSearchForced(bool forced);
  /// Starts this one in any case. Types that do not exist are ignored.
  void startSearchForType(DiskInfoType type);
  void restartGentlyAfterDay() { startSearchForced(true); }

  /// Ends what runs, as if it had not been started; what was found stays.
  void cancelSearches();

  /// The sum of the four figures; 0 until all are there.
  ByteCount getTotalCalculatedSize() const;

  /// How far the running searches have come, 0 to 1.
  double progress() const { return m_services.queries.progress(); }

 private:
  void onCacheAndDownloadsSearcherDoneWithDict(const JunkFilesViewInfo& sizes) override;
  void onSpotlightAppsSearcherDoneWithApps(const std::vector<FoundFile>& applications) override;
  void onSpotlightLargeOldSearcherDoneWithFiles(const std::vector<FoundFile>& files) override;
  void onDuplicatesSearcherDoneWithDict(const DuplicateFilesViewInfo& totals) override;

  bool hasResult(DiskInfoType type) const;
  bool isFresh(DiskInfoType type) const;
  std::optional<Clock::Instant>& lastScanDate(DiskInfoType type) {
    return m_lastScanDates[static_cast<std::size_t>(type)];
  }
  /// From the start of a search until its result is kept: what is kept meanwhile is of an earlier one.
  bool& isAwaited(DiskInfoType type) { return m_awaited[static_cast<std::size_t>(type)]; }
  void notifyDelegatAboutInfoForType(DiskInfoType type);

  const DiskSearchServices m_services;
  float m_nRescanTime = 86400;
  WeakRef<SearcherManagerDelegate> m_delegate;

  /// Outlives the searchers, so that letting go of one that works does not wait for it.
  JobQueue m_jobs;
  std::unique_ptr<CacheAndDownloadsSearcher> m_cacheAndDownloadsSearcher;
  std::unique_ptr<AppsSearcher> m_appSearcher;
  std::unique_ptr<LargeAndOldSearcher> m_largeOldSearcher;
  std::unique_ptr<DuplicatesSearcher> m_duplicatesSearcher;

  std::optional<JunkFilesViewInfo> m_clearDiskDict;
  std::optional<ApplicationsUnusedViewInfo> m_unusedAppsDict;
  std::optional<LargeAndOldFilesViewInfo> m_largeOldDict;
  std::optional<DuplicateFilesViewInfo> m_duplicatesDict;
  /// When each search was last started, by type.
  std::array<std::optional<Clock::Instant>, 4> m_lastScanDates;
  std::array<bool, 4> m_awaited{};
  ScheduledCall m_restart;
};

}  // namespace halvard
