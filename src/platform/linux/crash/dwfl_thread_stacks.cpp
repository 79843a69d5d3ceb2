#include "platform/linux/crash/dwfl_thread_stacks.h"

#include <cxxabi.h>
#include <QByteArray>
#include <cstdlib>
#include <memory>

#include <elfutils/libdwfl.h>

namespace halvard {
namespace {

struct DwflDeleter {
  void operator()(Dwfl* dwfl) const { dwfl_end(dwfl); }
};
using DwflPointer = std::unique_ptr<Dwfl, DwflDeleter>;

QString readable(const char* symbol) {
  int status = 0;
  const std::unique_ptr<char, decltype(&std::free)> name(abi::__cxa_demangle(symbol, nullptr, nullptr, &status),
                                                         &std::free);
  return QString::fromUtf8(name ? name.get() : symbol);
}

QString fileName(const char* path) {
  const QString name = QString::fromUtf8(path);
  return name.section(QLatin1Char('/'), -1);
}

/// `isReturnAddress`: the address is that of the instruction after a call, which may belong to the next function.
StackFrame describe(Dwfl* dwfl, Dwarf_Addr address, bool isReturnAddress) {
  StackFrame frame;
  frame.address = address;
  const Dwarf_Addr inside = isReturnAddress ? address - 1 : address;
  Dwfl_Module* const module = dwfl_addrmodule(dwfl, inside);
  if (!module) return frame;
  Dwarf_Addr start = 0;
  const char* file = nullptr;
  const char* const name = dwfl_module_info(module, nullptr, &start, nullptr, nullptr, nullptr, &file, nullptr);
  frame.image = fileName(file ? file : name);
  GElf_Off distance = 0;
  GElf_Sym symbol;
  const char* const found = dwfl_module_addrinfo(module, inside, &distance, &symbol, nullptr, nullptr, nullptr);
  if (found) frame.symbol = readable(found);
  frame.distance = found ? distance + (address - inside) : address - start;
  return frame;
}

struct Walk {
  Dwfl* dwfl;
  std::size_t frameLimit;
  std::vector<ThreadStack> threads;
};

struct ThreadWalk {
  Dwfl* dwfl;
  std::size_t frameLimit;
  ThreadStack& stack;
};

int addFrame(Dwfl_Frame* state, void* argument) {
  auto& walk = *static_cast<ThreadWalk*>(argument);
  Dwarf_Addr address = 0;
  bool isActivation = false;
  if (!dwfl_frame_pc(state, &address, &isActivation)) return DWARF_CB_ABORT;
  walk.stack.frames.push_back(describe(walk.dwfl, address, !isActivation));
  return walk.stack.frames.size() < walk.frameLimit ? DWARF_CB_OK : DWARF_CB_ABORT;
}

int addThread(Dwfl_Thread* thread, void* argument) {
  auto& walk = *static_cast<Walk*>(argument);
  ThreadStack stack;
  stack.thread = dwfl_thread_tid(thread);
  ThreadWalk threadWalk{walk.dwfl, walk.frameLimit, stack};
  // Fails at the end of every stack that is not closed properly too; what was read before stays.
  const int result = dwfl_thread_getframes(thread, addFrame, &threadWalk);
  if (stack.frames.empty())
    stack.state = result < 0 ? ThreadStack::State::noInformation : ThreadStack::State::noInstructionAddress;
  walk.threads.push_back(std::move(stack));
  return DWARF_CB_OK;
}

DwflPointer attach(std::int32_t process) {
  static const Dwfl_Callbacks callbacks{dwfl_linux_proc_find_elf, dwfl_standard_find_debuginfo, nullptr, nullptr};
  DwflPointer dwfl(dwfl_begin(&callbacks));
  const bool attached = dwfl && dwfl_linux_proc_report(dwfl.get(), process) == 0 &&
                        dwfl_report_end(dwfl.get(), nullptr, nullptr) == 0 &&
                        dwfl_linux_proc_attach(dwfl.get(), process, false) == 0;
  return attached ? std::move(dwfl) : nullptr;
}

}  // namespace

ThreadStacks DwflThreadStacks::read(std::int32_t process, std::size_t frameLimit) {
  qunsetenv("DEBUGINFOD_URLS");  // libdwfl would ask these servers for debug files
  const DwflPointer dwfl = attach(process);
  if (!dwfl) return std::nullopt;
  Walk walk{dwfl.get(), frameLimit, {}};
  if (dwfl_getthreads(dwfl.get(), addThread, &walk) != 0) return std::nullopt;
  return std::move(walk.threads);
}

}  // namespace halvard
