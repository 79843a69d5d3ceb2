#include "platform/fake/fake_disk.h"

#include <QByteArrayList>

#include <utility>

namespace halvard {
namespace {

class FakeResults : public FileMetadataResults {
 public:
  explicit FakeResults(std::vector<FakeFileMetadataQueries::Found> files) : m_files(std::move(files)) {}
  std::size_t count() const override { return m_files.size(); }
  QByteArray path(std::size_t index) const override { return m_files[index].path; }
  QByteArrayView name(std::size_t index) const override {
    const QByteArrayView whole = m_files[index].path;
    return whole.sliced(whole.lastIndexOf('/') + 1);
  }
  std::optional<ByteCount> size(std::size_t index) const override { return m_files[index].size; }

 private:
  const std::vector<FakeFileMetadataQueries::Found> m_files;
};

class FakeQuery : public FileMetadataQuery {
 public:
  std::shared_ptr<int> alive = std::make_shared<int>();
};

class OtherMounts : public MountRules {
 public:
  explicit OtherMounts(std::set<std::uint64_t> refused) : m_refused(std::move(refused)) {}
  bool entersMount(std::uint64_t id) const override { return !m_refused.contains(id); }

 private:
  const std::set<std::uint64_t> m_refused;
};

}  // namespace

std::optional<Clock::Instant> FakeLastUsedDates::lastUsedDate(const QByteArray& path) const {
  const auto date = dates.find(path);
  return date == dates.end() ? Clock::Instant() : date->second;
}

std::optional<QString> FakeApplicationCatalog::bundleIdentifier(const QByteArray& path) const {
  const auto told = identifiers.find(path);
  if (told != identifiers.end()) return told->second;
  const QByteArray name = path.split('/').last();
  return QString::fromUtf8(name.left(name.lastIndexOf('.')));
}

std::optional<QByteArray> FakeFolderAccess::createBookmark(const QByteArray& path) const {
  if (refusesBookmarks) return {};
  return path;
}

std::optional<QByteArray> FakeFolderAccess::resolveBookmark(const QByteArray& bookmark) const {
  if (!readable.contains(bookmark)) return {};
  return bookmark;
}

std::unique_ptr<MountRules> FakeSearchMounts::rules() const {
  return std::make_unique<OtherMounts>(refused);
}

std::unique_ptr<FileMetadataQuery> FakeFileMetadataQueries::startQuery(std::vector<QByteArray> scopes,
                                                                       FileMetadataPredicate predicate,
                                                                       Finished finished) {
  auto query = std::make_unique<FakeQuery>();
  asked.push_back({std::move(scopes), predicate, std::move(finished), query->alive});
  if (refuses) return nullptr;
  return query;
}

std::weak_ptr<const FileMetadataResults> FakeFileMetadataQueries::answer(std::size_t query, std::vector<Found> files) {
  if (!isRunning(query)) return {};
  // The call may start another query.
  const Finished finished = asked[query].finished;
  auto results = std::make_shared<FakeResults>(std::move(files));
  std::weak_ptr<const FileMetadataResults> kept = results;
  finished(std::move(results));
  return kept;
}

}  // namespace halvard
