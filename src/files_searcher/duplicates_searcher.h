#pragma once

#include <QObject>
#include <memory>
#include <optional>
#include <vector>

#include "core/jobs.h"
#include "core/weak_ref.h"
#include "files_searcher/disk_info.h"
#include "files_searcher/disk_search_services.h"
#include "files_searcher/separator.h"

namespace halvard {

class DuplicatesSearcherDelegate : public WeakTarget {
 public:
  virtual void onDuplicatesSearcherDoneWithDict(const DuplicateFilesViewInfo& totals) = 0;

 protected:
  ~DuplicatesSearcherDelegate() = default;
};

/// Several results, numbered through.
using ResultSets = std::vector<std::shared_ptr<const FileMetadataResults>>;

QByteArray pathOfItem(const ResultSets& files, Separator::Item item);

/// Estimates how much of the home folder is there more than once: files of the same extension and size. Small files
/// are only looked at when the large ones show little. Main thread; works on others. Destroying it ends the work.
class DuplicatesSearcher : public QObject {
 public:
  /// Bytes.
  static constexpr ByteCount kOneMegabyte = 0x100000;
  static constexpr ByteCount kFiftyKilobytes = 50'000;
  /// With less than this among the large files the small ones are searched too.
  static constexpr ByteCount kEnough = 0x6400000;

  /// `jobs` outlives the searcher.
  DuplicatesSearcher(const DiskSearchServices& services, JobQueue& jobs);
  ~DuplicatesSearcher() override;

  void findDuplicatesWithDelegate(DuplicatesSearcherDelegate& delegate);

  /// Every direct entry of the home folder, hidden ones included, but "Library".
  static std::vector<QByteArray> scopes(const FolderReader& reader, const PathsGenerator& paths);
  /// Above the limit, and below a mebibyte unless that is the limit.
  static FileMetadataPredicate predicateForSizeLimit(ByteCount limit);
  /// Groups the files of all results; after `stop` was requested, some of them.
  static Separator findDuplicatesInFiles(const ResultSets& files, std::stop_token stop = {});

 private:
  void startSearchWithSizeLimil(ByteCount limit);
  /// Null: the query did not start.
  void endSearching(std::shared_ptr<const FileMetadataResults> results);
  void found(Separator::Totals totals);

  const DiskSearchServices m_services;
  WeakRef<DuplicatesSearcherDelegate> m_delegate;
  std::unique_ptr<FileMetadataQuery> m_metadataQuery;
  /// What the first pass found; and with it what the second found. Empty, but there, once the figure is told.
  std::optional<ResultSets> m_arrOneMB;
  std::optional<ResultSets> m_arrFiftyKB;
  JobQueue& m_jobs;
};

}  // namespace halvard
