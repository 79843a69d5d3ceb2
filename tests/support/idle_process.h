#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace halvard::test {

/// A child process that fills `bytes` of anonymous memory with something that compresses as text does, and then sleeps
/// until it is destroyed. A fork without a program of its own; `user` above 0: it runs as that user, which needs root.
class IdleProcess {
 public:
  explicit IdleProcess(std::size_t bytes, uid_t user = 0, pid_t wantedPid = 0);
  ~IdleProcess();
  IdleProcess(const IdleProcess&) = delete;
  IdleProcess& operator=(const IdleProcess&) = delete;

  /// -1 when it could not be started so.
  pid_t pid() const { return m_pid; }
  /// Clock ticks after boot.
  std::uint64_t startTime() const;
  /// Resident anonymous bytes (RssAnon).
  std::uint64_t residentBytes() const;
  /// Ends it at once, and waits for that.
  void end();

 private:
  pid_t m_pid = -1;
};

/// Fills memory like that.
void fillLikeText(unsigned* words, std::size_t count);

}  // namespace halvard::test
