#include "frame_probe.h"

#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <thread>

namespace halvard::bench {
namespace {

using namespace std::chrono;

constexpr std::size_t kMostFrames = 1 << 20;  // four hours
constexpr nanoseconds kPeriod{16'666'667};
constexpr std::size_t kPage = 4096;
constexpr std::size_t kScene = std::size_t{32} << 20;
constexpr std::size_t kFresh = std::size_t{2} << 20;

char* map(std::size_t bytes, int sharing) {
  void* const address = ::mmap(nullptr, bytes, PROT_READ | PROT_WRITE, sharing | MAP_ANONYMOUS, -1, 0);
  if (address == MAP_FAILED) std::abort();
  return static_cast<char*>(address);
}

void touch(char* memory, std::size_t bytes) {
  for (std::size_t offset = 0; offset < bytes; offset += kPage)
    ++memory[offset];
}

void draw(char* scene) {
  touch(scene, kScene);
  char* const fresh = map(kFresh, MAP_PRIVATE);
  touch(fresh, kFresh);
  ::munmap(fresh, kFresh);
}

}  // namespace

struct FrameProbe::Record {
  std::atomic<std::size_t> count;
  std::atomic<float> milliseconds[kMostFrames];

  [[noreturn]] void run() {
    char* const scene = map(kScene, MAP_PRIVATE);
    draw(scene);
    for (auto due = steady_clock::now() + kPeriod;; due = std::max(due + kPeriod, steady_clock::now())) {
      std::this_thread::sleep_until(due);
      draw(scene);
      const std::size_t frame = count.load();
      if (frame == kMostFrames) ::_exit(1);
      milliseconds[frame] = duration<float, std::milli>(steady_clock::now() - due).count();
      count = frame + 1;
    }
  }
};

FrameProbe::FrameProbe() : m_record(reinterpret_cast<Record*>(map(sizeof(Record), MAP_SHARED))), m_process(::fork()) {
  if (m_process < 0) std::abort();
  if (m_process != 0) return;
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  m_record->run();
}

FrameProbe::~FrameProbe() {
  ::kill(m_process, SIGKILL);
  ::waitpid(m_process, nullptr, 0);
  ::munmap(m_record, sizeof(Record));
}

std::size_t FrameProbe::now() const {
  return m_record->count;
}

std::vector<double> FrameProbe::between(std::size_t first, std::size_t last) const {
  std::vector<double> frames;
  for (std::size_t frame = first; frame < last; ++frame)
    frames.push_back(static_cast<double>(m_record->milliseconds[frame]));
  return frames;
}

double quantile(std::vector<double> values, double part) {
  if (values.empty()) return 0;
  std::sort(values.begin(), values.end());
  return values[static_cast<std::size_t>(static_cast<double>(values.size() - 1) * part)];
}

void printFrames(const std::vector<double>& frames) {
  std::printf("%8.2f %8.2f %8.2f %7zu\n", quantile(frames, 0.5), quantile(frames, 0.99), quantile(frames, 1),
              frames.size());
}

}  // namespace halvard::bench
