#pragma once

#include <QString>
#include <cstdint>
#include <optional>
#include <vector>

namespace halvard {

/// One address of a call stack.
struct StackFrame {
  /// Of the instruction the thread stands at, or returns to.
  std::uint64_t address = 0;
  /// File name, without folder, of the loaded image that holds the address; empty when none does.
  QString image;
  /// The nearest symbol before the address, readable; empty when the image has none.
  QString symbol;
  /// Bytes from the symbol, or from the start of the image when there is no symbol.
  std::uint64_t distance = 0;

  bool operator==(const StackFrame&) const = default;
};

/// The stack of one thread, the innermost frame first.
struct ThreadStack {
  enum class State {
    read,
    /// The thread could not be stopped or its registers could not be read.
    noInformation,
    /// Its registers hold no usable instruction address.
    noInstructionAddress,
    /// The instruction address is known, but not where the stack goes on.
    noFramePointer,
  };

  /// The kernel's number of the thread; that of the main thread is the number of its process.
  std::int32_t thread = 0;
  State state = State::read;
  /// Empty unless read.
  std::vector<StackFrame> frames;

  bool operator==(const ThreadStack&) const = default;
};

/// All threads of a process, the main thread first; nothing when they could not be listed.
using ThreadStacks = std::optional<std::vector<ThreadStack>>;

/// Reads the stacks of another process.
class ThreadStackReader {
 public:
  virtual ~ThreadStackReader() = default;

  /// Stops every thread of the process for as long as it takes to read its stack, at most `frameLimit` frames each.
  virtual ThreadStacks read(std::int32_t process, std::size_t frameLimit) = 0;
};

}  // namespace halvard
