// Three ways to free memory, side by side in one run, beside an idle program and a program that draws 60 times a
// second: `./dev bench purge`. Figures of different runs do not compare, because other programs live on the machine.
#include <unistd.h>

#include <QCommandLineParser>
#include <QCoreApplication>
#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <memory>
#include <thread>

#include "full_machine.h"
#include "platform/linux/procfs/kept_file.h"
#include "platform/linux/procfs/memory_info.h"
#include "platform/linux/reclaim/reclaim_pace.h"
#include "purge_turns.h"
#include "support/zram_swap.h"

using namespace halvard;
using namespace halvard::bench;
using namespace std::chrono_literals;

namespace {

constexpr double kMiB = 1 << 20;
constexpr double kLeastRate = 0.8;
constexpr double kMostP99 = 1.3;
constexpr double kMostMilliseconds = 16;

struct Contender {
  const char* name;
  std::function<Turn(const test::IdleProcess&)> play;
  std::vector<Turn> turns;

  double median(const std::function<double(const Turn&)>& figure) const {
    std::vector<double> values;
    for (const Turn& turn : turns)
      values.push_back(figure(turn));
    return quantile(values, 0.5);
  }
  std::vector<double> frames() const {
    std::vector<double> all;
    for (const Turn& turn : turns)
      all.insert(all.end(), turn.frames.begin(), turn.frames.end());
    return all;
  }
};

void printRow(const Contender& contender) {
  std::printf("%-6s %9.0f %9.0f %8.1f %8.1f %8.0f  ", contender.name,
              contender.median([](const Turn& turn) { return turn.pagedOutBytes / kMiB; }),
              contender.median([](const Turn& turn) { return turn.gainedBytes / kMiB; }),
              contender.median([](const Turn& turn) { return turn.seconds; }),
              contender.median([](const Turn& turn) { return turn.processorSeconds; }),
              contender.median([](const Turn& turn) { return turn.bytesPerSecond() / kMiB; }));
  printFrames(contender.frames());
}

bool judge(const char* what, double value, double goal, bool isMet) {
  std::printf("%-34s %6.2f  (goal %.2f)  %s\n", what, value, goal, isMet ? "met" : "MISSED");
  return isMet;
}

void waitUntilCalm(Clock& clock) {
  ProcfsGuardReadings readings(clock);
  for (int seconds = 0; seconds < 60 && obstacleToPagingOut(readings.read()); ++seconds)
    clock.sleepFor(1s);
}

class Match {
 public:
  Match(std::size_t idleBytes, int rounds, int fillRounds)
      : m_idleBytes(idleBytes), m_rounds(rounds), m_fillRounds(fillRounds) {}

  int play() {
    // Uncounted: a virtual machine may have to get the memory from its host first.
    turn(m_raw);
    m_raw.turns.clear();
    m_quiet.clear();
    for (int round = 0; round < m_rounds; ++round) {
      turn(round % 2 == 0 ? m_raw : m_ours);
      turn(round % 2 == 0 ? m_ours : m_raw);
    }
    for (int round = 0; round < m_fillRounds; ++round)
      turn(m_fill);
    return report() ? 0 : 1;
  }

 private:
  void turn(Contender& contender) {
    const test::IdleProcess idle(m_idleBytes);
    waitUntilCalm(m_clock);
    const std::vector<double> quiet = quietFrames(m_probe, m_clock);
    m_quiet.insert(m_quiet.end(), quiet.begin(), quiet.end());
    contender.turns.push_back(contender.play(idle));
  }

  bool report() const {
    std::array<double, 3> load{};
    ::getloadavg(load.data(), static_cast<int>(load.size()));
    std::printf("idle program %.0f MiB, %d rounds (medians), load %.1f on %u processors\n", double(m_idleBytes) / kMiB,
                m_rounds, load[0], std::thread::hardware_concurrency());
    std::printf("       paged out    gained  seconds    cpu s    MiB/s   frame p50      p99    worst  frames\n");
    std::printf("%-6s %9s %9s %8s %8s %8s  ", "idle", "", "", "", "", "");
    printFrames(m_quiet);
    for (const Contender* contender : {&m_raw, &m_ours, &m_fill}) {
      if (!contender->turns.empty()) printRow(*contender);
    }
    std::printf("the purge says: %s\n", qPrintable(m_ours.turns.back().explanation));
    return judgeOurs();
  }

  bool judgeOurs() const {
    std::vector<double> rates;
    for (std::size_t round = 0; round < m_ours.turns.size(); ++round)
      rates.push_back(m_ours.turns[round].bytesPerSecond() / m_raw.turns[round].bytesPerSecond());
    const double rate = quantile(rates, 0.5);
    const double p99 = quantile(m_ours.frames(), 0.99) / quantile(m_quiet, 0.99);
    const double worst = quantile(m_ours.frames(), 1);
    const bool isFast = judge("rate beside raw", rate, kLeastRate, rate >= kLeastRate);
    const bool isSmooth = judge("p99 frame beside idle", p99, kMostP99, p99 <= kMostP99);
    const bool isEven = judge("worst frame, ms", worst, kMostMilliseconds, worst < kMostMilliseconds);
    return isFast && isSmooth && isEven;
  }

  const std::size_t m_idleBytes;
  const int m_rounds;
  const int m_fillRounds;
  SystemClock m_clock;
  FrameProbe m_probe;
  std::vector<double> m_quiet;
  Contender m_raw{"raw", [this](const test::IdleProcess& idle) { return rawPageOut(idle, m_probe); }, {}};
  Contender m_ours{"ours", [this](const test::IdleProcess& idle) { return targetedPurge(idle, m_probe, m_clock); }, {}};
  Contender m_fill{"fill", [this](const test::IdleProcess& idle) { return fillPurge(idle, m_probe, m_clock); }, {}};
};

/// 3 GiB, or what a smaller machine can spare.
std::size_t usualIdleMebibytes() {
  std::array<char, 8192> buffer;
  const auto info = parseMemoryInfo(readFile("/proc/meminfo", buffer));
  return std::min<std::size_t>(3072, info ? info->available / 4 >> 20 : 256);
}

int playMatch(std::size_t idleMebibytes, int rounds, int fillRounds) {
  if (::geteuid() != 0) {
    std::puts("bench purge: needs root, to set up zram swap and to page out without a capability file");
    return 77;
  }
  test::ZramSwap swap;
  const QString reason = swap.start(std::uint64_t{idleMebibytes} << 21);
  if (!reason.isEmpty()) {
    std::printf("bench purge: %s\n", qPrintable(reason));
    return 77;
  }
  return Match(idleMebibytes << 20, rounds, fillRounds).play();
}

}  // namespace

int main(int argc, char** argv) {
  const QCoreApplication application(argc, argv);
  const auto text = [](const char* words) { return QString::fromLatin1(words); };
  QCommandLineParser parser;
  parser.addHelpOption();
  parser.addOptions({
      {text("size"), text("Size of the idle program."), text("MiB"), QString::number(usualIdleMebibytes())},
      {text("rounds"), text("Turns of each page-out."), text("count"), text("5")},
      {text("fill-rounds"), text("Turns of the fill: each takes a minute or two, and all of memory."), text("count"),
       text("1")},
      {text("full-machine"), text("Purge so many times on a machine that is full and has no swap."), text("purges")},
  });
  parser.process(application);
  const auto number = [&](const char* option) { return parser.value(text(option)).toInt(); };
  if (parser.isSet(text("full-machine"))) return purgeOnAFullMachine(std::max(number("full-machine"), 1));
  return playMatch(static_cast<std::size_t>(std::max(number("size"), 16)), std::max(number("rounds"), 1),
                   std::max(number("fill-rounds"), 0));
}
