#pragma once

#include <span>
#include <string>
#include <string_view>

#include "platform/linux/procfs/file_descriptor.h"

namespace halvard {

/// A kernel file that is read again and again from its start: opened once, then one pread a reading. One thread.
class KeptFile {
 public:
  /// Opens nothing yet.
  explicit KeptFile(std::string path) : m_path(std::move(path)) {}

  /// The file's text, a view of `buffer`; what does not fit is left out. Empty on failure, and then errno says why.
  /// A file that could not be opened or read is opened anew by the next call.
  std::string_view read(std::span<char> buffer);

 private:
  std::string m_path;
  FileDescriptor m_descriptor;
};

/// The same for a file that is read once.
std::string_view readFile(const std::string& path, std::span<char> buffer);

/// The same for a file that the kernel hands out in pieces, as it does with what is longer than a page.
std::string_view readFileInPieces(const std::string& path, std::span<char> buffer);

}  // namespace halvard
