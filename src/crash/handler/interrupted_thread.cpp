#include "crash/handler/interrupted_thread.h"

#include <sys/uio.h>
#include <ucontext.h>
#include <unistd.h>

namespace halvard::crash_handler {
namespace {

bool isJumpToNowhere(const siginfo_t& information, std::uint64_t instruction) {
  return information.si_signo == SIGSEGV && information.si_code > 0 &&
         reinterpret_cast<std::uint64_t>(information.si_addr) == instruction;
}

}  // namespace

#if defined(__x86_64__)

std::uint64_t interruptedInstruction(const siginfo_t& information, void* context) {
  auto& registers = static_cast<ucontext_t*>(context)->uc_mcontext.gregs;
  const auto instruction = static_cast<std::uint64_t>(registers[REG_RIP]);
  if (!isJumpToNowhere(information, instruction)) return instruction;
  std::uint64_t returnAddress = 0;
  const iovec target{&returnAddress, sizeof returnAddress};
  const iovec source{reinterpret_cast<void*>(registers[REG_RSP]), sizeof returnAddress};
  // The stack itself may be gone; this way reading it cannot fault.
  if (process_vm_readv(getpid(), &target, 1, &source, 1, 0) != sizeof returnAddress) return instruction;
  registers[REG_RIP] = static_cast<greg_t>(returnAddress);
  registers[REG_RSP] += static_cast<greg_t>(sizeof returnAddress);
  return returnAddress;
}

#elif defined(__aarch64__)

std::uint64_t interruptedInstruction(const siginfo_t& information, void* context) {
  constexpr int linkRegister = 30;
  mcontext_t& registers = static_cast<ucontext_t*>(context)->uc_mcontext;
  if (isJumpToNowhere(information, registers.pc)) registers.pc = registers.regs[linkRegister];
  return registers.pc;
}

#else

std::uint64_t interruptedInstruction(const siginfo_t&, void*) {
  return 0;
}

#endif

}  // namespace halvard::crash_handler
