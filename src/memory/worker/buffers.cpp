#include "memory/worker/buffers.h"

#include <errno.h>
#include <string.h>
#include <sys/mman.h>

namespace halvard::purge_worker {
namespace {

void* mapAnonymous(std::uint64_t size, int flags) {
  void* const address = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | flags, -1, 0);
  return address == MAP_FAILED ? nullptr : address;
}

/// Kernels before 5.14 do not know the advice (EINVAL): there the overwriting populates.
int populate(void* address, std::uint64_t size) {
  while (madvise(address, size, MADV_POPULATE_WRITE) != 0) {
    if (errno == EINVAL) return 0;
    if (errno != EINTR) return errno;
  }
  return 0;
}

}  // namespace

bool Buffers::initialize() {
  m_table = static_cast<Buffer*>(mapAnonymous(kMaxBuffers * sizeof(Buffer), MAP_NORESERVE));
  return m_table != nullptr;
}

int Buffers::map(Buffer& buffer, std::uint64_t size) {
  if (buffer.address) return buffer.size == size ? 0 : EINVAL;
  void* const address = mapAnonymous(size, 0);
  if (!address) return errno;
  buffer = {address, size};
  return 0;
}

int Buffers::pin(std::uint32_t number, std::uint64_t size, Pages pages) {
  Buffer& buffer = m_table[number];
  if (const int error = map(buffer, size)) return error;
  // Neighbouring mappings become one, and a new one may join a huge one, so that both are said. Failing only costs
  // time.
  (void)madvise(buffer.address, size, pages == Pages::Huge ? MADV_HUGEPAGE : MADV_NOHUGEPAGE);
  if (const int error = populate(buffer.address, size)) {
    (void)discard(number, size);
    return error;
  }
  memset(buffer.address, 0, size);
  return 0;
}

int Buffers::makeVolatile(std::uint32_t number, std::uint64_t size) {
  Buffer& buffer = m_table[number];
  if (const int error = map(buffer, size)) return error;
  return madvise(buffer.address, size, MADV_FREE) == 0 ? 0 : errno;
}

int Buffers::discard(std::uint32_t number, std::uint64_t size) {
  Buffer& buffer = m_table[number];
  if (!buffer.address) return 0;
  if (buffer.size != size) return EINVAL;
  if (munmap(buffer.address, size) != 0) return errno;
  buffer = {};
  return 0;
}

}  // namespace halvard::purge_worker
