#include <QtTest>

#include "platform/fake/fake_clock.h"
#include "platform/linux/purge/purge_guard.h"
#include "support/scripted_readings.h"

using namespace halvard;
using namespace std::chrono_literals;
using enum GuardVerdict;

namespace {

const auto calm = test::ScriptedReadings::calm;

constexpr ByteCount kMiB = 1 << 20;
constexpr ByteCount kStep = 10 * kMiB;
/// What must be there for one step.
constexpr ByteCount kNeeded = 512 * kMiB + kStep;

}  // namespace

class TestPurgeGuard : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void roomCountsTheReserveTheStepAndHalfOfTheFreeSwap() {
    QCOMPARE(guardReserve(10240 * kMiB), 512 * kMiB);
    QCOMPARE(guardReserve(10260 * kMiB), 513 * kMiB);
    const struct {
      ByteCount available, swapFree, swapTotal;
      GuardVerdict verdict;
    } cases[] = {{kNeeded - 50 * kMiB + 1, 100 * kMiB, 0, Go},
                 {kNeeded - 50 * kMiB, 100 * kMiB, 0, Refuse},
                 {0, 2 * kNeeded + 2, 0, Go},
                 {kStep / 2, 2, 0, Refuse},
                 {8000 * kMiB, 0, 0, Refuse},
                 {8000 * kMiB, 1001, 1000, Go},
                 {8000 * kMiB, 201, 1000, Go},
                 {8000 * kMiB, 200, 1000, Refuse}};
    for (const auto& [available, swapFree, swapTotal, verdict] : cases) {
      GuardReadings now = calm();
      now.available = available;
      now.swapFree = swapFree;
      now.swapTotal = swapTotal;
      QVERIFY(judgeStep(now, std::nullopt, kStep) == verdict);
      // A page-out needs swap, and of room nothing else.
      QVERIFY(judgePageOut(now, std::nullopt) == (swapTotal > 0 ? verdict : Refuse));
    }
  }

  /// The fill looks at the line "full", the page-out at "some", with the same thresholds.
  void aStallingMachineIsLeftAlone() {
    const struct {
      std::uint32_t average10;
      std::chrono::microseconds stall;
      std::chrono::milliseconds elapsed;
      GuardVerdict verdict;
    } cases[] = {{3999, 0us, 10ms, Go},    {4000, 0us, 10ms, Refuse}, {0, 19999us, 20ms, Go},
                 {0, 20000us, 80ms, Wait}, {0, 20000us, 81ms, Go},    {4000, 50000us, 50ms, Refuse},
                 {0, -50000us, 50ms, Go}};
    for (const auto& [average10, stall, elapsed, verdict] : cases) {
      const GuardReadings before = calm();
      GuardReadings fill = calm();
      fill.time += elapsed;
      GuardReadings pageOut = fill;
      fill.pressure = MemoryPressure{average10, stall};
      pageOut.somePressure = MemoryPressure{average10, stall};
      QVERIFY(judgeStep(fill, before, kStep) == verdict);
      QVERIFY(judgePageOut(pageOut, before) == verdict);
      // What the other one looks at is nothing to it.
      QVERIFY(judgeStep(pageOut, before, kStep) == Go && judgePageOut(fill, before) == Go);
    }
    // Before the first step the stall is another's.
    GuardReadings now = calm();
    for (const std::uint32_t average10 : {999U, 1000U}) {
      now.pressure->average10 = now.somePressure->average10 = average10;
      const GuardVerdict verdict = average10 < 1000 ? Go : Refuse;
      QVERIFY(judgeStep(now, std::nullopt, kStep) == verdict && judgePageOut(now, std::nullopt) == verdict);
    }
    // A kernel that does not measure it.
    now.pressure.reset();
    now.somePressure.reset();
    QVERIFY(judgeStep(now, calm(), kStep) == Go && judgePageOut(now, calm()) == Go);
  }

  void theFillRestsAsLongAsSomebodyWaitedAndTakesHugePagesInTimesOfPlenty() {
    const std::pair<std::chrono::microseconds, std::chrono::milliseconds> cases[] = {
        {1us, 1ms}, {99'001us, 100ms}, {5s, 100ms}, {-1us, 0ms}};
    GuardReadings now = calm();
    for (const auto& [stall, rest] : cases) {
      now.somePressure->total = stall;
      QCOMPARE(restAfterStep(now, calm()), rest);
    }
    now.available = now.physical / 8;
    QVERIFY(!mayUseHugePages(now));
    ++now.available;
    QVERIFY(mayUseHugePages(now));
  }

  void readingsComeFromTheKernelsFiles() {
    FakeClock clock;
    QVERIFY(!ProcfsGuardReadings(clock, "/nowhere").read());
    ProcfsGuardReadings source(clock);
    clock.advance(5s);
    const auto readings = source.read();
    QVERIFY(readings && readings->physical > readings->available && readings->available > 0);
    QCOMPARE(readings->somePressure.has_value(), QFile::exists(QStringLiteral("/proc/pressure/memory")));
    QVERIFY(readings->time == clock.monotonicNow());
  }
};

QTEST_APPLESS_MAIN(TestPurgeGuard)
#include "test_purge_guard.moc"
