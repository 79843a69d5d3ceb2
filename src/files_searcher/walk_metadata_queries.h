#pragma once

#include <QObject>
#include <atomic>
#include <memory>
#include <vector>

#include "core/jobs.h"
#include "platform/ports/application_catalog.h"
#include "platform/ports/background_priority.h"
#include "platform/ports/file_metadata_query.h"
#include "platform/ports/folder_reader.h"
#include "platform/ports/search_mounts.h"

namespace halvard {

/// Answers metadata queries by reading the folders themselves: one pass, with several threads of the lowest priority,
/// for all queries that wait. Queries that arrive during a pass wait for the next; a pass that nobody waits for any
/// more ends at once.
class WalkMetadataQueries : public QObject, public FileMetadataQueryService {
 public:
  /// The references must outlive this object. `threads` is at least 1; more than there are processors pay off on a
  /// disk that has to be read.
  WalkMetadataQueries(const FolderReader& reader, const SearchMounts& mounts, const ApplicationCatalog& catalog,
                      const BackgroundPriority& priority, int threads = 4);
  ~WalkMetadataQueries() override;

  std::unique_ptr<FileMetadataQuery> startQuery(std::vector<QByteArray> scopes, FileMetadataPredicate predicate,
                                                Finished finished) override;
  double progress() const override;

 private:
  struct Query;
  class Handle;
  struct Pass;
  using Queries = std::vector<std::shared_ptr<Query>>;

  void startPass();
  void endPass(std::vector<std::shared_ptr<FileMetadataResults>> results);
  void queryWasDropped();
  bool isWanted(const Queries& queries) const;

  const FolderReader& m_reader;
  const SearchMounts& m_mounts;
  const ApplicationCatalog& m_catalog;
  const BackgroundPriority& m_priority;
  const int m_threads;
  Queries m_waiting;
  Queries m_running;
  bool m_startsSoon = false;
  std::shared_ptr<Pass> m_pass;
  LatestJob m_job;
  JobQueue m_jobs;
};

}  // namespace halvard
