#include "crash/handler/crash_handler.h"

#include <cxxabi.h>
#include <array>
#include <atomic>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <typeinfo>

#include <sys/socket.h>
#include <unistd.h>

#include "crash/handler/alternate_stack.h"
#include "crash/handler/crash_signals.h"
#include "crash/handler/display_connections.h"
#include "crash/handler/interrupted_thread.h"
#include "crash/handler/last_report.h"
#include "crash/handler/prepared_memory.h"
#include "crash/handler/reporter_process.h"

namespace halvard::crash_handler {
namespace {

constexpr int kSlotCount = 32;

// Handlers have no argument to carry these. Written by install() alone, but for the atomics.
pid_t s_process = 0;
ReporterProcess s_reporter;
LastReportTexts s_texts;
std::terminate_handler s_previousTerminate = nullptr;
std::array<struct sigaction, kSlotCount> s_previousActions = {};
std::atomic<bool> s_logging = false;
std::atomic<pid_t> s_reportingThread = 0;
CrashMessage s_exception;  // of the main thread

constinit thread_local bool t_callsPreviousAction = false;
constinit thread_local bool t_exceptionIsUncaught = false;

void log(std::string_view text) {
  if (!s_logging) return;
  FixedText<256> line;
  line.add(text).add("\n");
  [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, line.view().data(), line.view().size());
}

/// From here on the thread takes no more of the signals that can wait, and a fault of the handler itself is seen.
void chooseSignalsWhileReporting() {
  sigset_t blocked;
  sigemptyset(&blocked);
  for (const int number : kCrashSignals)
    sigaddset(&blocked, number);
  for (const int number : kFaultSignals)
    sigdelset(&blocked, number);
  pthread_sigmask(SIG_SETMASK, &blocked, nullptr);
}

/// Once a process: what crashes while the first crash is reported is not reported.
[[noreturn]] void reportAndLeave(const CrashMessage& message) {
  pid_t reporting = 0;
  if (!s_reportingThread.compare_exchange_strong(reporting, message.thread)) {
    if (reporting == message.thread) _exit(EXIT_SUCCESS);  // the handler itself failed
    for (;;)
      pause();
  }
  if (message.thread == s_process) endDisplayConnections();
  const ReporterOutcome outcome = runReporter(s_reporter, message);
  const bool saved = outcome.saved || writeLastReport(s_texts, message, outcome.counted);
  if (!outcome.finished) printCrashLine(s_texts, message, saved);
  _exit(EXIT_SUCCESS);
}

CrashMessage messageOfThisThread() {
  CrashMessage message;
  message.process = s_process;
  message.thread = gettid();
  message.time = time(nullptr);
  return message;
}

CrashMessage describeSignal(int number, const siginfo_t& information, void* context) {
  CrashMessage message = messageOfThisThread();
  message.signal = number;
  message.signalCode = information.si_code;
  message.signalErrno = information.si_errno;
  message.signalStatus = information.si_status;
  message.instruction = interruptedInstruction(information, context);
  return message;
}

void callPreviousAction(int number, siginfo_t* information, void* context) {
  const int slot = previousActionSlot(information->si_code);
  if (slot < 0 || t_callsPreviousAction) return;
  const struct sigaction& previous = s_previousActions[static_cast<std::size_t>(slot)];
  // Empty slots, and those that held no function, are skipped: to call them would be one more crash.
  if (previous.sa_handler == SIG_DFL || previous.sa_handler == SIG_IGN) return;
  t_callsPreviousAction = true;
  (previous.sa_flags & SA_SIGINFO) != 0 ? previous.sa_sigaction(number, information, context)
                                        : previous.sa_handler(number);
  t_callsPreviousAction = false;
}

void restoreAction(int number) {
  sigaction(number, &s_previousActions[static_cast<std::size_t>(number)], nullptr);
}

void handleSignal(int number, siginfo_t* information, void* context) {
  if (getpid() != s_process) {  // a child that has not become another program yet
    restoreAction(number);
    raise(number);
    return;
  }
  chooseSignalsWhileReporting();
  if (t_exceptionIsUncaught) reportAndLeave(s_exception);  // an earlier handler of exceptions has aborted
  callPreviousAction(number, information, context);
  reportAndLeave(describeSignal(number, *information, context));
}

void copyText(char* target, std::size_t capacity, const char* text) {
  const std::size_t size = strnlen(text, capacity - 1);
  std::memcpy(target, text, size);
  target[size] = '\0';
}

void describeException(CrashMessage& message) {
  message = messageOfThisThread();
  const std::type_info* const type = abi::__cxa_current_exception_type();
  if (!type) return;
  copyText(message.exceptionType, sizeof message.exceptionType, type->name());
  try {
    throw;
  } catch (const std::exception& exception) {
    copyText(message.exceptionReason, sizeof message.exceptionReason, exception.what());
  } catch (...) {
  }
}

/// What happens without this handler: the runtime says which exception it was and aborts.
[[noreturn]] void endByDefault() {
  restoreAction(SIGABRT);
  if (s_previousTerminate) s_previousTerminate();
  log("Exception occured NOT on main thread");
  __gnu_cxx::__verbose_terminate_handler();
  std::abort();
}

[[noreturn]] void handleTerminate() {
  if (gettid() != s_process) endByDefault();
  describeException(s_exception);
  t_exceptionIsUncaught = true;
  if (s_previousTerminate) s_previousTerminate();
  log("Exception occured on main thread");
  chooseSignalsWhileReporting();
  reportAndLeave(s_exception);
}

bool prepare(const Settings& settings) {
  constexpr std::size_t childStackSize = 64 * 1024;
  std::byte* const childStack = makeStack(childStackSize);
  if (!childStack) return false;
  std::vector<std::string> variables;
  std::size_t size = 512 + 2 * settings.reporterPath.size() + settings.programPath.size() +
                     settings.programName.size() + settings.reportFolder.size() + settings.reportHead.size() +
                     settings.homeFolder.size();
  for (char** variable = environ; variable && *variable; ++variable) {
    variables.emplace_back(*variable);
    size += variables.back().size() + 1 + sizeof(char*);
  }
  PreparedMemory memory(size);
  int ends[2];
  if (!memory.isValid() || socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends) != 0) return false;
  s_reporter.path = memory.addText(settings.reporterPath);
  s_reporter.arguments = memory.addList({settings.reporterPath, settings.programPath});
  s_reporter.environment = memory.addList(variables);
  s_reporter.childStackTop = childStack + childStackSize;
  s_reporter.ownEnd = ends[0];
  s_reporter.reporterEnd = ends[1];
  s_reporter.silenceLimitMilliseconds = static_cast<int>(settings.silenceLimit.count());
  s_texts = {memory.addText(settings.programName), memory.addText(settings.reportFolder),
             memory.addText(settings.reportHead), memory.addText(settings.homeFolder)};
  memory.seal();
  return true;
}

/// The runtime's own handler only prints and aborts; called first, it would keep the exception from being reported.
std::terminate_handler withoutRuntimeDefault(std::terminate_handler handler) {
  return handler == __gnu_cxx::__verbose_terminate_handler || handler == std::abort ? nullptr : handler;
}

void installSignalHandlers() {
  struct sigaction action = {};
  action.sa_sigaction = handleSignal;
  action.sa_flags = SA_SIGINFO | SA_ONSTACK;
  sigemptyset(&action.sa_mask);
  for (const int number : kCrashSignals)
    sigaction(number, &action, &s_previousActions[static_cast<std::size_t>(number)]);
}

}  // namespace

bool install(const Settings& settings) {
  if (s_process != 0 || !prepare(settings) || !useAlternateStack()) return false;
  FixedText<32> line;
  log(line.add("prev is nil:").addNumber(s_previousTerminate ? 0 : 1).view());
  s_process = getpid();
  s_previousTerminate = withoutRuntimeDefault(std::set_terminate(handleTerminate));
  installSignalHandlers();
  return true;
}

void setLogging(bool on) {
  s_logging = on;
}

int previousActionSlot(int signalCode) {
  return signalCode >= 0 && signalCode < kSlotCount ? signalCode : -1;
}

std::string executablePath() {
  std::array<char, PATH_MAX> path;
  const ssize_t size = readlink("/proc/self/exe", path.data(), path.size());
  return size > 0 ? std::string(path.data(), static_cast<std::size_t>(size)) : std::string();
}

}  // namespace halvard::crash_handler
