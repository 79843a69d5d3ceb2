#pragma once

#include <cstdint>

/// What a dying process and its reporter say to each other over one SOCK_SEQPACKET socket: first one CrashMessage from
/// the dying process, then single progress bytes from the reporter. Both come from one build; a message of another size
/// means that the program was replaced while it ran, and the reporter refuses it.
namespace halvard::crash_handler {

/// The descriptor the reporter finds its end of the socket at.
inline constexpr int kReporterDescriptor = 3;

struct CrashMessage {
  std::uint32_t size = sizeof(CrashMessage);
  std::int32_t process = 0;
  /// The kernel's number of the thread that crashed; that of the main thread is `process`.
  std::int32_t thread = 0;
  /// As in siginfo_t. 0: an uncaught exception and not a signal.
  std::int32_t signal = 0;
  std::int32_t signalCode = 0;
  std::int32_t signalErrno = 0;
  std::int32_t signalStatus = 0;
  /// Where a signal interrupted the thread; 0 when unknown.
  std::uint64_t instruction = 0;
  /// Seconds since 1970 (UTC). Time and process name the report's file.
  std::int64_t time = 0;
  /// Mangled; empty when std::terminate was called without an exception.
  char exceptionType[256] = {};
  /// The exception's what(), cut when longer; empty when it has none.
  char exceptionReason[2048] = {};
};

/// The reporter must say something within the silence limit, or the dying process kills it and leaves.
enum class Progress : char {
  alive = '.',
  /// The crash is counted, or the reporter will count it once the dying process has let go of the settings.
  counted = 'c',
  /// The report is in its file.
  saved = 's',
  /// Everything is done: the dying process shall leave.
  leave = 'q',
};

}  // namespace halvard::crash_handler
