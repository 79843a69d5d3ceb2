#include "crash/handler/prepared_memory.h"

#include <cassert>
#include <cstring>

#include <sys/mman.h>

namespace halvard::crash_handler {

PreparedMemory::PreparedMemory(std::size_t capacity) {
  void* const memory = mmap(nullptr, capacity, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
  if (memory == MAP_FAILED) return;
  m_begin = static_cast<std::byte*>(memory);
  m_capacity = capacity;
}

void* PreparedMemory::take(std::size_t size, std::size_t alignment) {
  const std::size_t start = (m_used + alignment - 1) / alignment * alignment;
  assert(start + size <= m_capacity);
  m_used = start + size;
  return m_begin + start;
}

const char* PreparedMemory::addText(std::string_view text) {
  char* const copy = static_cast<char*>(take(text.size() + 1, 1));
  std::memcpy(copy, text.data(), text.size());
  return copy;
}

char* const* PreparedMemory::addList(const std::vector<std::string>& texts) {
  auto** const list = static_cast<char**>(take((texts.size() + 1) * sizeof(char*), alignof(char*)));
  for (std::size_t index = 0; index < texts.size(); ++index)
    list[index] = const_cast<char*>(addText(texts[index]));
  return list;
}

void PreparedMemory::seal() {
  mprotect(m_begin, m_capacity, PROT_READ);
}

}  // namespace halvard::crash_handler
