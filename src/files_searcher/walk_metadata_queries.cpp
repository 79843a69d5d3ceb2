#include "files_searcher/walk_metadata_queries.h"

#include <QPointer>

#include <algorithm>
#include <utility>

#include "files_searcher/metadata_pass.h"

namespace halvard {

struct WalkMetadataQueries::Query {
  MetadataQuestion question;
  Finished finished;
  bool dropped = false;
};

struct WalkMetadataQueries::Pass {
  std::atomic<std::uint64_t> seen = 0;
  std::uint64_t expected = 0;
};

class WalkMetadataQueries::Handle : public FileMetadataQuery {
 public:
  Handle(QPointer<WalkMetadataQueries> service, std::shared_ptr<Query> query)
      : m_service(std::move(service)), m_query(std::move(query)) {}
  ~Handle() override {
    m_query->dropped = true;
    if (m_service) m_service->queryWasDropped();
  }

 private:
  const QPointer<WalkMetadataQueries> m_service;
  const std::shared_ptr<Query> m_query;
};

WalkMetadataQueries::WalkMetadataQueries(const FolderReader& reader, const SearchMounts& mounts,
                                         const ApplicationCatalog& catalog, const BackgroundPriority& priority,
                                         int threads)
    : m_reader(reader),
      m_mounts(mounts),
      m_catalog(catalog),
      m_priority(priority),
      m_threads(threads),
      m_jobs(QStringLiteral("disk search")) {}

WalkMetadataQueries::~WalkMetadataQueries() = default;

std::unique_ptr<FileMetadataQuery> WalkMetadataQueries::startQuery(std::vector<QByteArray> scopes,
                                                                   FileMetadataPredicate predicate, Finished finished) {
  auto query = std::make_shared<Query>();
  query->question = {std::move(scopes), predicate};
  query->finished = std::move(finished);
  m_waiting.push_back(query);
  if (!m_startsSoon) {
    m_startsSoon = true;
    QMetaObject::invokeMethod(
        this,
        [this] {
          m_startsSoon = false;
          startPass();
        },
        Qt::QueuedConnection);
  }
  return std::make_unique<Handle>(QPointer<WalkMetadataQueries>(this), std::move(query));
}

bool WalkMetadataQueries::isWanted(const Queries& queries) const {
  return std::any_of(queries.begin(), queries.end(), [](const auto& query) { return !query->dropped; });
}

void WalkMetadataQueries::queryWasDropped() {
  std::erase_if(m_waiting, [](const auto& query) { return query->dropped; });
  if (m_running.empty() || isWanted(m_running)) return;
  m_job.cancel();
  m_running.clear();
  m_pass.reset();
  startPass();
}

void WalkMetadataQueries::startPass() {
  if (!m_running.empty() || m_waiting.empty()) return;
  const auto count = std::min<std::ptrdiff_t>(ScopeTree::kMostQueries, std::ssize(m_waiting));
  m_running.assign(m_waiting.begin(), m_waiting.begin() + count);
  m_waiting.erase(m_waiting.begin(), m_waiting.begin() + count);
  std::vector<MetadataQuestion> questions;
  for (const auto& query : m_running)
    questions.push_back(query->question);
  m_pass = std::make_shared<Pass>();
  m_pass->expected = m_mounts.entriesAtPath("/").value_or(0);
  const MetadataPass pass(m_reader, m_mounts, m_catalog, &m_priority, m_threads);
  m_job.replace(m_jobs.run(
      this,
      [pass, questions = std::move(questions), state = m_pass](std::stop_token stop) {
        return pass.run(questions, state->seen, stop);
      },
      [this](std::vector<std::shared_ptr<FileMetadataResults>> results) { endPass(std::move(results)); }));
}

void WalkMetadataQueries::endPass(std::vector<std::shared_ptr<FileMetadataResults>> results) {
  const Queries finished = std::exchange(m_running, {});
  m_pass.reset();
  const QPointer<WalkMetadataQueries> self(this);
  for (std::size_t index = 0; index < finished.size(); ++index) {
    if (!finished[index]->dropped) finished[index]->finished(std::move(results[index]));
    if (!self) return;
  }
  startPass();
}

double WalkMetadataQueries::progress() const {
  if (m_running.empty()) return m_waiting.empty() ? 1 : 0;
  if (!m_pass || m_pass->expected == 0) return 0;
  const auto seen = static_cast<double>(m_pass->seen.load(std::memory_order_relaxed));
  return std::min(0.99, seen / static_cast<double>(m_pass->expected));
}

}  // namespace halvard
