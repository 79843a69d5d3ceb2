#pragma once

#include <chrono>
#include <optional>

#include "crash/handler/crash_message.h"

namespace halvard {

/// The reporter's side of the process that started it. The dying process waits as long as it hears from the reporter.
class DyingProcess {
 public:
  /// `descriptor` is the reporter's end of their socket; it is closed with this object.
  explicit DyingProcess(int descriptor);
  ~DyingProcess();
  DyingProcess(const DyingProcess&) = delete;
  DyingProcess& operator=(const DyingProcess&) = delete;

  /// The first thing to call: what happened. Nothing when the message is not whole or of another build, or does not
  /// come within `limit`.
  std::optional<crash_handler::CrashMessage> receive(std::chrono::milliseconds limit);

  /// Never blocks.
  void tell(crash_handler::Progress progress);

  /// The socket; readable when the process is gone.
  int descriptor() const { return m_descriptor; }

  /// True once the process is gone; false after `limit`.
  bool waitForEnd(std::chrono::milliseconds limit);

 private:
  int m_descriptor;
  int m_processDescriptor = -1;
};

/// Seconds since the machine was started.
std::chrono::seconds systemUptime();

}  // namespace halvard
