#pragma once

#include "platform/linux/purge/worker_protocol.h"

namespace halvard::purge_worker {

/// The buffers, by number. Its own table is mapped and costs a page for every 256 buffers in use. Every operation
/// returns 0 or an errno.
class Buffers {
 public:
  /// False when the table cannot be mapped.
  bool initialize();

  enum class Pages { Small, Huge };
  int pin(std::uint32_t number, std::uint64_t size, Pages pages);
  int makeVolatile(std::uint32_t number, std::uint64_t size);
  int discard(std::uint32_t number, std::uint64_t size);

 private:
  struct Buffer {
    void* address;  // null: not mapped
    std::uint64_t size;
  };
  int map(Buffer& buffer, std::uint64_t size);

  Buffer* m_table = nullptr;
};

}  // namespace halvard::purge_worker
