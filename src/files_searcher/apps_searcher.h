#pragma once

#include <QObject>
#include <memory>
#include <vector>

#include "core/jobs.h"
#include "core/weak_ref.h"
#include "files_searcher/disk_search_services.h"

namespace halvard {

class AppsSearcherDelegate : public WeakTarget {
 public:
  virtual void onSpotlightAppsSearcherDoneWithApps(const std::vector<FoundFile>& applications) = 0;

 protected:
  ~AppsSearcherDelegate() = default;
};

/// Lists the applications that do not belong to the system, with their sizes. Main thread; works on others. Destroying
/// it ends the work.
class AppsSearcher : public QObject {
 public:
  /// `jobs` outlives the searcher.
  AppsSearcher(const DiskSearchServices& services, JobQueue& jobs);
  ~AppsSearcher() override;

  void findAppsWithDelegate(AppsSearcherDelegate& delegate);

 private:
  void startSearchAction();
  /// Null: the query did not start.
  void endSearching(std::shared_ptr<const FileMetadataResults> results);

  const DiskSearchServices m_services;
  WeakRef<AppsSearcherDelegate> m_delegate;
  std::unique_ptr<FileMetadataQuery> m_metadataQuery;
  JobQueue& m_jobs;
};

/// The rules of the search, apart from its course. Blocks; `results` may be null.
std::vector<FoundFile> countedApplications(const DiskSearchServices& services, const FileMetadataResults* results,
                                           std::stop_token stop);

}  // namespace halvard
