#pragma once

#include <sys/types.h>

#include "platform/linux/purge/worker_protocol.h"

/// The worker's end of the channel: descriptor 0.
namespace halvard::purge_worker {

inline constexpr int kChannel = 0;

/// Whether descriptor 0 is a channel; where it is not, one line on standard error says who should start `program`.
bool hasChannel(const char* program);

/// Length of the next packet, which may be more than `size`; 0 when the channel is closed, negative with errno.
ssize_t receivePacket(void* packet, std::size_t size);

/// False when the channel is closed.
bool sendPacket(const void* packet, std::size_t size);

/// An Answer.
bool answer(int error, std::uint64_t serial);

}  // namespace halvard::purge_worker
