#include "platform/linux/processes/process_directory.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <optional>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

namespace halvard {

namespace {

constexpr std::size_t kEntriesBuffer = 65'536;

// "1234/name", ended by a zero.
class EntryPath {
 public:
  EntryPath(std::int32_t pid, std::string_view name) {
    char* end = std::to_chars(m_text, m_text + kDigits, pid).ptr;
    *end++ = '/';
    name = name.substr(0, sizeof m_text - kDigits - 2);
    end = std::copy(name.begin(), name.end(), end);
    *end = '\0';
  }
  const char* text() const { return m_text; }

 private:
  static constexpr std::size_t kDigits = 12;
  char m_text[64];
};

std::optional<std::int32_t> pidOf(const char* name) {
  if (*name < '1' || *name > '9') return std::nullopt;
  std::int32_t pid = 0;
  const char* end = name + std::strlen(name);
  const auto result = std::from_chars(name, end, pid);
  if (result.ec != std::errc() || result.ptr != end) return std::nullopt;
  return pid;
}

}  // namespace

ProcessDirectory::ProcessDirectory(QByteArray root) : m_root(std::move(root)) {}

int ProcessDirectory::descriptor() {
  if (!m_descriptor) m_descriptor.reset(::open(m_root.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
  return m_descriptor.get();
}

int ProcessDirectory::list(std::vector<ProcessEntry>& entries) {
  entries.clear();
  if (descriptor() < 0 || ::lseek(descriptor(), 0, SEEK_SET) < 0) return errno;
  m_entries.resize(kEntriesBuffer);
  for (;;) {
    const ssize_t size = ::getdents64(descriptor(), m_entries.data(), m_entries.size());
    if (size < 0) return errno == ENOMEM ? ENOBUFS : errno;  // ENOMEM would ask the caller to try for ever
    if (size == 0) break;
    for (ssize_t offset = 0; offset < size;) {
      const auto* entry = reinterpret_cast<const dirent64*>(m_entries.data() + offset);
      if (const auto pid = pidOf(entry->d_name)) entries.push_back({*pid, entry->d_ino});
      offset += entry->d_reclen;
    }
  }
  // The kernel sorts, other folders do not.
  if (!std::ranges::is_sorted(entries, {}, &ProcessEntry::pid)) std::ranges::sort(entries, {}, &ProcessEntry::pid);
  return 0;
}

FileDescriptor ProcessDirectory::open(std::int32_t pid, std::string_view name) {
  return FileDescriptor(::openat(descriptor(), EntryPath(pid, name).text(), O_RDONLY | O_CLOEXEC));
}

FileDescriptor ProcessDirectory::open(const char* name) {
  return FileDescriptor(::openat(descriptor(), name, O_RDONLY | O_CLOEXEC));
}

std::string_view ProcessDirectory::read(std::int32_t pid, std::string_view name, std::span<char> buffer) {
  const FileDescriptor file = open(pid, name);
  if (!file) return {};
  // Unlike the short files, the environment and the arguments come in pieces of a page.
  std::size_t length = 0;
  errno = 0;
  while (length < buffer.size()) {
    const ssize_t size = ::read(file.get(), buffer.data() + length, buffer.size() - length);
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) break;
    length += static_cast<std::size_t>(size);
  }
  return {buffer.data(), length};
}

QByteArray ProcessDirectory::readLink(std::int32_t pid, std::string_view name) {
  char target[4096];
  const ssize_t size = ::readlinkat(descriptor(), EntryPath(pid, name).text(), target, sizeof target);
  return size < 0 ? QByteArray() : QByteArray(target, size);
}

std::int64_t ProcessDirectory::owner(std::int32_t pid) {
  struct stat status {};
  return ::fstatat(descriptor(), EntryPath(pid, "").text(), &status, 0) == 0 ? std::int64_t(status.st_uid) : -1;
}

std::string_view readFromStart(int descriptor, std::span<char> buffer) {
  ssize_t size = 0;
  do {
    size = ::pread(descriptor, buffer.data(), buffer.size(), 0);
  } while (size < 0 && errno == EINTR);
  return size < 0 ? std::string_view() : std::string_view(buffer.data(), static_cast<std::size_t>(size));
}

}  // namespace halvard
