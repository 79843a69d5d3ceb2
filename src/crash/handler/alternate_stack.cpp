#include "crash/handler/alternate_stack.h"

#include <cerrno>
#include <memory>
#include <new>

#include <dlfcn.h>
#include <pthread.h>
#include <signal.h>
#include <sys/mman.h>

namespace halvard::crash_handler {
namespace {

constexpr std::size_t kGuardSize = 64 * 1024;
constexpr std::size_t kAlternateStackSize = 256 * 1024;

/// The alternate signal stack of the thread that makes it.
class AlternateStack {
 public:
  AlternateStack() : m_stack(makeStack(kAlternateStackSize)) {
    stack_t stack = {};
    stack.ss_sp = m_stack;
    stack.ss_size = kAlternateStackSize;
    m_isUsed = m_stack && sigaltstack(&stack, &m_previous) == 0;
  }
  ~AlternateStack() {
    if (m_isUsed) sigaltstack(&m_previous, nullptr);
    if (m_stack) munmap(m_stack - kGuardSize, kGuardSize + kAlternateStackSize);
  }
  AlternateStack(const AlternateStack&) = delete;
  AlternateStack& operator=(const AlternateStack&) = delete;

  bool isUsed() const { return m_isUsed; }

 private:
  std::byte* const m_stack;
  stack_t m_previous = {};
  bool m_isUsed = false;
};

using Routine = void* (*)(void*);

struct ThreadStart {
  Routine routine;
  void* argument;
};

void* runThread(void* argument) {
  const std::unique_ptr<const ThreadStart> start(static_cast<const ThreadStart*>(argument));
  const AlternateStack stack;
  return start->routine(start->argument);
}

}  // namespace

std::byte* makeStack(std::size_t size) {
  void* const memory = mmap(nullptr, kGuardSize + size, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_STACK, -1, 0);
  if (memory == MAP_FAILED) return nullptr;
  std::byte* const stack = static_cast<std::byte*>(memory) + kGuardSize;
  if (mprotect(stack, size, PROT_READ | PROT_WRITE) == 0) return stack;
  munmap(memory, kGuardSize + size);
  return nullptr;
}

bool useAlternateStack() {
  static const AlternateStack& stack = *new AlternateStack;
  return stack.isUsed();
}

}  // namespace halvard::crash_handler

/// Found before the C library's own.
extern "C" [[gnu::visibility("default")]] int pthread_create(pthread_t* thread, const pthread_attr_t* attributes,
                                                             void* (*routine)(void*), void* argument) noexcept {
  using namespace halvard::crash_handler;
  using Create = int (*)(pthread_t*, const pthread_attr_t*, Routine, void*);
  static const auto create = reinterpret_cast<Create>(dlsym(RTLD_NEXT, "pthread_create"));
  auto start = std::unique_ptr<ThreadStart>(new (std::nothrow) ThreadStart{routine, argument});
  if (!create || !start) return EAGAIN;
  const int error = create(thread, attributes, runThread, start.get());
  if (error == 0) static_cast<void>(start.release());  // the thread owns it
  return error;
}
