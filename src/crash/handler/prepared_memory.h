#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace halvard::crash_handler {

/// Memory filled once and then made read-only, so that a program that overwrites its own memory cannot spoil what its
/// crash handler needs. Never given back.
class PreparedMemory {
 public:
  /// `capacity` in bytes; isValid() is false when the system refuses it.
  explicit PreparedMemory(std::size_t capacity);

  bool isValid() const { return m_begin != nullptr; }
  /// What fits of the text, ended by a zero byte.
  const char* addText(std::string_view text);
  /// A list of texts ended by a null pointer, as execve takes it.
  char* const* addList(const std::vector<std::string>& texts);
  void seal();

 private:
  void* take(std::size_t size, std::size_t alignment);

  std::byte* m_begin = nullptr;
  std::size_t m_capacity = 0;
  std::size_t m_used = 0;
};

}  // namespace halvard::crash_handler
