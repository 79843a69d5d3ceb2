#pragma once

#include <cstdint>

#include <signal.h>

namespace halvard::crash_handler {

/// The instruction a signal interrupted; 0 where the processor's registers are not known. Async-signal-safe.
///
/// After a jump to where no code is, a call through a null function pointer above all, no stack can be read from there:
/// then `context` is changed to stand where that call returns to. A handler that uses it must not return.
std::uint64_t interruptedInstruction(const siginfo_t& information, void* context);

}  // namespace halvard::crash_handler
