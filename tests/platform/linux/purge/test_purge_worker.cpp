#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>

#include <QProcess>
#include <QtTest>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <iostream>
#include <random>

#include "core/clock.h"
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
using purge_worker::Answer;
using purge_worker::Command;
using purge_worker::Operation;
using test::ScriptedReadings;

namespace {

constexpr ByteCount kMiB = 1 << 20;
constexpr const char* kWorker = HALVARD_BIN_DIR "/halvard-purge-worker";

bool writeFile(const QString& path, const QByteArray& text) {
  QFile file(path);
  return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size();
}

double mebibytes(int process, const char* label, const char* file) {
  return static_cast<double>(test::processBytes(process, label, file)) / static_cast<double>(kMiB);
}

double residentMebibytes(int process) {
  return mebibytes(process, "VmRSS:", "status");
}

QStringList openDescriptors(int process) {
  return QDir(QStringLiteral("/proc/%1/fd").arg(process))
      .entryList(QDir::NoDotAndDotDot | QDir::System | QDir::AllEntries);
}

/// The processes whose parent this one is, dead ones that nobody has waited for included.
std::vector<int> childProcesses() {
  std::vector<int> found;
  for (const QString& name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
    const QByteArray stat = test::processFile(name.toInt(), "stat");
    const QList<QByteArray> fields = stat.mid(stat.lastIndexOf(')') + 2).split(' ');
    if (name.toInt() > 0 && fields.size() > 1 && fields[1].toInt() == ::getpid()) found.push_back(name.toInt());
  }
  return found;
}

/// halvard-purge-worker by its bare channel.
class BareWorker : public test::BareWorker {
 public:
  explicit BareWorker(int parent = ::getpid()) : test::BareWorker(kWorker, parent) {}
  std::optional<Answer> receive() { return test::BareWorker::receive<Answer>(); }
  /// The answer's error, or -1 without a proper answer.
  int ask(const Command& command) {
    const std::optional<Answer> answer = test::BareWorker::ask<Answer>(command);
    return answer ? answer->error : -1;
  }
};

/// Started with "--hold", this test holds a filled buffer until it is killed.
int holdUntilKilled() {
  auto worker = WorkerProcess::start(kWorker, 30s);
  if (!worker || worker.value()->perform(Operation::Pin, 0, 8 * kMiB) != 0) return 1;
  std::cout << worker.value()->processId() << std::endl;
  for (;;)
    ::pause();
}

/// Started with "--overfill": purges in a control group that is four fifths full, by a guard that sees no end of
/// memory. The purges whose worker was lost; -1 when anybody else was.
int overfill(const char* group, int purges) {
  if (!writeFile(QString::fromLocal8Bit(group) + QStringLiteral("/cgroup.procs"), "0")) return -1;
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

class TestPurgeWorker : public QObject {
  Q_OBJECT

 private:
  SystemClock m_clock;
  ScriptedReadings m_readings;

  WorkerPurgeableMemory memory(WorkerPurgeableMemory::Limits limits = {}) {
    return WorkerPurgeableMemory(m_readings, m_clock, kWorker, limits);
  }

 private Q_SLOTS:
  void init() { m_readings = ScriptedReadings(); }
  void cleanup() { QVERIFY2(childProcesses().empty(), "a worker or its remains are left"); }

  void buffersAreFilledMadeVolatileAndGivenBack() {
    auto purgeable = memory();
    auto session = purgeable.openSession();
    QVERIFY(session->isAlive());
    const int worker = childProcesses().at(0);
    const double idle = residentMebibytes(worker);
    auto data = session->makeData(64 * kMiB);
    QVERIFY(residentMebibytes(worker) < idle + 1);
    data->beginContentAccess();
    data->overwriteWithZeros();
    QVERIFY(residentMebibytes(worker) >= 64);
    QVERIFY(session->outcome().method == ReclaimMethod::Fill);
    QCOMPARE(mebibytes(worker, "LazyFree:", "smaps_rollup"), 0.0);
    data->endContentAccess();
    QCOMPARE(mebibytes(worker, "LazyFree:", "smaps_rollup"), 64.0);
    data->discardContentIfPossible();
    QVERIFY(residentMebibytes(worker) < idle + 2);
    QVERIFY(session->isAlive());
  }

  void theWorkerIsTheKernelsFirstVictimAndHoldsNothingInherited() {
    ::setenv("HALVARD_SECRET", "1", 1);
    const FileDescriptor leaked(::dup(0));
    auto started = WorkerProcess::start(kWorker, 30s);
    QVERIFY(started);
    const int worker = started.value()->processId();
    QCOMPARE(test::processFile(worker, "oom_score_adj").trimmed(), QByteArray("1000"));
    QCOMPARE(test::processFile(worker, "environ"), QByteArray());
    QCOMPARE(openDescriptors(worker).join(QLatin1Char(' ')), QStringLiteral("0 1 2"));
    const QByteArray stat = test::processFile(worker, "stat");
    QCOMPARE(stat.mid(stat.lastIndexOf(')') + 2).split(' ').at(16), QByteArray("19"));
    QVERIFY(test::processFile(worker, "status").contains("SigBlk:\t0000000000000000"));
  }

  void aRefusedBufferHasNoPages() {
    auto purgeable = memory();
    auto session = purgeable.openSession();
    const int worker = childProcesses().at(0);
    const double idle = residentMebibytes(worker);
    for (int reason = 0; reason < 3; ++reason) {
      m_readings = ScriptedReadings();
      if (reason == 0) m_readings.readings->available = m_readings.readings->swapFree = 0;
      if (reason == 1) m_readings.readings.reset();
      // The last is more than the worker takes.
      auto data = session->makeData(reason == 2 ? 2048 * kMiB : 64 * kMiB);
      data->beginContentAccess();
      data->overwriteWithZeros();
      QCOMPARE(m_readings.calls, 1);
      QVERIFY(residentMebibytes(worker) < idle + 1);
      QVERIFY(session->outcome().method == ReclaimMethod::None);
      data->endContentAccess();
      data->discardContentIfPossible();
      QVERIFY(session->isAlive());
    }
  }

  void theFillWaitsForAMachineShortOfBreathButNotForEver() {
    FakeClock clock;
    WorkerPurgeableMemory purgeable(m_readings, clock, kWorker, {30s, 400ms, 1s});
    auto session = purgeable.openSession();
    const int worker = childProcesses().at(0);
    const auto begin = [&] { session->makeData(4 * kMiB)->beginContentAccess(); };
    begin();
    const double filled = residentMebibytes(worker);
    m_readings.stallPerReading = 100ms;
    clock.onSleep = [&](std::chrono::milliseconds) {
      if (clock.sleeps().size() == 2) m_readings.stallPerReading = 0ms;
    };
    begin();
    QCOMPARE(clock.sleeps(), std::vector(2, 100ms));
    QVERIFY(residentMebibytes(worker) >= filled + 4);
    m_readings.stallPerReading = 100ms;
    begin();
    QCOMPARE(clock.sleeps().size(), 2u + 4);
    QVERIFY(residentMebibytes(worker) < filled + 5);
    for (int buffer = 0; buffer < 5; ++buffer)
      begin();
    QCOMPARE(clock.sleeps().size(), 10u);
    QVERIFY(session->isAlive());
  }

  void theFillLetsTheKernelCatchUpButNotForEver() {
    FakeClock clock;
    WorkerPurgeableMemory purgeable(m_readings, clock, kWorker);
    auto session = purgeable.openSession();
    m_readings.readings->free = 4 * kMiB;
    m_readings.readings->backgroundMark = 4 * kMiB;
    session->makeData(kMiB)->beginContentAccess();
    QVERIFY(clock.sleeps().empty());
    m_readings.readings->free = 4 * kMiB - 1;
    clock.onSleep = [&](std::chrono::milliseconds) {
      if (clock.sleeps().size() == 3) m_readings.readings->free = 5 * kMiB;
    };
    session->makeData(kMiB)->beginContentAccess();
    QCOMPARE(clock.sleeps(), std::vector(3, 10ms));
    m_readings.readings->free = 0;
    session->makeData(kMiB)->beginContentAccess();
    QCOMPARE(clock.sleeps().size(), 3u + 30);
  }

  void aKilledWorkerEndsTheSession() {
    auto purgeable = memory();
    auto session = purgeable.openSession();
    auto data = session->makeData(16 * kMiB);
    auto next = session->makeData(16 * kMiB);
    data->beginContentAccess();
    ::kill(childProcesses().at(0), SIGKILL);
    QTRY_VERIFY(!session->isAlive());
    next->beginContentAccess();
    QVERIFY2(childProcesses().empty(), "reaped as soon as it is missed");
    data->endContentAccess();
    session->makeData(kMiB)->beginContentAccess();
    session.reset();
    data->discardContentIfPossible();
  }

  void whereMemoryRunsOutTheKernelTakesTheWorkerAlone() {
    constexpr int kPurges = 10;
    const QString group = QStringLiteral("/sys/fs/cgroup/memory/halvard-test-%1").arg(::getpid());
    const auto removed = qScopeGuard([&group] { QDir().rmdir(group); });
    // Without swap: the limit with it is the same.
    if (!QDir().mkpath(group) || !writeFile(group + QStringLiteral("/memory.limit_in_bytes"), "256M") ||
        !writeFile(group + QStringLiteral("/memory.memsw.limit_in_bytes"), "256M"))
      QSKIP("needs root, and control groups of version 1 that count swap");
    QProcess purging;
    purging.start(QCoreApplication::applicationFilePath(),
                  {QStringLiteral("--overfill"), group, QString::number(kPurges)});
    QVERIFY(purging.waitForFinished(90'000));
    QVERIFY2(purging.exitStatus() == QProcess::NormalExit, "the program that purges was killed");
    QCOMPARE(purging.exitCode(), kPurges);
  }

  void aWorkerThatStopsAnsweringIsKilled() {
    auto purgeable = memory({200ms, 1s, 1s});
    auto session = purgeable.openSession();
    auto data = session->makeData(kMiB);
    data->beginContentAccess();
    ::kill(childProcesses().at(0), SIGSTOP);
    QElapsedTimer timer;
    timer.start();
    data->endContentAccess();
    QVERIFY(timer.elapsed() >= 200 && timer.elapsed() < 5000);
    QVERIFY(!session->isAlive());
    QVERIFY(childProcesses().empty());
  }

  void programsThatAreNoWorkerAreNotAlive() {
    for (const char* path : {"/nonexistent/worker", "/bin/true", "/etc/passwd"}) {
      QTest::ignoreMessage(QtWarningMsg, QRegularExpression(QStringLiteral("^purge worker: ")));
      auto session = WorkerPurgeableMemory(m_readings, m_clock, path).openSession();
      QVERIFY(!session->isAlive());
      session->makeData(kMiB)->beginContentAccess();
    }
  }

  void theWorkerEndsWithItsParent() {
    // Its parent's death makes this process the parent, so that the worker's end can be waited for.
    ::prctl(PR_SET_CHILD_SUBREAPER, 1);
    QProcess parent;
    parent.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--hold")});
    QVERIFY(parent.waitForReadyRead());
    const int worker = parent.readLine().trimmed().toInt();
    QVERIFY(worker > 0 && residentMebibytes(worker) >= 8);
    parent.kill();
    QVERIFY(parent.waitForFinished());
    int status = 0;
    QCOMPARE(::waitpid(worker, &status, 0), worker);
    ::prctl(PR_SET_CHILD_SUBREAPER, 0);
    // One whose parent is gone already does not start.
    BareWorker late(1);
    QVERIFY(!late.receive());
    QCOMPARE(late.finish(), int(purge_worker::kChannelClosed));
  }

  void commandsAreChecked() {
    const struct {
      quint32 operation, buffer;
      quint64 size;
      int error;
    } cases[] = {
        {3, 1, 4096, 0},  // volatile from birth
        {4, 1, 4096, 0},  // discard of nothing
        {1, purge_worker::kMaxBuffers - 1, 1, 0},
        {1, purge_worker::kMaxBuffers, 1, EINVAL},
        {3, 2, purge_worker::kMaxBufferSize, 0},
        {3, 3, purge_worker::kMaxBufferSize + 1, EINVAL},
        {1, 3, 0, EINVAL},
        {5, 3, 4096, EINVAL},
        {0, 3, 4096, EINVAL},
        {1, 0, 8192, EINVAL},  // another size than before
        {4, 0, 8192, EINVAL},
        {2, 0, 4096, 0},
    };
    BareWorker worker;
    QVERIFY(worker.receive());
    Command command;
    command.serial = 1;
    command.operation = Operation::Pin;
    command.size = 4096;
    QCOMPARE(worker.ask(command), 0);
    for (const auto& [operation, buffer, size, error] : cases)
      QCOMPARE(worker.ask({purge_worker::kMagic, static_cast<Operation>(operation), buffer, 0, 2, size}), error);
  }

  void garbageOnTheChannelIsAnsweredWithAnError() {
    std::mt19937_64 random(20240115);
    BareWorker worker;
    QVERIFY(worker.receive());
    const std::array<quint64, 6> sizes{0, 1, 4096, 65536, purge_worker::kMaxBufferSize + 1, ~quint64(0)};
    const std::array<quint32, 5> buffers{0, 1, purge_worker::kMaxBuffers - 1, purge_worker::kMaxBuffers, ~quint32(0)};
    const std::array<quint32, 4> unused{0, 0, 0, 1};
    for (int round = 0; round < 20000; ++round) {
      const Command close{purge_worker::kMagic,
                          static_cast<Operation>(random() % 7),
                          test::oneOf(buffers, random),
                          test::oneOf(unused, random),
                          random() % 8,
                          test::oneOf(sizes, random)};
      const auto packet = test::garbageLike(close, random);
      QVERIFY(worker.send(packet.data(), packet.size()));
      const std::optional<Answer> answer = worker.receive();
      QVERIFY(answer);
      if (packet.size() != sizeof close) QCOMPARE(answer->error, EBADMSG);
      if (answer->error == EBADMSG) QCOMPARE(answer->serial, 0u);
    }
    Command command;
    command.operation = Operation::Pin;
    command.buffer = 7;
    command.serial = 9;
    command.size = 10 * kMiB;
    QCOMPARE(worker.ask(command), 0);
    QVERIFY(residentMebibytes(worker.process()) < 40);
    QCOMPARE(worker.finish(), int(purge_worker::kChannelClosed));
  }
};

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--hold") == 0) return holdUntilKilled();
  if (argc == 4 && std::strcmp(argv[1], "--overfill") == 0) return overfill(argv[2], std::atoi(argv[3]));
  QCoreApplication application(argc, argv);
  TestPurgeWorker test;
  return QTest::qExec(&test, argc, argv);
}

#include "test_purge_worker.moc"
