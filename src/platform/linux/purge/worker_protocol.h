#pragma once

#include <cstdint>

/// What the application and halvard-purge-worker say to each other over one SOCK_SEQPACKET pair: one packet of fixed
/// size a message, in the machine's own byte order. The worker speaks first, once, when it is ready: an Answer with
/// serial 0. Then every Command gets one Answer with its serial, in order. A packet that is no valid Command gets one
/// as well, with an error, and changes nothing. The worker knows only what this header includes: libc.
namespace halvard::purge_worker {

inline constexpr std::uint32_t kMagic = 0x50567248;
/// Buffers are numbered from 0 to kMaxBuffers - 1.
inline constexpr std::uint32_t kMaxBuffers = 1U << 20;
inline constexpr std::uint64_t kMaxBufferSize = std::uint64_t{1} << 30;

enum class Operation : std::uint32_t {
  /// Maps the buffer unless it is mapped, gives every page memory and overwrites it with zeros. A buffer that cannot be
  /// filled is discarded, and the answer says why.
  Pin = 1,
  /// The same, in huge pages where the kernel has them. A buffer that is mapped already keeps its pages.
  PinHuge = 2,
  /// Lets the kernel drop the buffer's pages before any others. A buffer that is not mapped becomes mapped, but has no
  /// pages, so that it costs nothing.
  MakeVolatile = 3,
  /// Unmaps the buffer; one that is not mapped stays so.
  Discard = 4,
};

struct Command {
  std::uint32_t magic = kMagic;
  Operation operation = Operation::Discard;
  std::uint32_t buffer = 0;
  std::uint32_t unused = 0;  ///< 0
  std::uint64_t serial = 0;  ///< not 0
  /// Bytes, from 1 to kMaxBufferSize, and the same for a buffer as long as it is mapped.
  std::uint64_t size = 0;
};

struct Answer {
  std::uint32_t magic = kMagic;
  std::int32_t error = 0;    ///< 0, or an errno: EBADMSG for a packet that is no Command, EINVAL for a bad field
  std::uint64_t serial = 0;  ///< the Command's; 0 when there is none
};

static_assert(sizeof(Command) == 32 && sizeof(Answer) == 16, "no padding: every byte sent is one that was written");

/// How the worker ends when it does not end by a signal.
enum ExitStatus : int {
  kChannelClosed = 0,   ///< the application closed its end, or is gone
  kNotStartedByUs = 2,  ///< descriptor 0 is no packet socket, or the arguments are wrong
  kNotProtected = 3,    ///< oom_score_adj could not be written: it holds no memory then
  kOutOfAddresses = 4,  ///< no room for the table of buffers
};

}  // namespace halvard::purge_worker
