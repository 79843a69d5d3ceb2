#include <fcntl.h>
#include <sys/socket.h>

#include <QtTest>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <random>

#include "platform/fake/fake_clock.h"
#include "platform/linux/purge/worker_process.h"
#include "platform/linux/purge/worker_purgeable_memory.h"
#include "support/bare_worker.h"
#include "support/garbage.h"
#include "support/idle_process.h"
#include "support/process_files.h"
#include "support/scripted_readings.h"

using namespace halvard;
using namespace std::chrono_literals;
using enum GuardVerdict;
using purge_worker::Answer;
using purge_worker::Command;
using purge_worker::Operation;
using test::ScriptedReadings;

namespace {

const auto calm = ScriptedReadings::calm;

constexpr ByteCount kMiB = 1 << 20;
constexpr ByteCount kStep = 10 * kMiB;
/// What must be there for one step.
constexpr ByteCount kNeeded = 512 * kMiB + kStep;
constexpr const char* kWorker = HALVARD_BIN_DIR "/halvard-purge-worker";

double mebibytes(int process, const char* label, const char* file = "status") {
  return static_cast<double>(test::processBytes(process, label, file)) / static_cast<double>(kMiB);
}

/// The processes that this one has started, dead ones that nobody has waited for included.
QList<QByteArray> childProcesses() {
  const QByteArray file = "task/" + QByteArray::number(::getpid()) + "/children";
  const QByteArray children = test::processFile(::getpid(), file.constData()).trimmed();
  return children.isEmpty() ? QList<QByteArray>() : children.split(' ');
}

/// A session with a worker of its own.
struct Purge {
  explicit Purge(const WorkerPurgeableMemory::Limits& limits = {}) : memory(readings, clock, kWorker, limits) {}
  void begin(ByteCount size) { session->makeData(size)->beginContentAccess(); }
  double resident() const { return mebibytes(worker, "VmRSS:"); }

  FakeClock clock;
  ScriptedReadings readings;
  WorkerPurgeableMemory memory;
  std::unique_ptr<PurgeableSession> session = memory.openSession();
  const int worker = childProcesses().value(0).toInt();
  const double idle = resident();
};

/// Started with "--overfill", this test purges in a control group that is four fifths full, by a guard that sees no end
/// of memory. The purges whose worker was lost; -1 when anybody else was.
int overfill(const char* group, int purges) {
  const FileDescriptor members(::open((std::string(group) + "/cgroup.procs").c_str(), O_WRONLY | O_CLOEXEC));
  if (::write(members.get(), "0", 1) != 1) return -1;
  const test::IdleProcess neighbour(200 * kMiB);
  SystemClock clock;
  ScriptedReadings blind;
  int lost = 0;
  for (int purge = 0; purge < purges; ++purge) {
    auto session = WorkerPurgeableMemory(blind, clock, kWorker).openSession();
    std::vector<std::unique_ptr<PurgeableData>> buffers;
    for (int step = 0; step < 50 && session->isAlive(); ++step) {
      buffers.push_back(session->makeData(10 * kMiB));
      buffers.back()->beginContentAccess();
    }
    lost += session->isAlive() ? 0 : 1;
  }
  return neighbour.residentBytes() >= 200 * kMiB ? lost : -1;
}

}  // namespace

/// What the guard lets through, and the worker that fills then.
class TestFill : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void cleanup() { QVERIFY2(childProcesses().isEmpty(), "a worker or its remains are left"); }

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

  void buffersAreFilledMadeVolatileAndGivenBack() {
    Purge purge;
    auto data = purge.session->makeData(64 * kMiB);
    QVERIFY(purge.resident() < purge.idle + 1);
    data->beginContentAccess();
    data->overwriteWithZeros();
    QVERIFY(purge.resident() >= 64);
    QVERIFY(purge.session->outcome().method == ReclaimMethod::Fill);
    QCOMPARE(mebibytes(purge.worker, "LazyFree:", "smaps_rollup"), 0.0);
    data->endContentAccess();
    QCOMPARE(mebibytes(purge.worker, "LazyFree:", "smaps_rollup"), 64.0);
    data->discardContentIfPossible();
    QVERIFY(purge.resident() < purge.idle + 2);
    QVERIFY(purge.session->isAlive());
  }

  void theWorkerIsTheKernelsFirstVictimAndHoldsNothingInherited() {
    ::setenv("HALVARD_SECRET", "1", 1);
    const FileDescriptor leaked(::dup(0));
    auto started = WorkerProcess::start(kWorker, 30s);
    QVERIFY(started);
    const int worker = started.value()->processId();
    QCOMPARE(test::processFile(worker, "oom_score_adj").trimmed(), QByteArray("1000"));
    QCOMPARE(test::processFile(worker, "environ"), QByteArray());
    const QDir descriptors(QStringLiteral("/proc/%1/fd").arg(worker));
    QCOMPARE(descriptors.entryList(QDir::NoDotAndDotDot | QDir::System | QDir::AllEntries).join(QLatin1Char(' ')),
             QStringLiteral("0 1 2"));
    const QByteArray stat = test::processFile(worker, "stat");
    QCOMPARE(stat.mid(stat.lastIndexOf(')') + 2).split(' ').at(16), QByteArray("19"));
    QVERIFY(test::processFile(worker, "status").contains("SigBlk:\t0000000000000000"));
  }

  void aRefusedBufferHasNoPages() {
    for (int reason = 0; reason < 3; ++reason) {
      Purge purge;
      auto& readings = purge.readings.readings;
      if (reason == 0) readings->available = readings->swapFree = 0;
      if (reason == 1) readings.reset();
      // The last is more than the worker takes.
      auto data = purge.session->makeData(reason == 2 ? 2048 * kMiB : 64 * kMiB);
      data->beginContentAccess();
      data->overwriteWithZeros();
      QCOMPARE(purge.readings.calls, 1);
      QVERIFY(purge.resident() < purge.idle + 1);
      QVERIFY(purge.session->outcome().method == ReclaimMethod::None);
      data->endContentAccess();
      data->discardContentIfPossible();
      QVERIFY(purge.session->isAlive());
    }
  }

  void theFillWaitsForAMachineShortOfBreathButNotForEver() {
    Purge purge({30s, 400ms, 1s});
    purge.begin(4 * kMiB);
    const double filled = purge.resident();
    purge.readings.stallPerReading = 100ms;
    purge.clock.onSleep = [&](std::chrono::milliseconds) {
      if (purge.clock.sleeps().size() == 2) purge.readings.stallPerReading = 0ms;
    };
    purge.begin(4 * kMiB);
    QCOMPARE(purge.clock.sleeps(), std::vector(2, 100ms));
    QVERIFY(purge.resident() >= filled + 4);
    purge.readings.stallPerReading = 100ms;
    purge.begin(4 * kMiB);
    QCOMPARE(purge.clock.sleeps().size(), 2u + 4);
    QVERIFY(purge.resident() < filled + 5);
    for (int buffer = 0; buffer < 5; ++buffer)
      purge.begin(4 * kMiB);
    QCOMPARE(purge.clock.sleeps().size(), 10u);
    QVERIFY(purge.session->isAlive());
  }

  void theFillLetsTheKernelCatchUpButNotForEver() {
    Purge purge;
    GuardReadings& readings = *purge.readings.readings;
    readings.free = readings.backgroundMark = 4 * kMiB;
    purge.begin(kMiB);
    QVERIFY(purge.clock.sleeps().empty());
    readings.free = 4 * kMiB - 1;
    purge.clock.onSleep = [&](std::chrono::milliseconds) {
      if (purge.clock.sleeps().size() == 3) readings.free = 5 * kMiB;
    };
    purge.begin(kMiB);
    QCOMPARE(purge.clock.sleeps(), std::vector(3, 10ms));
    readings.free = 0;
    purge.begin(kMiB);
    QCOMPARE(purge.clock.sleeps().size(), 3u + 30);
  }

  void aWorkerThatIsKilledOrStopsAnsweringEndsTheSession() {
    for (const int signal : {SIGKILL, SIGSTOP}) {
      Purge purge({200ms, 1s, 1s});
      auto data = purge.session->makeData(16 * kMiB);
      data->beginContentAccess();
      QElapsedTimer timer;
      timer.start();
      ::kill(purge.worker, signal);
      if (signal == SIGKILL) QTRY_VERIFY(!purge.session->isAlive());
      data->endContentAccess();
      QVERIFY(timer.elapsed() < 5000 && (signal == SIGKILL || timer.elapsed() >= 200));
      QVERIFY(!purge.session->isAlive());
      QVERIFY2(childProcesses().isEmpty(), "reaped as soon as it is missed");
      purge.begin(kMiB);
      purge.session.reset();
      data->discardContentIfPossible();
    }
  }

  void programsThatAreNoWorkerAreNotAlive() {
    for (const char* path : {"/nonexistent/worker", "/bin/true", "/etc/passwd"}) {
      QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^purge worker: ")));
      FakeClock clock;
      ScriptedReadings readings;
      const auto session = WorkerPurgeableMemory(readings, clock, path).openSession();
      QVERIFY(!session->isAlive());
      session->makeData(kMiB)->beginContentAccess();
    }
  }

  /// That a running one ends with it, the test of the real program shows.
  void theWorkerDoesNotStartWhenItsParentHasGone() {
    test::BareWorker late(kWorker, 1);
    QVERIFY(!late.receive<Answer>());
    QCOMPARE(late.finish(), int(purge_worker::kChannelClosed));
  }

  void whereMemoryRunsOutTheKernelTakesTheWorkerAlone() {
    const QString group = QStringLiteral("/sys/fs/cgroup/memory/halvard-test-%1").arg(::getpid());
    const auto removed = qScopeGuard([&group] { QDir().rmdir(group); });
    const auto limit = [&group](const char* name) {
      QFile file(group + QLatin1String(name));
      return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write("256M") == 4;
    };
    // Without swap: the limit with it is the same.
    if (!QDir().mkpath(group) || !limit("/memory.limit_in_bytes") || !limit("/memory.memsw.limit_in_bytes"))
      QSKIP("needs root, and control groups of version 1 that count swap");
    QProcess purging;
    purging.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--overfill"), group, QStringLiteral("10")});
    QVERIFY(purging.waitForFinished(90'000));
    QVERIFY2(purging.exitStatus() == QProcess::NormalExit, "the program that purges was killed");
    QCOMPARE(purging.exitCode(), 10);
  }

  void commandsAreCheckedAlsoAfterGarbage() {
    constexpr quint32 kBuffers = purge_worker::kMaxBuffers;
    constexpr quint64 kLargest = purge_worker::kMaxBufferSize;
    // Among them are a buffer that is volatile from birth, one that was never made, and another size than before.
    const struct {
      quint32 operation, buffer;
      quint64 size;
      int error;
    } cases[] = {{1, 0, 4096, 0},      {1, kBuffers - 1, 1, 0},      {1, kBuffers, 1, EINVAL},
                 {3, 2, kLargest, 0},  {3, 3, kLargest + 1, EINVAL}, {1, 3, 0, EINVAL},
                 {5, 3, 4096, EINVAL}, {0, 3, 4096, EINVAL},         {3, 1, 4096, 0},
                 {4, 5, 4096, 0},      {1, 0, 8192, EINVAL},         {4, 0, 8192, EINVAL},
                 {2, 0, 4096, 0}};
    test::BareWorker worker(kWorker);
    QVERIFY(worker.receive<Answer>());
    const auto ask = [&worker](quint32 operation, quint32 buffer, quint64 size) {
      const Command command{purge_worker::kMagic, static_cast<Operation>(operation), buffer, 0, 2, size};
      const auto answer = worker.ask<Answer>(command);
      return answer ? answer->error : -1;
    };
    for (const auto& [operation, buffer, size, error] : cases)
      QCOMPARE(ask(operation, buffer, size), error);
    std::mt19937_64 random(20240115);
    for (int round = 0; round < 20000; ++round) {
      const Command close{purge_worker::kMagic,
                          static_cast<Operation>(random() % 7),
                          test::oneOf({0U, 1U, kBuffers - 1, kBuffers, ~0U}, random),
                          test::oneOf({0U, 0U, 0U, 1U}, random),
                          random() % 8,
                          test::oneOf<quint64>({0, 1, 4096, 65536, kLargest + 1, ~quint64{0}}, random)};
      const auto packet = test::garbageLike(close, random);
      QVERIFY(worker.send(packet.data(), packet.size()));
      const auto answer = worker.receive<Answer>();
      QVERIFY(answer);
      if (packet.size() != sizeof close) QCOMPARE(answer->error, EBADMSG);
      if (answer->error == EBADMSG) QCOMPARE(answer->serial, 0u);
    }
    QCOMPARE(ask(1, 7, 10 * kMiB), 0);
    // The buffer of a gibibyte has no pages.
    QVERIFY(mebibytes(worker.process(), "VmRSS:") < 40);
    QCOMPARE(worker.finish(), int(purge_worker::kChannelClosed));
  }
};

int main(int argc, char** argv) {
  if (argc == 4 && std::strcmp(argv[1], "--overfill") == 0) return overfill(argv[2], std::atoi(argv[3]));
  QCoreApplication application(argc, argv);
  TestFill test;
  return QTest::qExec(&test, argc, argv);
}

#include "test_fill.moc"
