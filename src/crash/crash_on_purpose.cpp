#include "crash/crash_on_purpose.h"

#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <latch>
#include <stdexcept>
#include <thread>
#include <utility>
#include <vector>

#include <unistd.h>

namespace halvard {
namespace {

// Undefined behaviour is the purpose; sanitizers and the optimiser shall let it happen.
#define HALVARD_CRASHES [[gnu::noinline, gnu::optimize("O0"), gnu::no_sanitize("undefined", "address", "thread")]]

HALVARD_CRASHES void dereferenceNull() {
  int* volatile nowhere = nullptr;
  *nowhere = 1;
}

HALVARD_CRASHES void callNullFunction() {
  void (*volatile nowhere)() = nullptr;
  nowhere();
  nowhere = nullptr;
}

HALVARD_CRASHES void callAbort() {
  std::abort();
}

HALVARD_CRASHES void divideByZero() {
  volatile int number = 7;
  volatile int zero = 0;
  volatile int result = number / zero;
  static_cast<void>(result);
}

HALVARD_CRASHES void runIllegalInstruction() {
#if defined(__x86_64__) || defined(__i386__)
  asm volatile("ud2");
#elif defined(__aarch64__)
  asm volatile("udf #0");
#else
  raise(SIGILL);
#endif
}

HALVARD_CRASHES int overflowStack(int depth) {
  volatile char frame[1024];  // less than the guard page of a thread
  frame[0] = static_cast<char>(depth);
  if (depth < 0) return 0;
  return overflowStack(depth + 1) + frame[0];
}

HALVARD_CRASHES void corruptHeap() {
  std::thread([] {}).join();  // a program that had threads takes the allocator's lock
  constexpr std::size_t size = 4096;
  auto* const block = static_cast<volatile std::uint64_t*>(std::malloc(size));
  // Behind the block stands the size of what is still free; a nonsense value makes the allocator give up.
  for (std::size_t word = size / sizeof *block; word < size / sizeof *block + 4; ++word)
    block[word] = 0x4242424242424242;
  for (;;) {
    void* volatile next = std::malloc(100'000);
    static_cast<void>(next);
  }
}

HALVARD_CRASHES void throwUncaught() {
  throw std::runtime_error("thrown on purpose");
}

HALVARD_CRASHES void writeToBrokenPipe() {
  int ends[2];
  if (pipe(ends) != 0) return;
  close(ends[0]);
  [[maybe_unused]] const ssize_t written = write(ends[1], "", 1);
}

HALVARD_CRASHES void waitForAlarm() {
  alarm(1);
  for (;;)
    pause();
}

void crashOnTwoThreads() {
  static std::latch start(2);
  for (int number = 0; number < 2; ++number) {
    std::thread([] {
      start.arrive_and_wait();
      dereferenceNull();
    }).detach();
  }
}

struct NamedKind {
  QString name;
  CrashKind kind;
};

const std::vector<NamedKind>& namedKinds() {
  static const std::vector<NamedKind> kinds{
      {QStringLiteral("null"), CrashKind::nullDereference},
      {QStringLiteral("null-call"), CrashKind::nullFunctionCall},
      {QStringLiteral("abort"), CrashKind::abort},
      {QStringLiteral("division"), CrashKind::divisionByZero},
      {QStringLiteral("illegal"), CrashKind::illegalInstruction},
      {QStringLiteral("overflow"), CrashKind::stackOverflow},
      {QStringLiteral("thread-overflow"), CrashKind::stackOverflowOnAnotherThread},
      {QStringLiteral("heap"), CrashKind::corruptedHeap},
      {QStringLiteral("exception"), CrashKind::exceptionOnMainThread},
      {QStringLiteral("thread-exception"), CrashKind::exceptionOnAnotherThread},
      {QStringLiteral("pipe"), CrashKind::brokenPipe},
      {QStringLiteral("alarm"), CrashKind::alarm},
      {QStringLiteral("two-threads"), CrashKind::twoThreads},
  };
  return kinds;
}

}  // namespace

void crashOnPurpose(CrashKind kind) {
  switch (kind) {
    case CrashKind::nullDereference:
      return dereferenceNull();
    case CrashKind::nullFunctionCall:
      return callNullFunction();
    case CrashKind::abort:
      return callAbort();
    case CrashKind::divisionByZero:
      return divideByZero();
    case CrashKind::illegalInstruction:
      return runIllegalInstruction();
    case CrashKind::stackOverflow:
      overflowStack(0);
      return;
    case CrashKind::stackOverflowOnAnotherThread:
      return std::thread(overflowStack, 0).detach();
    case CrashKind::corruptedHeap:
      return corruptHeap();
    case CrashKind::exceptionOnMainThread:
      return throwUncaught();
    case CrashKind::exceptionOnAnotherThread:
      return std::thread(throwUncaught).detach();
    case CrashKind::brokenPipe:
      return writeToBrokenPipe();
    case CrashKind::alarm:
      return waitForAlarm();
    case CrashKind::twoThreads:
      return crashOnTwoThreads();
  }
}

std::optional<CrashKind> crashKindNamed(const QString& name) {
  for (const NamedKind& named : namedKinds()) {
    if (named.name == name) return named.kind;
  }
  return std::nullopt;
}

QStringList crashKindNames() {
  QStringList names;
  for (const NamedKind& named : namedKinds())
    names << named.name;
  return names;
}

}  // namespace halvard
