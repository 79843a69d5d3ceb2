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

using namespace halvard;
using namespace std::chrono_literals;
using purge_worker::Answer;
using purge_worker::Command;
using purge_worker::Operation;

namespace {

constexpr ByteCount kMiB = 1 << 20;
constexpr const char* kWorker = HALVARD_BIN_DIR "/halvard-purge-worker";

QByteArray processFile(int process, const char* name) {
  QFile file(QStringLiteral("/proc/%1/%2").arg(process).arg(QLatin1String(name)));
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The figure behind `label` in a file of `process`, in MiB; -1 when it is not there.
double figure(int process, const char* file, const QByteArray& label) {
  const QByteArray text = processFile(process, file);
  const qsizetype at = text.indexOf('\n' + label);
  if (at < 0) return -1;
  return text.mid(at + 1 + label.size()).split('k').first().trimmed().toDouble() / 1024;
}

double residentMebibytes(int process) {
  return figure(process, "status", "VmRSS:");
}

/// The processes whose parent this one is, dead ones that nobody has waited for included.
std::vector<int> childProcesses() {
  std::vector<int> found;
  for (const QString& name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs)) {
    const QByteArray stat = processFile(name.toInt(), "stat");
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

/// What the guard reads, as the test says: room without end, and calm, unless told otherwise.
struct ScriptedReadings : GuardReadingsSource {
  std::optional<GuardReadings> readings =
      GuardReadings{8192 * kMiB, 8000 * kMiB, 4096 * kMiB, MemoryPressure{0, 0us}, {}};
  std::chrono::milliseconds stallPerReading{0};
  int calls = 0;

  std::optional<GuardReadings> read() override {
    ++calls;
    if (readings) readings->pressure->total += stallPerReading;
    if (readings) readings->time += stallPerReading + 1ms;
    return readings;
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
    QCOMPARE(figure(worker, "smaps_rollup", "LazyFree:"), 0.0);
    data->endContentAccess();
    QCOMPARE(figure(worker, "smaps_rollup", "LazyFree:"), 64.0);
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
    QCOMPARE(processFile(worker, "oom_score_adj").trimmed(), QByteArray("1000"));
    QCOMPARE(processFile(worker, "environ"), QByteArray());
    QStringList descriptors = QDir(QStringLiteral("/proc/%1/fd").arg(worker))
                                  .entryList(QDir::NoDotAndDotDot | QDir::System | QDir::AllEntries);
    QCOMPARE(descriptors, (QStringList{QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("2")}));
    const QByteArray stat = processFile(worker, "stat");
    QCOMPARE(stat.mid(stat.lastIndexOf(')') + 2).split(' ').at(16), QByteArray("19"));
    QVERIFY(processFile(worker, "status").contains("SigBlk:\t0000000000000000"));
  }

  void aRefusedBufferHasNoPages_data() {
    QTest::addColumn<int>("reason");
    QTest::newRow("no swap") << 0;
    QTest::newRow("no room") << 1;
    QTest::newRow("stalled machine") << 2;
    QTest::newRow("no readings") << 3;
    QTest::newRow("larger than the worker takes") << 4;
  }

  void aRefusedBufferHasNoPages() {
    QFETCH(int, reason);
    if (reason == 0) m_readings.readings->swapFree = 0;
    if (reason == 1) m_readings.readings->available = 0;
    if (reason == 1) m_readings.readings->swapFree = 1000 * kMiB;
    if (reason == 2) m_readings.readings->pressure->average10 = 10000;
    if (reason == 3) m_readings.readings.reset();
    auto purgeable = memory();
    auto session = purgeable.openSession();
    const int worker = childProcesses().at(0);
    const double idle = residentMebibytes(worker);
    auto data = session->makeData(reason == 4 ? 2048 * kMiB : 64 * kMiB);
    data->beginContentAccess();
    data->overwriteWithZeros();
    QCOMPARE(m_readings.calls, 1);
    QVERIFY(residentMebibytes(worker) < idle + 1);
    data->endContentAccess();
    data->discardContentIfPossible();
    QVERIFY(session->isAlive());
  }

  void theFillWaitsForAMachineShortOfBreathButNotForEver() {
    FakeClock clock;
    WorkerPurgeableMemory purgeable(m_readings, clock, kWorker, {30s, 400ms, 1s});
    auto session = purgeable.openSession();
    const int worker = childProcesses().at(0);
    const auto begin = [&] {
      auto data = session->makeData(4 * kMiB);
      data->beginContentAccess();
      return data;
    };
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

  void aKilledWorkerEndsTheSession() {
    auto purgeable = memory();
    auto session = purgeable.openSession();
    auto data = session->makeData(16 * kMiB);
    auto next = session->makeData(16 * kMiB);
    data->beginContentAccess();
    const int worker = childProcesses().at(0);
    QVERIFY(session->isAlive());
    ::kill(worker, SIGKILL);
    QTRY_VERIFY(!session->isAlive());
    next->beginContentAccess();
    QVERIFY2(childProcesses().empty(), "reaped as soon as it is missed");
    data->endContentAccess();
    data->discardContentIfPossible();
    session->makeData(kMiB)->beginContentAccess();
    QVERIFY(!session->isAlive());
    session.reset();
    data->discardContentIfPossible();
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
      auto data = session->makeData(kMiB);
      data->beginContentAccess();
      data->endContentAccess();
      data->discardContentIfPossible();
    }
    QVERIFY(defaultWorkerPath().ends_with("/tests/halvard-purge-worker"));
  }

  void theWorkerEndsWithItsChannel() {
    BareWorker worker;
    QCOMPARE(worker.receive()->error, 0);
    Command command;
    command.operation = Operation::Pin;
    command.serial = 1;
    command.size = 4 * kMiB;
    QCOMPARE(worker.ask(command), 0);
    QCOMPARE(worker.finish(), int(purge_worker::kChannelClosed));
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
  }

  void aWorkerWhoseParentIsGoneAlreadyDoesNotStart() {
    BareWorker worker(1);
    QVERIFY(!worker.receive());
    QCOMPARE(worker.finish(), int(purge_worker::kChannelClosed));
  }

  void startedByHandItExplainsItself() {
    QProcess byHand;
    byHand.start(QString::fromLatin1(kWorker), {});
    QVERIFY(byHand.waitForFinished());
    QCOMPARE(byHand.exitCode(), int(purge_worker::kNotStartedByUs));
    QVERIFY(byHand.readAllStandardError().contains("started by halvard"));
  }

  void commandsAreChecked_data() {
    QTest::addColumn<quint32>("operation");
    QTest::addColumn<quint32>("buffer");
    QTest::addColumn<quint64>("size");
    QTest::addColumn<int>("error");
    const auto row = [](const char* name, quint32 operation, quint32 buffer, quint64 size, int error) {
      QTest::newRow(name) << operation << buffer << size << error;
    };
    row("volatile from birth", 3, 1, 4096, 0);
    row("discard of nothing", 4, 1, 4096, 0);
    row("last buffer", 1, purge_worker::kMaxBuffers - 1, 1, 0);
    row("beyond it", 1, purge_worker::kMaxBuffers, 1, EINVAL);
    row("largest size", 3, 1, purge_worker::kMaxBufferSize, 0);
    row("beyond it", 3, 1, purge_worker::kMaxBufferSize + 1, EINVAL);
    row("no size", 1, 1, 0, EINVAL);
    row("unknown operation", 5, 1, 4096, EINVAL);
    row("no operation", 0, 1, 4096, EINVAL);
    row("another size than before, pinned", 1, 0, 8192, EINVAL);
    row("another size than before, discarded", 4, 0, 8192, EINVAL);
    row("the same size", 1, 0, 4096, 0);
    row("the same size, huge", 2, 0, 4096, 0);
  }

  void commandsAreChecked() {
    QFETCH(quint32, operation);
    QFETCH(quint32, buffer);
    QFETCH(quint64, size);
    BareWorker worker;
    QVERIFY(worker.receive());
    Command command;
    command.serial = 1;
    command.operation = Operation::Pin;
    command.size = 4096;
    QCOMPARE(worker.ask(command), 0);
    command = {purge_worker::kMagic, static_cast<Operation>(operation), buffer, 0, 2, size};
    QTEST(worker.ask(command), "error");
  }

  void garbageOnTheChannelIsAnsweredWithAnError() {
    std::mt19937_64 random(20240115);
    BareWorker worker;
    QVERIFY(worker.receive());
    constexpr quint64 kSizes[] = {0, 1, 4096, 65536, purge_worker::kMaxBufferSize + 1, ~quint64(0)};
    constexpr quint32 kBuffers[] = {0, 1, 2, purge_worker::kMaxBuffers - 1, purge_worker::kMaxBuffers, ~quint32(0)};
    for (int round = 0; round < 20000; ++round) {
      std::array<unsigned char, 100> packet;
      for (unsigned char& byte : packet)
        byte = static_cast<unsigned char>(random());
      // Half are of any size, the rest come ever closer to a command.
      std::size_t length = 1 + random() % packet.size();
      Command command{purge_worker::kMagic,   static_cast<Operation>(random() % 7),
                      kBuffers[random() % 6], 0,
                      random() % 8,           kSizes[random() % 6]};
      if (random() % 2 == 0) {
        length = sizeof command;
        if (random() % 4 == 0) command.unused = static_cast<quint32>(random());
        std::memcpy(packet.data(), &command, random() % 3 == 0 ? random() % sizeof command : sizeof command);
      }
      QVERIFY(worker.send(packet.data(), length));
      const std::optional<Answer> answer = worker.receive();
      QVERIFY(answer);
      if (length != sizeof command) QCOMPARE(answer->error, EBADMSG);
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

  void descriptorsSentAlongAreDropped() {
    BareWorker worker;
    QVERIFY(worker.receive());
    FileDescriptor file(::dup(1));
    Command command;
    command.serial = 1;
    command.size = 1;
    iovec content{&command, sizeof command};
    alignas(cmsghdr) char control[CMSG_SPACE(sizeof(int))] = {};
    msghdr message{};
    message.msg_iov = &content;
    message.msg_iovlen = 1;
    message.msg_control = control;
    message.msg_controllen = sizeof control;
    cmsghdr* const header = CMSG_FIRSTHDR(&message);
    header->cmsg_level = SOL_SOCKET;
    header->cmsg_type = SCM_RIGHTS;
    header->cmsg_len = CMSG_LEN(sizeof(int));
    const int number = file.get();
    std::memcpy(CMSG_DATA(header), &number, sizeof number);
    QCOMPARE(::sendmsg(worker.channel(), &message, MSG_NOSIGNAL), ssize_t(sizeof command));
    QCOMPARE(worker.receive()->error, 0);
    QCOMPARE(QDir(QStringLiteral("/proc/%1/fd").arg(worker.process()))
                 .entryList(QDir::NoDotAndDotDot | QDir::System | QDir::AllEntries)
                 .size(),
             3);
  }
};

int main(int argc, char** argv) {
  if (argc == 2 && std::strcmp(argv[1], "--hold") == 0) return holdUntilKilled();
  QCoreApplication application(argc, argv);
  TestPurgeWorker test;
  return QTest::qExec(&test, argc, argv);
}

#include "test_purge_worker.moc"
