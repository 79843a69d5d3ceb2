#include "files_searcher/apps_searcher.h"

#include <QDebug>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <thread>

#include "files_searcher/application_bundles.h"
#include "files_searcher/path_utilities.h"
#include "files_searcher/size_calculation.h"

namespace halvard {
namespace {

constexpr ByteCount kImpossiblySmall = 2000;
constexpr std::size_t kConcurrentSizes = 4;

/// Sizes the bundles by several threads.
void addMeasured(const DiskSearchServices& services, const std::vector<QByteArray>& bundles,
                 std::vector<FoundFile>& applications, std::stop_token stop) {
  std::mutex mutex;
  std::atomic<std::size_t> next = 0;
  const auto measure = [&] {
    services.priority.lowerCurrentThread();
    for (std::size_t index = next++; index < bundles.size() && !stop.stop_requested(); index = next++) {
      // A file that is a whole application has no tree to sum.
      const auto file = services.reader.attributes(bundles[index]);
      const ByteCount size = file && file->type == EntryType::File
                                 ? file->allocatedSize
                                 : SizeCalculation(services.reader).fastSizeOfFolderAtPath(bundles[index], stop);
      const std::lock_guard lock(mutex);
      applications.push_back({bundles[index], size});
    }
  };
  std::vector<std::jthread> threads;
  for (std::size_t index = 0; index < std::min(kConcurrentSizes, bundles.size()); ++index)
    threads.emplace_back(measure);
}

}  // namespace

std::vector<FoundFile> countedApplications(const DiskSearchServices& services, const FileMetadataResults* results,
                                           std::stop_token stop) {
  const ApplicationBundles finder(services.reader, services.catalog, services.paths.folders());
  std::vector<QByteArray> withoutSize = finder.applicationsPathsArrayFromApplicationFolder(stop);
  std::vector<FoundFile> applications;
  for (std::size_t index = 0; results && index < results->count() && !stop.stop_requested(); ++index) {
    const QByteArray path = results->path(index);
    const std::optional<ByteCount> size = results->size(index);
    if (path_utilities::numberOccurencesSubstring(path, ".app") >= 2 || !size) continue;
    if (services.excludeList.isSystemBundleID(services.catalog.bundleIdentifier(path))) {
      std::erase(withoutSize, path);
      continue;
    }
    if (services.showsCalculationLog) qInfo().noquote() << "A:" << path << QStringLiteral("[%1]").arg(*size);
    if (*size > kImpossiblySmall) {
      applications.push_back({path, *size});
      std::erase(withoutSize, path);
    } else {
      qWarning("Returned size is impossibly small.");
    }
  }
  addMeasured(services, withoutSize, applications, stop);
  return applications;
}

AppsSearcher::AppsSearcher(const DiskSearchServices& services, JobQueue& jobs) : m_services(services), m_jobs(jobs) {}
AppsSearcher::~AppsSearcher() = default;

void AppsSearcher::findAppsWithDelegate(AppsSearcherDelegate& delegate) {
  m_delegate = &delegate;
  startSearchAction();
}

void AppsSearcher::startSearchAction() {
  std::vector<QByteArray> scopes = m_services.paths.folders().localApplications();
  scopes.push_back(m_services.paths.buildUserApplicationsDirectory());
  m_metadataQuery = m_services.queries.startQuery(
      std::move(scopes), {.applications = true, .largerThan = {}, .smallerThan = {}},
      [this](std::shared_ptr<const FileMetadataResults> results) { endSearching(std::move(results)); });
  if (!m_metadataQuery) endSearching(nullptr);
}

void AppsSearcher::endSearching(std::shared_ptr<const FileMetadataResults> results) {
  m_jobs.run(
      this,
      [services = m_services, results = std::move(results)](std::stop_token stop) {
        services.priority.lowerCurrentThread();
        return countedApplications(services, results.get(), stop);
      },
      [this](const std::vector<FoundFile>& applications) {
        if (m_delegate) m_delegate->onSpotlightAppsSearcherDoneWithApps(applications);
      });
}

}  // namespace halvard
