#pragma once

#include <QByteArray>
#include <stop_token>

#include "core/units.h"
#include "platform/ports/folder_reader.h"

namespace halvard {

/// One size calculation of one folder tree. Every file counts once for each of its names, links count themselves,
/// folders count nothing, other file systems mounted inside are left out. Never shared between threads.
class SizeCalculationTask {
 public:
  /// `reader` must outlive the task. `threads` is at least 1.
  SizeCalculationTask(const FolderReader& reader, QByteArray folderPath, int threads = 1);

  /// Allocated bytes; 0 when there is no such folder. After `stop` was requested, what was summed up until then.
  ByteCount calculate(std::stop_token stop = {});

 private:
  const FolderReader& m_reader;
  const QByteArray m_folderPath;
  const int m_threads;
};

/// Sizes of folders. Stateless; any thread.
class SizeCalculation {
 public:
  /// `reader` must outlive this object. `threads` work on one folder, at least 1.
  explicit SizeCalculation(const FolderReader& reader, int threads = 1) : m_reader(reader), m_threads(threads) {}

  /// Allocated bytes of the tree, if asked without those of a file ".DS_Store" right in the folder.
  ByteCount fastFolderSizeOfItemWithPath(const QByteArray& path, bool ignoreRootDSStore,
                                         std::stop_token stop = {}) const;
  ByteCount fastSizeOfFolderAtPath(const QByteArray& path, std::stop_token stop = {}) const;
  ByteCount sizeIgnoreRootDSStoreForFolderAtPath(const QByteArray& path, std::stop_token stop = {}) const;

 private:
  const FolderReader& m_reader;
  const int m_threads;
};

}  // namespace halvard
