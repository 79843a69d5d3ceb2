// One pass over the process table beside "ps -e -o pid,ppid,rss,comm", in processor time, on about 400 processes.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <ctime>
#include <vector>

#include "platform/linux/processes/linux_process_table.h"

namespace {

using halvard::LinuxProcessTable;

constexpr int kChildren = 400;
constexpr std::size_t kRoomForAll = 4096;
constexpr int kPassesPerRound = 10;

// Sleeping children, ended with this object.
class Children {
 public:
  explicit Children(int count) {
    for (int number = 0; number < count; ++number) {
      const pid_t pid = ::fork();
      if (pid == 0) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        for (;;)
          ::pause();
      }
      if (pid > 0) m_pids.push_back(pid);
    }
  }
  Children(const Children&) = delete;
  Children& operator=(const Children&) = delete;
  ~Children() {
    for (const pid_t pid : m_pids) {
      ::kill(pid, SIGKILL);
      ::waitpid(pid, nullptr, 0);
    }
  }

 private:
  std::vector<pid_t> m_pids;
};

double seconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
}

double ownSeconds() {
  timespec time{};
  ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

// Processor seconds of one run, its start included; -1 when it failed.
double runPs() {
  const char* const arguments[] = {"ps", "-e", "-o", "pid,ppid,rss,comm", nullptr};
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  pid_t pid = 0;
  const int error = ::posix_spawn(&pid, "/bin/ps", &actions, nullptr, const_cast<char**>(arguments), environ);
  ::posix_spawn_file_actions_destroy(&actions);
  int status = 0;
  rusage usage{};
  if (error || ::wait4(pid, &status, 0, &usage) != pid || status != 0) return -1;
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

void processTable(benchmark::State& state, std::size_t descriptors) {
  rlimit limit{};
  ::getrlimit(RLIMIT_NOFILE, &limit);
  limit.rlim_cur = std::min<rlim_t>(limit.rlim_max, kRoomForAll + 100);
  ::setrlimit(RLIMIT_NOFILE, &limit);
  const Children children(kChildren);
  LinuxProcessTable table(descriptors);
  for (int pass = 0; pass < 3; ++pass)
    table.read();
  double own = 0, ps = 0;
  std::size_t processes = 0;
  for (auto _ : state) {
    const double before = ownSeconds();
    for (int pass = 0; pass < kPassesPerRound; ++pass)
      processes = table.read().processes->size();
    const double passSeconds = (ownSeconds() - before) / kPassesPerRound;
    state.SetIterationTime(passSeconds);
    own += passSeconds;
    const double psSeconds = runPs();
    if (psSeconds < 0) return state.SkipWithError("ps did not run");
    ps += psSeconds;
  }
  state.counters["processes"] = static_cast<double>(processes);
  state.counters["ps_us"] = ps * 1e6 / static_cast<double>(state.iterations());
  state.counters["share_of_ps"] = own / ps;
}

BENCHMARK_CAPTURE(processTable, opened_each_time, 0)
    ->UseManualTime()
    ->Iterations(10)
    ->Repetitions(7)
    ->ReportAggregatesOnly()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(processTable, kept_descriptors, kRoomForAll)
    ->UseManualTime()
    ->Iterations(10)
    ->Repetitions(7)
    ->ReportAggregatesOnly()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
