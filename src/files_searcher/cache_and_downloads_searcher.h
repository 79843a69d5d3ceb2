#pragma once

#include <QObject>
#include <optional>

#include "core/jobs.h"
#include "core/weak_ref.h"
#include "files_searcher/disk_info.h"
#include "files_searcher/disk_search_services.h"

namespace halvard {

class CacheAndDownloadsSearcherDelegate : public WeakTarget {
 public:
  virtual void onCacheAndDownloadsSearcherDoneWithDict(const JunkFilesViewInfo& sizes) = 0;

 protected:
  ~CacheAndDownloadsSearcherDelegate() = default;
};

/// Sums the three folders that collect what nobody needs any more. Main thread; works on others. Destroying it ends
/// the work.
class CacheAndDownloadsSearcher : public QObject {
 public:
  /// `jobs` outlives the searcher.
  CacheAndDownloadsSearcher(const DiskSearchServices& services, JobQueue& jobs);

  /// Starts the three sums a fifth of a second apart, the first after as long. The delegate hears once, when all three
  /// are there.
  void findCacheAndDownloadsWithDelegate(CacheAndDownloadsSearcherDelegate& delegate);

 private:
  void sizeFolder(QByteArray path, std::optional<ByteCount>& size);
  void tryToNotifyDelegate();

  const DiskSearchServices m_services;
  WeakRef<CacheAndDownloadsSearcherDelegate> m_delegate;
  std::optional<ByteCount> m_cacheSizeNum;
  std::optional<ByteCount> m_downloadsSizeNum;
  std::optional<ByteCount> m_trashSizeNum;
  JobQueue& m_jobs;
};

}  // namespace halvard
