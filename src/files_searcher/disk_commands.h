#pragma once

#include <QByteArrayList>
#include <cstdio>
#include <memory>
#include <optional>
#include <vector>

#include "files_searcher/disk_search_services.h"
#include "platform/ports/defaults_store.h"

namespace halvard {

/// The disk's part of the command line: `scan [--json]`, `size PATH [--ignore-root-ds-store]`, `large [--json]` and
/// `duplicates [--json]`. Each runs an event loop of its own where it has to wait. Main thread.
///
/// Exit codes: 0, 1 when the work could not be done, 2 with one line on `errors` when the words are off.
class DiskCommands {
 public:
  /// All outlive this object. `showsProgress`: a person reads `errors`.
  DiskCommands(const DiskSearchServices& services, const DefaultsStore& store, std::FILE* output, std::FILE* errors,
               bool showsProgress);

  /// `words` are the bytes of the command line from the command's name on. Nothing when there is no such command here.
  std::optional<int> run(const QByteArrayList& words) const;

 private:
  int scan(bool json) const;
  int size(const QByteArrayList& arguments) const;
  int large(bool json) const;
  int duplicates(bool json) const;
  int usageError(const QByteArray& message) const;
  void print(const QByteArray& line) const;
  std::shared_ptr<const FileMetadataResults> search(std::vector<QByteArray> scopes,
                                                    FileMetadataPredicate predicate) const;
  /// Writes how far the search has come over what was written before; clears it at the end.

  const DiskSearchServices m_services;
  const DefaultsStore& m_store;
  std::FILE* const m_output;
  std::FILE* const m_errors;
  const bool m_showsProgress;
};

}  // namespace halvard
