// One reading of the memory counters and of the processor ticks, beside the same through QFile and beside "free".

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QDir>
#include <QFile>
#include <QHash>

#include "platform/linux/procfs/linux_host_statistics.h"
#include "platform/linux/procfs/linux_processor_ticks.h"

namespace {

using namespace halvard;

void countersThroughKeptDescriptors(benchmark::State& state) {
  LinuxHostStatistics host;
  VmStatistics64 record;
  std::uint32_t words = HostStatistics::kWords64;
  for ([[maybe_unused]] auto round : state) {
    if (host.hostStatistics64(record, words) != HostStatistics::kSuccess) state.SkipWithError("no counters");
    benchmark::DoNotOptimize(record);
  }
}
BENCHMARK(countersThroughKeptDescriptors);

QByteArray contents(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// The obvious way: the same files, opened each time, cut into lines and words.
void countersThroughQFile(benchmark::State& state) {
  for ([[maybe_unused]] auto round : state) {
    QHash<QByteArray, quint64> figures;
    for (const QByteArray& line : contents(QStringLiteral("/proc/meminfo")).split('\n')) {
      const QList<QByteArray> words = line.simplified().split(' ');
      if (words.size() > 1) figures.insert(words[0], words[1].toULongLong());
    }
    quint64 sum = 0;
    for (const QByteArray& line : contents(QStringLiteral("/proc/zoneinfo")).split('\n')) {
      const QByteArray words = line.trimmed();
      if (words.startsWith("count:")) sum += words.mid(6).trimmed().toULongLong();
    }
    const QStringList pools = QDir(QStringLiteral("/sys/block")).entryList({QStringLiteral("zram*")});
    for (const QString& pool : pools) {
      sum += contents(QStringLiteral("/sys/block/%1/mm_stat").arg(pool)).simplified().split(' ').value(2).toULongLong();
    }
    benchmark::DoNotOptimize(figures);
    benchmark::DoNotOptimize(sum);
  }
}
BENCHMARK(countersThroughQFile);

// Elapsed time, start and end of the program included.
void countersThroughFree(benchmark::State& state) {
  const char* const arguments[] = {"free", "-b", nullptr};
  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  for ([[maybe_unused]] auto round : state) {
    pid_t process = 0;
    int status = 0;
    const int error = ::posix_spawnp(&process, "free", &actions, nullptr, const_cast<char**>(arguments), environ);
    if (error || ::waitpid(process, &status, 0) != process || status != 0) state.SkipWithError("no free");
  }
  ::posix_spawn_file_actions_destroy(&actions);
}
BENCHMARK(countersThroughFree)->UseRealTime()->Unit(benchmark::kMicrosecond);

void processorTicks(benchmark::State& state) {
  LinuxProcessorTicks ticks;
  for ([[maybe_unused]] auto round : state) {
    const auto load = ticks.processorLoad();
    if (!load) state.SkipWithError("no ticks");
    benchmark::DoNotOptimize(load);
  }
}
BENCHMARK(processorTicks);

}  // namespace
