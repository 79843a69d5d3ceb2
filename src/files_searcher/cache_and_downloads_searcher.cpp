#include "files_searcher/cache_and_downloads_searcher.h"

#include "files_searcher/size_calculation.h"

namespace halvard {

using namespace std::chrono_literals;

CacheAndDownloadsSearcher::CacheAndDownloadsSearcher(const DiskSearchServices& services, JobQueue& jobs)
    : m_services(services), m_jobs(jobs) {}

void CacheAndDownloadsSearcher::findCacheAndDownloadsWithDelegate(CacheAndDownloadsSearcherDelegate& delegate) {
  m_delegate = &delegate;
  const PathsGenerator& paths = m_services.paths;
  m_services.clock.callAfter(200ms, this,
                             [this, path = paths.buildCacheDirectory()] { sizeFolder(path, m_cacheSizeNum); });
  m_services.clock.callAfter(400ms, this,
                             [this, path = paths.buildDownloadsDirectory()] { sizeFolder(path, m_downloadsSizeNum); });
  m_services.clock.callAfter(600ms, this,
                             [this, path = paths.buildTrashDirectory()] { sizeFolder(path, m_trashSizeNum); });
}

void CacheAndDownloadsSearcher::sizeFolder(QByteArray path, std::optional<ByteCount>& size) {
  m_jobs.run(
      this,
      [&reader = m_services.reader, &priority = m_services.priority, path = std::move(path)](std::stop_token stop) {
        priority.lowerCurrentThread();
        return SizeCalculation(reader).sizeIgnoreRootDSStoreForFolderAtPath(path, stop);
      },
      [this, &size](ByteCount result) {
        size = result;
        tryToNotifyDelegate();
      });
}

void CacheAndDownloadsSearcher::tryToNotifyDelegate() {
  if (!m_cacheSizeNum || !m_downloadsSizeNum || !m_trashSizeNum || !m_delegate) return;
  m_delegate->onCacheAndDownloadsSearcherDoneWithDict({*m_cacheSizeNum, *m_downloadsSizeNum, *m_trashSizeNum});
}

}  // namespace halvard
