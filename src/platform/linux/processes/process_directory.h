#pragma once

#include <QByteArray>
#include <cstdint>
#include <span>
#include <string_view>
#include <vector>

#include "platform/linux/procfs/file_descriptor.h"

namespace halvard {

/// One sub-folder of the folder of processes.
struct ProcessEntry {
  std::int32_t pid = 0;
  /// Inode of the sub-folder. The kernel gives every process a new one: with an inode of before, a pid is the process
  /// of before. (A process may get another when memory is short.)
  std::uint64_t inode = 0;
};

/// The folder with one sub-folder a process ("/proc"), kept open. One thread.
class ProcessDirectory {
 public:
  /// Opens nothing yet.
  explicit ProcessDirectory(QByteArray root);

  /// All processes by ascending pid into `entries`. 0, or the error that stopped the listing.
  int list(std::vector<ProcessEntry>& entries);

  /// Opens "PID/name". An empty descriptor on failure, and then errno says why.
  FileDescriptor open(std::int32_t pid, std::string_view name);

  /// Opens "name" of the folder itself.
  FileDescriptor open(const char* name);

  /// The text of "PID/name", a view of `buffer`; what does not fit is left out. Empty on failure, and then errno says
  /// why, or when the file is.
  std::string_view read(std::int32_t pid, std::string_view name, std::span<char> buffer);

  /// Where the link "PID/name" points; empty on failure, and then errno says why.
  QByteArray readLink(std::int32_t pid, std::string_view name);

  /// User that owns "PID": the effective one of the process, root when it may not be inspected. -1 on failure.
  std::int64_t owner(std::int32_t pid);

 private:
  int descriptor();

  QByteArray m_root;
  FileDescriptor m_descriptor;
  std::vector<char> m_entries;
};

/// One pread of a whole kernel file. Empty on failure, and then errno says why.
std::string_view readFromStart(int descriptor, std::span<char> buffer);

}  // namespace halvard
