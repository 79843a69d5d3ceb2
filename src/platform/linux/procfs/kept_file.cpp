#include "platform/linux/procfs/kept_file.h"

#include <fcntl.h>

#include <cerrno>

namespace halvard {

std::string_view KeptFile::read(std::span<char> buffer) {
  if (!m_descriptor) m_descriptor.reset(::open(m_path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  if (!m_descriptor) return {};
  ssize_t length = 0;
  do {
    length = ::pread(m_descriptor.get(), buffer.data(), buffer.size(), 0);
  } while (length < 0 && errno == EINTR);
  if (length > 0) return {buffer.data(), static_cast<std::size_t>(length)};
  const int reason = length < 0 ? errno : ENODATA;
  m_descriptor.reset();
  errno = reason;
  return {};
}

std::string_view readFile(const std::string& path, std::span<char> buffer) {
  return KeptFile(path).read(buffer);
}

std::string_view readFileInPieces(const std::string& path, std::span<char> buffer) {
  const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY | O_NONBLOCK));
  std::size_t length = 0;
  while (file && length < buffer.size()) {
    const ssize_t piece = ::read(file.get(), buffer.data() + length, buffer.size() - length);
    if (piece < 0 && errno == EINTR) continue;
    if (piece <= 0) break;
    length += static_cast<std::size_t>(piece);
  }
  return {buffer.data(), length};
}

}  // namespace halvard
