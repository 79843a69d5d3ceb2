#include <QDir>
#include <QTemporaryDir>
#include <QtTest>

#include "platform/fake/fake_clock.h"
#include "platform/linux/purge/purge_guard.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

constexpr ByteCount kMiB = 1 << 20;
constexpr ByteCount kStep = 10 * kMiB;

/// A machine with plenty of room that stands still for nothing, `time` after its start.
GuardReadings calm(std::chrono::milliseconds time = 0ms) {
  return {8192 * kMiB, 4096 * kMiB, 2048 * kMiB, MemoryPressure{0, 1s}, std::chrono::steady_clock::time_point(time)};
}

}  // namespace

class TestPurgeGuard : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void theReserveIsTheLargerOfHalfAGibibyteAndATwentieth() {
    QCOMPARE(guardReserve(0), 512 * kMiB);
    QCOMPARE(guardReserve(10240 * kMiB), 512 * kMiB);
    QCOMPARE(guardReserve(10260 * kMiB), 513 * kMiB);
  }

  void roomCountsTheStepAndHalfOfTheFreeSwap_data() {
    QTest::addColumn<quint64>("available");
    QTest::addColumn<quint64>("swapFree");
    QTest::addColumn<bool>("pins");
    const ByteCount needed = 512 * kMiB + kStep;
    QTest::newRow("just above the reserve") << quint64(needed - 50 * kMiB + 1) << quint64(100 * kMiB) << true;
    QTest::newRow("at the reserve") << quint64(needed - 50 * kMiB) << quint64(100 * kMiB) << false;
    QTest::newRow("only swap") << quint64(0) << quint64(2 * needed + 2) << true;
    QTest::newRow("only swap, too little") << quint64(0) << quint64(2 * needed) << false;
    QTest::newRow("nothing") << quint64(0) << quint64(0) << false;
    QTest::newRow("less than a step") << quint64(kStep / 2) << quint64(2) << false;
    QTest::newRow("much memory, no swap") << quint64(8000 * kMiB) << quint64(0) << false;
    QTest::newRow("much memory, a page of swap") << quint64(8000 * kMiB) << quint64(4096) << true;
  }

  void roomCountsTheStepAndHalfOfTheFreeSwap() {
    QFETCH(quint64, available);
    QFETCH(quint64, swapFree);
    GuardReadings now = calm();
    now.available = available;
    now.swapFree = swapFree;
    const GuardVerdict verdict = judgeStep(now, std::nullopt, kStep);
    QTEST(verdict == GuardVerdict::Go, "pins");
    QVERIFY2(verdict != GuardVerdict::Wait, "room does not come back by waiting");
  }

  void aStallingMachineIsLeftAlone_data() {
    QTest::addColumn<int>("average10");
    QTest::addColumn<int>("stalledMicroseconds");
    QTest::addColumn<int>("elapsedMilliseconds");
    QTest::addColumn<int>("verdict");
    const auto pin = static_cast<int>(GuardVerdict::Go);
    const auto wait = static_cast<int>(GuardVerdict::Wait);
    const auto refuse = static_cast<int>(GuardVerdict::Refuse);
    QTest::newRow("calm") << 0 << 0 << 10 << pin;
    QTest::newRow("average below two fifths") << 3999 << 0 << 10 << pin;
    QTest::newRow("average of two fifths") << 4000 << 0 << 10 << refuse;
    QTest::newRow("short stall, whole step") << 0 << 19999 << 20 << pin;
    QTest::newRow("20 ms, whole step") << 0 << 20000 << 20 << wait;
    QTest::newRow("20 ms, a quarter") << 0 << 20000 << 80 << wait;
    QTest::newRow("20 ms, less than a quarter") << 0 << 20000 << 81 << pin;
    QTest::newRow("both") << 4000 << 50000 << 50 << refuse;
    QTest::newRow("counter went back") << 0 << -50000 << 50 << pin;
  }

  void aStallingMachineIsLeftAlone() {
    QFETCH(int, average10);
    QFETCH(int, stalledMicroseconds);
    QFETCH(int, elapsedMilliseconds);
    const GuardReadings before = calm();
    GuardReadings now = calm(std::chrono::milliseconds(elapsedMilliseconds));
    now.pressure->average10 = static_cast<std::uint32_t>(average10);
    now.pressure->total += std::chrono::microseconds(stalledMicroseconds);
    QTEST(static_cast<int>(judgeStep(now, before, kStep)), "verdict");
  }

  void beforeTheFirstStepTheStallIsAnothers() {
    GuardReadings now = calm();
    now.pressure->average10 = 999;
    QVERIFY(judgeStep(now, std::nullopt, kStep) == GuardVerdict::Go);
    now.pressure->average10 = 1000;
    QVERIFY(judgeStep(now, std::nullopt, kStep) == GuardVerdict::Refuse);
  }

  void hugePagesAreForTimesOfPlenty() {
    GuardReadings now = calm();
    now.available = now.physical / 8;
    QVERIFY(!mayUseHugePages(now));
    ++now.available;
    QVERIFY(mayUseHugePages(now));
  }

  void withoutPressureFiguresOnlyRoomCounts() {
    const GuardReadings before = calm();
    GuardReadings now = calm(1ms);
    now.pressure->total += 1h;
    QVERIFY(judgeStep(now, std::nullopt, kStep) == GuardVerdict::Go);
    now.pressure.reset();
    QVERIFY(judgeStep(now, before, kStep) == GuardVerdict::Go);
    now.available = 0;
    now.swapFree = 0;
    QVERIFY(judgeStep(now, before, kStep) == GuardVerdict::Refuse);
  }

  void readingsComeFromTheKernelsFiles() {
    FakeClock clock;
    QVERIFY(!ProcfsGuardReadings(clock, "/nowhere").read());
    ProcfsGuardReadings source(clock);
    clock.advance(5s);
    const auto readings = source.read();
    QVERIFY(readings);
    QVERIFY(readings->physical > readings->available && readings->available > 0);
    QCOMPARE(readings->pressure.has_value(), QFile::exists(QStringLiteral("/proc/pressure/memory")));
    QVERIFY(readings->time == clock.monotonicNow());
  }
};

QTEST_APPLESS_MAIN(TestPurgeGuard)
#include "test_purge_guard.moc"
