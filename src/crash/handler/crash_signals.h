#pragma once

#include <array>

#include <signal.h>

namespace halvard::crash_handler {

/// The signals that count as a crash, in the order of installation. A broken pipe and an alarm are among them.
inline constexpr std::array kCrashSignals{SIGQUIT, SIGILL, SIGTRAP, SIGABRT, SIGFPE,  SIGBUS,
                                          SIGSEGV, SIGSYS, SIGPIPE, SIGALRM, SIGXCPU, SIGXFSZ};

/// Those of them that an instruction of the thread itself raises: they cannot be put off.
inline constexpr std::array kFaultSignals{SIGILL, SIGTRAP, SIGFPE, SIGBUS, SIGSEGV, SIGSYS};

}  // namespace halvard::crash_handler
