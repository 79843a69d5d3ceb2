#pragma once

#include <QObject>
#include <map>
#include <set>
#include <vector>

#include "platform/ports/application_catalog.h"
#include "platform/ports/background_priority.h"
#include "platform/ports/file_metadata_query.h"
#include "platform/ports/folder_access.h"
#include "platform/ports/last_used_dates.h"
#include "platform/ports/search_mounts.h"
#include "platform/ports/standard_folders.h"

namespace halvard {

/// Folders below one home.
class FakeStandardFolders : public StandardFolders {
 public:
  explicit FakeStandardFolders(QByteArray home) : m_home(std::move(home)) {}
  QByteArray findHomeDirectory() const override { return m_home; }
  QByteArray cache() const override { return m_home + "/.cache"; }
  QByteArray downloads() const override { return m_home + "/Downloads"; }
  QByteArray trash() const override { return m_home + "/.local/share/Trash"; }
  QByteArray userApplications() const override { return m_home + "/Applications"; }
  std::vector<QByteArray> localApplications() const override { return {m_home + "/opt"}; }
  std::optional<QByteArray> applicationSupport() const override { return m_home + "/.local/share"; }

 private:
  QByteArray m_home;
};

/// Dates as told; a path without one was used at the epoch.
class FakeLastUsedDates : public LastUsedDates {
 public:
  std::optional<Clock::Instant> lastUsedDate(const QByteArray& path) const override;
  /// Nothing: the file has no date.
  std::map<QByteArray, std::optional<Clock::Instant>> dates;
};

/// The applications told; a bundle's identifier is its file name without the last extension, unless told.
class FakeApplicationCatalog : public ApplicationCatalog {
 public:
  std::vector<CatalogApplication> applications(std::stop_token) const override { return listed; }
  std::optional<QString> bundleIdentifier(const QByteArray& path) const override;
  bool isApplicationFile(const QByteArray& path) const override { return path.endsWith(".AppImage"); }
  std::vector<CatalogApplication> listed;
  std::map<QByteArray, std::optional<QString>> identifiers;
};

class FakeBackgroundPriority : public BackgroundPriority {
 public:
  void lowerCurrentThread() const override {}
};

/// Grants as told; a bookmark is the path itself.
class FakeFolderAccess : public FolderAccess {
 public:
  bool isPathAccessible(const QByteArray& path, Mode) const override { return readable.contains(path); }
  std::optional<QByteArray> createBookmark(const QByteArray& path) const override;
  std::optional<QByteArray> resolveBookmark(const QByteArray& bookmark) const override;
  std::set<QByteArray> readable;
  /// Nothing gets a bookmark any more.
  bool refusesBookmarks = false;
};

/// Enters everything but what is refused.
class FakeSearchMounts : public SearchMounts {
 public:
  std::unique_ptr<MountRules> rules() const override;
  std::vector<MountAlias> aliases() const override { return elsewhere; }
  std::vector<QByteArray> hiddenLayers() const override { return hidden; }
  std::optional<std::uint64_t> entriesAtPath(const QByteArray&) const override { return entries; }
  std::vector<MountAlias> elsewhere;
  std::vector<QByteArray> hidden;
  std::set<std::uint64_t> refused;
  std::optional<std::uint64_t> entries;
};

/// Queries that a test answers.
class FakeFileMetadataQueries : public FileMetadataQueryService {
 public:
  struct Found {
    QByteArray path;
    std::optional<ByteCount> size;
  };
  struct Asked {
    std::vector<QByteArray> scopes;
    FileMetadataPredicate predicate;
    Finished finished;
    std::weak_ptr<int> alive;
  };

  std::unique_ptr<FileMetadataQuery> startQuery(std::vector<QByteArray> scopes, FileMetadataPredicate predicate,
                                                Finished finished) override;
  double progress() const override { return progressNow; }

  /// Ends the query of this number, counted from the first, with results that the caller can watch go; does nothing
  /// when it was dropped.
  std::weak_ptr<const FileMetadataResults> answer(std::size_t query, std::vector<Found> files);
  bool isRunning(std::size_t query) const { return !asked[query].alive.expired(); }

  std::vector<Asked> asked;
  bool refuses = false;
  double progressNow = 0;
};

}  // namespace halvard
