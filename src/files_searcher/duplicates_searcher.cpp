#include "files_searcher/duplicates_searcher.h"

#include <QDebug>

#include <utility>

namespace halvard {
namespace {

void log(const ResultSets& files, Separator& duplicates) {
  duplicates.forEachGroup([&](const Separator::Group& group) {
    QByteArray text = "D: " + QByteArray::number(static_cast<qulonglong>(group.size)) + '\n';
    for (const Separator::Item item : group.items)
      text += pathOfItem(files, item) + '\n';
    qInfo().noquote() << text;
  });
}

}  // namespace

QByteArray pathOfItem(const ResultSets& files, Separator::Item item) {
  std::size_t index = item;
  auto set = files.begin();
  for (; index >= (*set)->count(); ++set)
    index -= (*set)->count();
  return (*set)->path(index);
}

DuplicatesSearcher::DuplicatesSearcher(const DiskSearchServices& services, JobQueue& jobs)
    : m_services(services), m_jobs(jobs) {}
DuplicatesSearcher::~DuplicatesSearcher() = default;

std::vector<QByteArray> DuplicatesSearcher::scopes(const FolderReader& reader, const PathsGenerator& paths) {
  std::vector<QByteArray> scopes;
  const auto home = reader.open(paths.getHomeDirectory());
  FolderBatch batch;
  while (home && home->nextBatch(batch)) {
    for (const FolderEntry& entry : batch.entries) {
      const bool counts = entry.type == EntryType::Folder || entry.type == EntryType::File;
      if (counts && entry.name != "Library") scopes.push_back(paths.getHomeDirectory() + '/' + entry.name.data());
    }
  }
  return scopes;
}

FileMetadataPredicate DuplicatesSearcher::predicateForSizeLimit(ByteCount limit) {
  FileMetadataPredicate predicate;
  predicate.largerThan = limit;
  if (limit != kOneMegabyte) predicate.smallerThan = kOneMegabyte;
  return predicate;
}

Separator DuplicatesSearcher::findDuplicatesInFiles(const ResultSets& files, std::stop_token stop) {
  Separator groups;
  Separator::Item item = 0;
  for (const auto& set : files) {
    for (std::size_t index = 0; index < set->count() && !stop.stop_requested(); ++index)
      groups.addObject(item++, set->name(index), set->size(index));
  }
  return groups;
}

void DuplicatesSearcher::findDuplicatesWithDelegate(DuplicatesSearcherDelegate& delegate) {
  m_delegate = &delegate;
  startSearchWithSizeLimil(kOneMegabyte);
}

void DuplicatesSearcher::startSearchWithSizeLimil(ByteCount limit) {
  m_metadataQuery = m_services.queries.startQuery(
      scopes(m_services.reader, m_services.paths), predicateForSizeLimit(limit),
      [this](std::shared_ptr<const FileMetadataResults> results) { endSearching(std::move(results)); });
  if (!m_metadataQuery) endSearching(nullptr);
}

void DuplicatesSearcher::endSearching(std::shared_ptr<const FileMetadataResults> results) {
  ResultSets files;
  if (results) files.push_back(std::move(results));
  if (!m_arrOneMB) {
    m_arrOneMB = files;
  } else if (!m_arrFiftyKB) {
    files.insert(files.begin(), m_arrOneMB->begin(), m_arrOneMB->end());
    m_arrFiftyKB = files;
  } else {
    return;
  }
  m_jobs.run(
      this,
      [files, &priority = m_services.priority, logs = m_services.showsCalculationLog](std::stop_token stop) {
        priority.lowerCurrentThread();
        Separator duplicates = findDuplicatesInFiles(files, stop);
        if (logs) log(files, duplicates);
        return duplicates.calculateTotalSizeOfDuplicates();
      },
      [this](Separator::Totals totals) { found(totals); });
}

void DuplicatesSearcher::found(Separator::Totals totals) {
  if (!m_arrFiftyKB && totals.size < kEnough) {
    startSearchWithSizeLimil(kFiftyKilobytes);
    return;
  }
  // The lists are large, and this searcher lives until the next search.
  m_metadataQuery.reset();
  m_arrOneMB.emplace();
  if (m_arrFiftyKB) m_arrFiftyKB.emplace();
  if (m_delegate) m_delegate->onDuplicatesSearcherDoneWithDict({totals.size, totals.count});
}

}  // namespace halvard
