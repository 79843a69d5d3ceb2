#pragma once

#include <QByteArray>
#include <QObject>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "core/units.h"

namespace halvard {

/// Which files a query wants.
struct FileMetadataPredicate {
  /// Application bundles and files that are whole applications, instead of ordinary files.
  bool applications = false;
  /// Bytes of content; both limits are exclusive.
  std::optional<ByteCount> largerThan;
  std::optional<ByteCount> smallerThan;
};

/// The files that a query found, packed: a hundred thousand of them are nothing unusual.
class FileMetadataResults {
 public:
  virtual ~FileMetadataResults() = default;
  virtual std::size_t count() const = 0;
  virtual QByteArray path(std::size_t index) const = 0;
  /// The last component of the path; valid as long as these results.
  virtual QByteArrayView name(std::size_t index) const = 0;
  /// Bytes; nothing when it is not known without measuring.
  virtual std::optional<ByteCount> size(std::size_t index) const = 0;
};

/// A running query. Destroying it stops the search and drops its result.
class FileMetadataQuery {
 public:
  virtual ~FileMetadataQuery() = default;
};

/// Searches files by their metadata. Main thread.
class FileMetadataQueryService {
 public:
  using Finished = std::function<void(std::shared_ptr<const FileMetadataResults>)>;

  virtual ~FileMetadataQueryService() = default;

  /// Searches the trees below `scopes` and calls `finished` once, on a later turn of the main loop. Null when the query
  /// cannot start; `finished` is then never called. Queries started in one turn of the loop are answered by one pass.
  virtual std::unique_ptr<FileMetadataQuery> startQuery(std::vector<QByteArray> scopes, FileMetadataPredicate predicate,
                                                        Finished finished) = 0;

  /// How far the running searches have come, 0 to 1; an estimate that only grows. 1 when none runs.
  virtual double progress() const = 0;
};

}  // namespace halvard
