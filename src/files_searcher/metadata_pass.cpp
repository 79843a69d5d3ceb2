#include "files_searcher/metadata_pass.h"

#include <algorithm>
#include <utility>

#include "files_searcher/path_utilities.h"
#include "files_searcher/size_calculation.h"

namespace halvard {
namespace {

using Queries = ScopeTree::Queries;

bool matches(const FileMetadataPredicate& predicate, ByteCount size) {
  return (!predicate.largerThan || size > *predicate.largerThan) &&
         (!predicate.smallerThan || size < *predicate.smallerThan);
}

Queries bit(std::size_t question) {
  return static_cast<Queries>(1U << question);
}

/// One thread's share of a pass.
class QuestionVisitor : public TreeVisitor {
 public:
  QuestionVisitor(const std::vector<MetadataQuestion>& questions, const ScopeTree& scopes,
                  const ApplicationCatalog& catalog)
      : m_questions(questions), m_scopes(scopes), m_catalog(catalog), m_found(questions.size()) {
    for (std::size_t index = 0; index < questions.size(); ++index) {
      if (questions[index].predicate.applications) m_applications = static_cast<Queries>(m_applications | bit(index));
    }
  }

  void beginFolder(const WalkedFolder& folder) override;
  bool entersFolder(const WalkedFolder& above, const FolderEntry& entry, std::uint32_t& tag) override;
  void visitEntry(const WalkedFolder& folder, const FolderEntry& entry) override;

  std::vector<PackedFiles> takeFound() { return std::move(m_found); }

 private:
  template <class Action>
  void forEach(Queries queries, Action action) {
    for (std::size_t index = 0; index < m_questions.size(); ++index) {
      if (queries & bit(index)) action(index);
    }
  }

  const std::vector<MetadataQuestion>& m_questions;
  const ScopeTree& m_scopes;
  const ApplicationCatalog& m_catalog;
  std::vector<PackedFiles> m_found;
  Queries m_applications = 0;
  bool m_insideBundle = false;
};

void QuestionVisitor::beginFolder(const WalkedFolder& folder) {
  for (PackedFiles& files : m_found)
    files.forgetFolder();
  const auto asking = static_cast<Queries>(ScopeTree::queriesOf(folder.tag) & m_applications);
  m_insideBundle = asking != 0 && folder.folder.attributes("AppRun");
  if (!m_insideBundle) return;
  forEach(asking, [&](std::size_t index) { m_found[index].add(folder.place.path(), PackedFiles::kUnknownSize); });
}

bool QuestionVisitor::entersFolder(const WalkedFolder&, const FolderEntry& entry, std::uint32_t& tag) {
  tag = m_scopes.tagBelow(tag, entry.name);
  // A bundle counts as one, whatever it holds.
  if (m_insideBundle) tag &= ~std::uint32_t{m_applications};
  return tag != 0;
}

void QuestionVisitor::visitEntry(const WalkedFolder& folder, const FolderEntry& entry) {
  if (entry.type != EntryType::File) return;
  const Queries asking = ScopeTree::queriesOf(m_scopes.tagBelow(folder.tag, entry.name));
  const auto forApplications = static_cast<Queries>(asking & m_applications);
  const auto forFiles = static_cast<Queries>(asking & ~m_applications);
  if (forApplications && !m_insideBundle && entry.name.size() > 9) {
    const QByteArray path = folder.place.path() + '/' + entry.name.data();
    const auto found = m_catalog.isApplicationFile(path) ? folder.folder.attributes(entry.name.data()) : std::nullopt;
    if (found) forEach(forApplications, [&](std::size_t index) { m_found[index].add(path, found->size); });
  }
  if (!forFiles) return;
  const auto found = folder.folder.attributes(entry.name.data());
  if (!found) return;
  forEach(forFiles, [&](std::size_t index) {
    if (matches(m_questions[index].predicate, found->size)) m_found[index].add(folder.place, entry.name, found->size);
  });
}

/// Where the walk meets what `path` names.
QByteArray placeOf(const QByteArray& path, const std::vector<MountAlias>& aliases) {
  for (const MountAlias& alias : aliases) {
    if (path == alias.mounted || path_utilities::isParentPathForPath(alias.mounted, path))
      return (alias.entered == "/" ? QByteArray() : alias.entered) + path.mid(alias.mounted.size());
  }
  return path;
}

/// Where it meets what is mounted below `path` from elsewhere.
std::vector<QByteArray> placesBelow(const QByteArray& path, const std::vector<MountAlias>& aliases) {
  std::vector<QByteArray> places;
  for (const MountAlias& alias : aliases) {
    if (path_utilities::isParentPathForPath(path == "/" ? QByteArrayView("") : path, alias.mounted))
      places.push_back(alias.entered);
  }
  return places;
}

}  // namespace

ScopeTree MetadataPass::scopesOf(const std::vector<MetadataQuestion>& questions, const MountRules& rules,
                                 std::vector<std::vector<PackedFiles>>& found) const {
  ScopeTree scopes;
  for (const QByteArray& layer : m_mounts.hiddenLayers()) {
    if (const auto path = m_reader.canonicalPath(layer)) scopes.addHidden(*path);
  }
  const std::vector<MountAlias> aliases = m_mounts.aliases();
  const auto isEntered = [&](const QByteArray& place) {
    const auto mount = m_reader.mountOf(place);
    return mount && rules.entersMount(*mount);
  };
  for (std::size_t index = 0; index < questions.size(); ++index) {
    const FileMetadataPredicate& predicate = questions[index].predicate;
    PackedFiles single;
    for (const QByteArray& scope : questions[index].scopes) {
      const auto path = m_reader.canonicalPath(scope);
      if (!path) continue;
      for (const QByteArray& place : placesBelow(*path, aliases))
        scopes.addScope(place, bit(index));
      const QByteArray place = placeOf(*path, aliases);
      if (!isEntered(place)) continue;
      const auto attributes = m_reader.attributes(place);
      if (!attributes || attributes->type != EntryType::File) {
        scopes.addScope(place, bit(index));
      } else if (!predicate.applications && matches(predicate, attributes->size)) {
        single.add(place, attributes->size);
      }
    }
    found[index].push_back(std::move(single));
  }
  return scopes;
}

/// Measures the bundles found and adds what the catalogue knows and the folders did not show.
void MetadataPass::addApplications(std::vector<PackedFiles>& found, std::stop_token stop) const {
  std::vector<QByteArray> bundles;
  const SizeCalculation sizes(m_reader);
  for (PackedFiles& files : found) {
    for (std::size_t index = 0; index < files.count(); ++index) {
      bundles.push_back(files.path(index));
      if (files.size(index) == PackedFiles::kUnknownSize)
        files.setSize(index, sizes.fastSizeOfFolderAtPath(bundles.back(), stop));
    }
  }
  PackedFiles listed;
  for (const CatalogApplication& application : m_catalog.applications(stop)) {
    const auto holds = [&](const QByteArray& bundle) {
      return bundle == application.path || path_utilities::isParentPathForPath(bundle, application.path);
    };
    if (std::none_of(bundles.begin(), bundles.end(), holds)) listed.add(application.path, application.size);
  }
  found.push_back(std::move(listed));
}

std::vector<std::shared_ptr<FileMetadataResults>> MetadataPass::run(const std::vector<MetadataQuestion>& questions,
                                                                    std::atomic<std::uint64_t>& seen,
                                                                    std::stop_token stop) const {
  std::vector<std::vector<PackedFiles>> found(questions.size());
  const auto rules = m_mounts.rules();
  const ScopeTree scopes = scopesOf(questions, *rules, found);
  std::vector<std::unique_ptr<QuestionVisitor>> visitors;
  std::vector<TreeVisitor*> asTreeVisitors;
  for (int thread = 0; thread < std::max(m_threads, 1); ++thread) {
    visitors.push_back(std::make_unique<QuestionVisitor>(questions, scopes, m_catalog));
    asTreeVisitors.push_back(visitors.back().get());
  }
  TreeWalk::Options options;
  options.mounts = rules.get();
  options.entriesSeen = &seen;
  if (m_priority) options.onThreadStart = [this] { m_priority->lowerCurrentThread(); };
  TreeWalk(m_reader, options).run(scopes.roots(), asTreeVisitors, stop);
  for (const auto& visitor : visitors) {
    std::vector<PackedFiles> share = visitor->takeFound();
    for (std::size_t index = 0; index < questions.size(); ++index)
      found[index].push_back(std::move(share[index]));
  }
  std::vector<std::shared_ptr<FileMetadataResults>> results;
  for (std::size_t index = 0; index < questions.size(); ++index) {
    if (questions[index].predicate.applications && !stop.stop_requested()) addApplications(found[index], stop);
    results.push_back(std::make_shared<PackedResults>(std::move(found[index])));
  }
  return results;
}

}  // namespace halvard
