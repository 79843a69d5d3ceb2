#pragma once

#include <QObject>
#include <memory>
#include <stop_token>
#include <vector>

#include "core/jobs.h"
#include "core/weak_ref.h"
#include "files_searcher/disk_search_services.h"

namespace halvard {

class LargeAndOldSearcherDelegate : public WeakTarget {
 public:
  virtual void onSpotlightLargeOldSearcherDoneWithFiles(const std::vector<FoundFile>& files) = 0;

 protected:
  ~LargeAndOldSearcherDelegate() = default;
};

/// Lists the files of more than 20 MB that nobody used for more than 90 days, on the whole disk. Main thread; works on
/// others. Destroying it ends the work.
class LargeAndOldSearcher : public QObject {
 public:
  /// `jobs` outlives the searcher.
  LargeAndOldSearcher(const DiskSearchServices& services, JobQueue& jobs);
  ~LargeAndOldSearcher() override;

  void findLargeOldWithDelegate(LargeAndOldSearcherDelegate& delegate);

  /// The files that its query asks for.
  static FileMetadataPredicate predicate();

 private:
  void startSearchAction();
  /// Null: the query did not start.
  void endSearching(std::shared_ptr<const FileMetadataResults> results);

  const DiskSearchServices m_services;
  WeakRef<LargeAndOldSearcherDelegate> m_delegate;
  std::unique_ptr<FileMetadataQuery> m_metadataQuery;
  JobQueue& m_jobs;
};

/// Those of the files that are old. A file without any date is not. Blocks; `results` may be null.
std::vector<FoundFile> oldFiles(const DiskSearchServices& services, const FileMetadataResults* results,
                                std::stop_token stop);

}  // namespace halvard
