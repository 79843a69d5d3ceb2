#include "platform/linux/crash/isolated_thread_stacks.h"

#include <QDataStream>
#include <QIODevice>
#include <algorithm>
#include <array>

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace halvard {
namespace {

QDataStream& operator<<(QDataStream& stream, const ThreadStack& stack) {
  stream << qint32(stack.thread) << qint32(stack.state) << quint32(stack.frames.size());
  for (const StackFrame& frame : stack.frames)
    stream << quint64(frame.address) << frame.image << frame.symbol << quint64(frame.distance);
  return stream;
}

QDataStream& operator>>(QDataStream& stream, ThreadStack& stack) {
  qint32 thread = 0;
  qint32 state = 0;
  quint32 count = 0;
  stream >> thread >> state >> count;
  stack.thread = thread;
  stack.state = static_cast<ThreadStack::State>(state);
  while (count-- > 0 && stream.status() == QDataStream::Ok) {
    quint64 address = 0;
    quint64 distance = 0;
    StackFrame& frame = stack.frames.emplace_back();
    stream >> address >> frame.image >> frame.symbol >> distance;
    frame.address = address;
    frame.distance = distance;
  }
  return stream;
}

[[noreturn]] void readAndSend(ThreadStackReader& reader, std::int32_t process, std::size_t frameLimit, int descriptor) {
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  const QByteArray bytes = encodeThreadStacks(reader.read(process, frameLimit));
  for (qsizetype sent = 0; sent < bytes.size();) {
    const ssize_t written = write(descriptor, bytes.constData() + sent, static_cast<std::size_t>(bytes.size() - sent));
    if (written <= 0) break;
    sent += written;
  }
  _exit(0);
}

}  // namespace

IsolatedThreadStacks::IsolatedThreadStacks(ThreadStackReader& reader, std::chrono::milliseconds timeLimit,
                                           std::function<void()> whileWaiting)
    : m_reader(reader), m_timeLimit(timeLimit), m_whileWaiting(std::move(whileWaiting)) {}

ThreadStacks IsolatedThreadStacks::read(std::int32_t process, std::size_t frameLimit) {
  int ends[2];
  if (pipe2(ends, O_CLOEXEC) != 0) return std::nullopt;
  const pid_t child = fork();
  if (child == 0) readAndSend(m_reader, process, frameLimit, ends[1]);
  close(ends[1]);
  const QByteArray bytes = child < 0 ? QByteArray() : collect(ends[0]);
  close(ends[0]);
  if (child < 0) return std::nullopt;
  kill(child, SIGKILL);
  waitpid(child, nullptr, 0);
  return decodeThreadStacks(bytes);
}

QByteArray IsolatedThreadStacks::collect(int descriptor) const {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point deadline = Clock::now() + m_timeLimit;
  QByteArray bytes;
  std::array<char, 65536> buffer;
  for (pollfd entry{descriptor, POLLIN, 0};;) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
    if (left <= 0) return bytes;
    if (poll(&entry, 1, static_cast<int>(std::min<long long>(left, 1000))) > 0) {
      const ssize_t count = ::read(descriptor, buffer.data(), buffer.size());
      if (count <= 0) return bytes;
      bytes.append(buffer.data(), count);
    }
    m_whileWaiting();
  }
}

QByteArray encodeThreadStacks(const ThreadStacks& stacks) {
  QByteArray bytes;
  QDataStream stream(&bytes, QIODevice::WriteOnly);
  stream << quint8(stacks ? 1 : 0) << quint32(stacks ? stacks->size() : 0);
  if (stacks) {
    for (const ThreadStack& stack : *stacks)
      stream << stack;
  }
  return bytes;
}

ThreadStacks decodeThreadStacks(const QByteArray& bytes) {
  QDataStream stream(bytes);
  quint8 known = 0;
  quint32 count = 0;
  stream >> known >> count;
  if (known == 0) return std::nullopt;
  std::vector<ThreadStack> stacks;
  while (count-- > 0 && stream.status() == QDataStream::Ok)
    stream >> stacks.emplace_back();
  if (stream.status() != QDataStream::Ok) return std::nullopt;
  return stacks;
}

}  // namespace halvard
