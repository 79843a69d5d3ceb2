#pragma once

#include <cstdint>

namespace halvard {

/// A number of bytes.
using ByteCount = std::uint64_t;

/// A number of memory pages; the size of one is MemorySnapshot::pageSize().
using PageCount = std::uint64_t;

}  // namespace halvard
