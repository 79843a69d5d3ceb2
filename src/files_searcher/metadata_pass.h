#pragma once

#include <QByteArray>
#include <atomic>
#include <cstdint>
#include <memory>
#include <stop_token>
#include <vector>

#include "files_searcher/packed_results.h"
#include "files_searcher/scope_tree.h"
#include "platform/ports/application_catalog.h"
#include "platform/ports/background_priority.h"
#include "platform/ports/file_metadata_query.h"
#include "platform/ports/search_mounts.h"

namespace halvard {

/// One question of a pass.
struct MetadataQuestion {
  std::vector<QByteArray> scopes;
  FileMetadataPredicate predicate;
};

/// One reading of the folders that answers up to ScopeTree::kMostQueries questions. Any thread; blocks.
class MetadataPass {
 public:
  /// The references must outlive this object. With a priority every thread takes it first.
  MetadataPass(const FolderReader& reader, const SearchMounts& mounts, const ApplicationCatalog& catalog,
               const BackgroundPriority* priority, int threads)
      : m_reader(reader), m_mounts(mounts), m_catalog(catalog), m_priority(priority), m_threads(threads) {}

  /// One result a question, in their order. `seen` counts the entries read so far.
  std::vector<std::shared_ptr<FileMetadataResults>> run(const std::vector<MetadataQuestion>& questions,
                                                        std::atomic<std::uint64_t>& seen, std::stop_token stop) const;

 private:
  ScopeTree scopesOf(const std::vector<MetadataQuestion>& questions, const MountRules& rules,
                     std::vector<std::vector<PackedFiles>>& found) const;
  void addApplications(std::vector<PackedFiles>& found, std::stop_token stop) const;

  const FolderReader& m_reader;
  const SearchMounts& m_mounts;
  const ApplicationCatalog& m_catalog;
  const BackgroundPriority* const m_priority;
  const int m_threads;
};

}  // namespace halvard
