#pragma once

#include <QStringList>

#include "platform/ports/thread_stacks.h"

namespace halvard {

/// Turns the stacks of a crashed process into text.
class BSBacktraceLogger {
 public:
  /// Frames of a thread that are printed.
  static constexpr std::size_t kFrameLimit = 50;

  /// `currentThread` is the thread that crashed.
  BSBacktraceLogger(ThreadStacks stacks, std::int32_t mainThread, std::int32_t currentThread);

  /// The thread that crashed first, then the others.
  QString bs_backtraceOfAllThread() const;
  QString bs_backtraceOfCurrentThread() const { return bs_backtraceOfNSThread(m_currentThread); }
  QString bs_backtraceOfMainThread() const { return bs_backtraceOfNSThread(m_mainThread); }
  QString bs_backtraceOfNSThread(std::int32_t thread) const;

  /// One text a frame of the thread that crashed.
  QStringList callStackSymbols() const;

  std::int32_t mainThread() const { return m_mainThread; }

 private:
  const ThreadStack* find(std::int32_t thread) const;

  ThreadStacks m_stacks;
  const std::int32_t m_mainThread;
  const std::int32_t m_currentThread;
};

/// Removes the frames of the crash handler itself: for a signal, those before the interrupted instruction; for an
/// exception (`instruction` is 0), those up to where it was thrown. Without such a frame the stack stays as it is.
void removeHandlerFrames(ThreadStack& stack, std::uint64_t instruction);

}  // namespace halvard
