#pragma once

#include <QByteArray>
#include <chrono>
#include <functional>

#include "platform/ports/thread_stacks.h"

namespace halvard {

/// Lets another reader work in a child process, which is killed when it takes too long: what a dying process has in
/// memory may be anything, and while it is read, all its threads stand still. Use it before this process has threads.
class IsolatedThreadStacks : public ThreadStackReader {
 public:
  /// `reader` must outlive this object. `whileWaiting` is called about once a second.
  IsolatedThreadStacks(ThreadStackReader& reader, std::chrono::milliseconds timeLimit,
                       std::function<void()> whileWaiting);

  ThreadStacks read(std::int32_t process, std::size_t frameLimit) override;

 private:
  QByteArray collect(int descriptor) const;

  ThreadStackReader& m_reader;
  const std::chrono::milliseconds m_timeLimit;
  const std::function<void()> m_whileWaiting;
};

/// The form in which the stacks travel between the two processes.
QByteArray encodeThreadStacks(const ThreadStacks& stacks);
/// Nothing unless the bytes are complete.
ThreadStacks decodeThreadStacks(const QByteArray& bytes);

}  // namespace halvard
