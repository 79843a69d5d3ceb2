#include "crash/bs_backtrace_logger.h"

#include <algorithm>
#include <array>
#include <utility>

namespace halvard {
namespace {

QString hexadecimal(std::uint64_t number, int width) {
  return QStringLiteral("0x%1").arg(number, width, 16, QLatin1Char('0'));
}

QString frameText(const StackFrame& frame) {
  const QString unknown = QStringLiteral("???");
  QString symbol = frame.symbol;
  if (symbol.isEmpty()) symbol = frame.image.isEmpty() ? unknown : hexadecimal(frame.address - frame.distance, 1);
  return QStringLiteral("%1 %2 %3 + %4")
      .arg((frame.image.isEmpty() ? unknown : frame.image).leftJustified(30), hexadecimal(frame.address, 8), symbol,
           QString::number(frame.distance));
}

QStringList frameTexts(const ThreadStack& stack) {
  QStringList texts;
  for (const StackFrame& frame : stack.frames) {
    if (texts.size() == BSBacktraceLogger::kFrameLimit) break;
    texts << frameText(frame);
  }
  return texts;
}

QString noInformation(std::int32_t thread) {
  return QStringLiteral("Fail to get information about thread: %1").arg(thread);
}

QString stackText(const ThreadStack& stack) {
  switch (stack.state) {
    case ThreadStack::State::noInformation:
      return noInformation(stack.thread);
    case ThreadStack::State::noInstructionAddress:
      return QStringLiteral("Fail to get instruction address");
    case ThreadStack::State::noFramePointer:
      return QStringLiteral("Fail to get frame pointer");
    case ThreadStack::State::read:
      break;
  }
  QString text = QStringLiteral("Backtrace of Thread %1:\n").arg(stack.thread);
  for (const QString& frame : frameTexts(stack))
    text += frame + QLatin1Char('\n');
  return text + QLatin1Char('\n');
}

}  // namespace

BSBacktraceLogger::BSBacktraceLogger(ThreadStacks stacks, std::int32_t mainThread, std::int32_t currentThread)
    : m_stacks(std::move(stacks)), m_mainThread(mainThread), m_currentThread(currentThread) {
  if (!m_stacks) return;
  std::ranges::stable_partition(*m_stacks,
                                [currentThread](const ThreadStack& stack) { return stack.thread == currentThread; });
}

const ThreadStack* BSBacktraceLogger::find(std::int32_t thread) const {
  if (!m_stacks) return nullptr;
  const auto found = std::ranges::find(*m_stacks, thread, &ThreadStack::thread);
  return found == m_stacks->end() ? nullptr : &*found;
}

QString BSBacktraceLogger::bs_backtraceOfAllThread() const {
  if (!m_stacks) return QStringLiteral("Fail to get information of all threads");
  QString text = QStringLiteral("Call Backtrace of %1 threads:\n").arg(m_stacks->size());
  for (const ThreadStack& stack : *m_stacks) {
    text += stackText(stack);
    if (stack.state != ThreadStack::State::read) text += QLatin1Char('\n');
  }
  return text;
}

QString BSBacktraceLogger::bs_backtraceOfNSThread(std::int32_t thread) const {
  const ThreadStack* const stack = find(thread);
  return stack ? stackText(*stack) : noInformation(thread);
}

QStringList BSBacktraceLogger::callStackSymbols() const {
  const ThreadStack* const stack = find(m_currentThread);
  return stack ? frameTexts(*stack) : QStringList();
}

void removeHandlerFrames(ThreadStack& stack, std::uint64_t instruction) {
  std::vector<StackFrame>& frames = stack.frames;
  if (instruction != 0) {
    const auto interrupted = std::ranges::find(frames, instruction, &StackFrame::address);
    if (interrupted != frames.end()) frames.erase(frames.begin(), interrupted);
    return;
  }
  static const std::array throwing{QStringLiteral("__cxa_throw"), QStringLiteral("__cxa_rethrow"),
                                   QStringLiteral("std::terminate()")};
  const auto isThrowing = [](const StackFrame& frame) {
    return std::ranges::find(throwing, frame.symbol) != throwing.end();
  };
  // Where std::terminate() was called for the exception, __cxa_throw stands after it.
  const auto last = std::find_if(frames.rbegin(), frames.rend(), isThrowing);
  if (last != frames.rend()) frames.erase(frames.begin(), last.base());
}

}  // namespace halvard
