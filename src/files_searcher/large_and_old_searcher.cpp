#include "files_searcher/large_and_old_searcher.h"

#include <QDebug>

#include <algorithm>

namespace halvard {
namespace {
constexpr ByteCount kLarge = 20'000'000;
constexpr std::chrono::seconds kOld{7'776'000};
}  // namespace

std::vector<FoundFile> oldFiles(const DiskSearchServices& services, const FileMetadataResults* results,
                                std::stop_token stop) {
  std::vector<FoundFile> files;
  for (std::size_t index = 0; results && index < results->count() && !stop.stop_requested(); ++index) {
    const QByteArray path = results->path(index);
    const std::optional<ByteCount> size = results->size(index);
    const auto lastUse = services.lastUsedDates.lastUsedDate(path);
    if (!size || !lastUse || services.clock.now() - *lastUse <= kOld) continue;
    // A file with holes names a size that it does not take from the disk.
    const auto attributes = services.reader.attributes(path);
    const ByteCount occupied = attributes ? std::min(*size, attributes->allocatedSize) : *size;
    if (occupied <= kLarge) continue;
    if (services.showsCalculationLog) qInfo().noquote() << "L:" << path << QStringLiteral("[%1]").arg(occupied);
    files.push_back({path, occupied});
  }
  return files;
}

LargeAndOldSearcher::LargeAndOldSearcher(const DiskSearchServices& services, JobQueue& jobs)
    : m_services(services), m_jobs(jobs) {}
LargeAndOldSearcher::~LargeAndOldSearcher() = default;

void LargeAndOldSearcher::findLargeOldWithDelegate(LargeAndOldSearcherDelegate& delegate) {
  m_delegate = &delegate;
  startSearchAction();
}

FileMetadataPredicate LargeAndOldSearcher::predicate() {
  return {.applications = false, .largerThan = kLarge, .smallerThan = {}};
}

void LargeAndOldSearcher::startSearchAction() {
  m_metadataQuery = m_services.queries.startQuery(
      {m_services.paths.getCurrentDiskDirectory()}, predicate(),
      [this](std::shared_ptr<const FileMetadataResults> results) { endSearching(std::move(results)); });
  if (!m_metadataQuery) endSearching(nullptr);
}

void LargeAndOldSearcher::endSearching(std::shared_ptr<const FileMetadataResults> results) {
  m_jobs.run(
      this,
      [services = m_services, results = std::move(results)](std::stop_token stop) {
        services.priority.lowerCurrentThread();
        return oldFiles(services, results.get(), stop);
      },
      [this](const std::vector<FoundFile>& files) {
        if (m_delegate) m_delegate->onSpotlightLargeOldSearcherDoneWithFiles(files);
      });
}

}  // namespace halvard
