// What one list of applications costs beside the bare pass over the process table: nothing has changed since the list
// before, or one process is new, which has everything named again.

#include <benchmark/benchmark.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "platform/linux/applications/linux_running_applications.h"
#include "platform/linux/processes/linux_process_table.h"

namespace {

using namespace halvard;

// A sleeping child, ended with this object.
class Child {
 public:
  Child() : m_pid(::fork()) {
    if (m_pid != 0) return;
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    for (;;)
      ::pause();
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;
  ~Child() {
    ::kill(m_pid, SIGKILL);
    ::waitpid(m_pid, nullptr, 0);
  }

 private:
  const pid_t m_pid;
};

void runningApplications(benchmark::State& state, bool withNewProcess) {
  LinuxProcessTable table;
  LinuxRunningApplications applications;
  for (int pass = 0; pass < 3; ++pass)
    applications.update(*table.read().processes);
  std::size_t processes = 0;
  for (auto _ : state) {
    state.PauseTiming();
    const auto child = withNewProcess ? std::make_unique<Child>() : nullptr;
    const ProcessTable::Reading reading = table.read();
    processes = reading.processes->size();
    state.ResumeTiming();
    applications.update(*reading.processes);
  }
  state.counters["processes"] = static_cast<double>(processes);
}

BENCHMARK_CAPTURE(runningApplications, nothing_changed, false)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(runningApplications, one_new_process, true)->Unit(benchmark::kMicrosecond);

}  // namespace
