// How fast the purge worker fills memory: 64 buffers of 10 MiB, pinned and given back.

#include <benchmark/benchmark.h>

#include "platform/linux/purge/worker_process.h"
#include "platform/linux/purge/worker_purgeable_memory.h"

namespace {

using namespace halvard;
using purge_worker::Operation;

constexpr std::uint64_t kBuffer = 10 << 20;
constexpr std::uint32_t kBuffers = 64;

void fill(benchmark::State& state, Operation pin) {
  const auto worker = WorkerProcess::start(defaultWorkerPath(), std::chrono::seconds(30));
  if (!worker) return state.SkipWithError("no worker");
  const auto forAll = [&](Operation operation) {
    for (std::uint32_t buffer = 0; buffer < kBuffers; ++buffer) {
      if (worker.value()->perform(operation, buffer, kBuffer) != 0) state.SkipWithError("a buffer was not filled");
    }
  };
  // Once before: a virtual machine may have to get the memory from its host first.
  forAll(pin);
  forAll(Operation::Discard);
  for ([[maybe_unused]] auto round : state) {
    forAll(pin);
    state.PauseTiming();
    forAll(Operation::MakeVolatile);
    forAll(Operation::Discard);
    state.ResumeTiming();
  }
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * kBuffers * kBuffer));
}
BENCHMARK_CAPTURE(fill, smallPages, Operation::Pin)->Iterations(5)->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(fill, hugePages, Operation::PinHuge)->Iterations(5)->UseRealTime()->Unit(benchmark::kMillisecond);

void startAndEnd(benchmark::State& state) {
  for ([[maybe_unused]] auto round : state) {
    if (!WorkerProcess::start(defaultWorkerPath(), std::chrono::seconds(30))) state.SkipWithError("no worker");
  }
}
BENCHMARK(startAndEnd)->Name("workerStartAndEnd")->UseRealTime()->Unit(benchmark::kMicrosecond);

}  // namespace
