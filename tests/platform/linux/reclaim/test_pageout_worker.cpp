// The program that may advise other processes: what it accepts, whom it touches, what it keeps of its rights.
#include <grp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <QtTest>
#include <cerrno>

#include "platform/linux/purge/page_out_protocol.h"
#include "support/bare_worker.h"
#include "support/garbage.h"
#include "support/idle_process.h"
#include "support/process_files.h"
#include "support/zram_swap.h"

using namespace halvard;
using purge_worker::PageOutAnswer;
using purge_worker::PageOutCommand;
using test::BareWorker;
using test::IdleProcess;
using test::ZramSwap;

namespace {

constexpr std::uint64_t kMiB = 1 << 20;
constexpr uid_t kNobody = 65534;
constexpr const char* kWorker = HALVARD_BIN_DIR "/halvard-pageout-worker";

PageOutCommand commandFor(const IdleProcess& process) {
  PageOutCommand command;
  command.pid = process.pid();
  command.startTime = process.startTime();
  command.serial = 1;
  command.bytes = 10 * kMiB;
  return command;
}

/// A worker that is ready; where it lacks its right, the test is not about that.
#define READY_WORKER(worker)                                                                             \
  BareWorker worker(kWorker);                                                                            \
  {                                                                                                      \
    const auto ready = worker.receive<purge_worker::Answer>();                                           \
    QVERIFY(ready);                                                                                      \
    if (ready->error != 0) QSKIP("the worker has no cap_sys_nice: run as root, or give it with setcap"); \
  }

/// Pages out everything of a process, as the application does; the bytes, or minus an error.
std::int64_t pageOutAll(BareWorker& worker, PageOutCommand command) {
  std::int64_t bytes = 0;
  for (;;) {
    ++command.serial;
    const auto answer = worker.ask<PageOutAnswer>(command);
    if (!answer || answer->serial != command.serial) return -EBADMSG;
    if (answer->error != 0) return -answer->error;
    bytes += static_cast<std::int64_t>(answer->bytes);
    if (answer->more == 0) return bytes;
  }
}

/// What `act` returns in a process of its own.
template <class Action>
int inAnotherProcess(Action act) {
  const pid_t child = ::fork();
  if (child == 0) ::_exit(act());
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

/// Run in a process that has become an ordinary user: 0, or the number of the line that failed.
int actAsOrdinaryUser(const char* worker, bool hasSwap) {
  if (::setgroups(0, nullptr) != 0 || ::setresgid(kNobody, kNobody, kNobody) != 0) return __LINE__;
  if (::setresuid(kNobody, kNobody, kNobody) != 0) return __LINE__;
  ::prctl(PR_SET_DUMPABLE, 1, 0, 0, 0);
  const IdleProcess own(32 * kMiB);
  BareWorker process(worker);
  const auto ready = process.receive<purge_worker::Answer>();
  if (!ready || ready->error != 0) return __LINE__;
  const QByteArray status = test::processFile(process.process(), "status");
  // CAP_SYS_NICE alone, and no way to more.
  for (const char* line : {"CapPrm:\t0000000000800000", "CapEff:\t0000000000800000", "CapInh:\t0000000000000000",
                           "CapAmb:\t0000000000000000", "NoNewPrivs:\t1"})
    if (!status.contains(line)) return __LINE__;
  const std::int64_t gone = pageOutAll(process, commandFor(own));
  if (hasSwap ? gone < static_cast<std::int64_t>(24 * kMiB) : gone < 0) return __LINE__;
  PageOutCommand others = commandFor(own);
  others.pid = ::getppid();
  others.startTime = 1;
  if (pageOutAll(process, others) != -ESRCH) return __LINE__;
  return process.finish() == purge_worker::kChannelClosed ? 0 : __LINE__;
}

}  // namespace

class TestPageOutWorker : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void anIdleProcessIsPagedOutInStepsAndNobodyElse() {
    ZramSwap swap;
    const QString reason = swap.start(1024 * kMiB);
    if (!reason.isEmpty()) QSKIP(qPrintable(reason));
    READY_WORKER(worker);
    const IdleProcess idle(128 * kMiB);
    const IdleProcess focused(64 * kMiB);
    const std::uint64_t focusedBefore = focused.residentBytes();
    const std::uint64_t idleBefore = idle.residentBytes();
    PageOutCommand command = commandFor(idle);
    const auto first = worker.ask<PageOutAnswer>(command);
    QVERIFY(first && first->error == 0 && first->more == 1);
    QVERIFY2(first->bytes >= 8 * kMiB && first->bytes <= 12 * kMiB, qPrintable(QString::number(first->bytes)));
    // What the answer says is what the process lost.
    const std::uint64_t lost = idleBefore - idle.residentBytes();
    QVERIFY2(lost + kMiB > first->bytes && lost < first->bytes + kMiB, qPrintable(QString::number(lost)));
    const std::int64_t rest = pageOutAll(worker, command);
    QVERIFY2(rest > static_cast<std::int64_t>(112 * kMiB), qPrintable(QString::number(rest)));
    // A sanitizer's sparse shadow stays, some 5 MiB.
    QVERIFY2(idle.residentBytes() < 8 * kMiB, qPrintable(QString::number(idle.residentBytes())));
    QCOMPARE(focused.residentBytes(), focusedBefore);
    // A second round has nothing left to take, and says so.
    QVERIFY(pageOutAll(worker, command) < static_cast<std::int64_t>(4 * kMiB));
  }

  void anotherUsersProcessIsNeverTouchedAlsoWithAPidThatWasOurs() {
    if (::geteuid() != 0) QSKIP("needs root, to start a process as another user");
    ZramSwap swap;
    swap.start(512 * kMiB);  // without it only the refusals are tried
    READY_WORKER(worker);
    IdleProcess own(32 * kMiB);
    const PageOutCommand before = commandFor(own);
    QCOMPARE(worker.ask<PageOutAnswer>(before)->error, 0);
    // In the middle of its memory it ends, and another user's process gets its pid.
    const pid_t pid = own.pid();
    own.end();
    const IdleProcess foreign(32 * kMiB, kNobody, pid);
    if (foreign.pid() != pid) QSKIP("the kernel does not let this test choose a pid");
    const std::uint64_t resident = foreign.residentBytes();
    QCOMPARE(worker.ask<PageOutAnswer>(before)->error, ESRCH);
    QCOMPARE(worker.ask<PageOutAnswer>(commandFor(foreign))->error, EPERM);
    QCOMPARE(foreign.residentBytes(), resident);
  }

  void anOrdinaryUserNeedsTheOneCapabilityOfTheFile() {
    if (::geteuid() != 0) QSKIP("needs root, to give a file a capability and become another user");
    QTemporaryDir folder;
    QFile::setPermissions(folder.path(), QFile::Permissions::fromInt(0x7755));
    const QByteArray copy = QFile::encodeName(folder.filePath(QStringLiteral("worker")));
    QVERIFY(QFile::copy(QString::fromLatin1(kWorker), QFile::decodeName(copy)));
    ZramSwap swap;
    const bool hasSwap = swap.start(512 * kMiB).isEmpty();
    const auto run = [&] {
      return inAnotherProcess([&] { return actAsOrdinaryUser(copy.constData(), hasSwap) == 0 ? 0 : 1; }) == 0;
    };
    QVERIFY2(!run(), "without the capability");
    QProcess setcap;
    setcap.start(QStringLiteral("/usr/sbin/setcap"), {QStringLiteral("cap_sys_nice+ep"), QFile::decodeName(copy)});
    if (!setcap.waitForFinished() || setcap.exitCode() != 0) QSKIP("no setcap, or a file system without capabilities");
    QVERIFY(run());
  }

  void aCallerOfAnotherUserIsRefused() {
    if (::geteuid() != 0) QSKIP("needs root, to start the worker as another user");
    int ends[2];
    QCOMPARE(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    const QByteArray parent = QByteArray::number(::getpid());
    const int status = inAnotherProcess([&] {
      ::dup2(ends[1], 0);
      if (::setresuid(kNobody, kNobody, kNobody) == 0) ::execl(kWorker, kWorker, parent.constData(), nullptr);
      return 127;
    });
    ::close(ends[0]);
    ::close(ends[1]);
    if (status == 127) QSKIP("other users may not start the worker here");
    QCOMPARE(status, int(purge_worker::kForeignCaller));
    QCOMPARE(BareWorker(kWorker, 1).finish(), int(purge_worker::kForeignCaller));
  }

  void whereTheCapabilityCountsForNothingItSaysSo() {
    const int status = inAnotherProcess([] {
      // Root of a namespace of its own, as in a container.
      QFile map(QStringLiteral("/proc/self/uid_map"));
      const QByteArray line = "0 " + QByteArray::number(::getuid()) + " 1";
      if (::unshare(CLONE_NEWUSER) != 0 || !map.open(QIODevice::WriteOnly | QIODevice::Unbuffered) ||
          map.write(line) != line.size())
        return 2;
      BareWorker worker(kWorker);
      const auto ready = worker.receive<purge_worker::Answer>();
      return ready && ready->error == EPERM && worker.finish() == purge_worker::kNoRight ? 0 : 1;
    });
    if (status == 2) QSKIP("no namespaces for users here");
    QCOMPARE(status, 0);
  }

  void startedByHandItExplainsItself() {
    QProcess byHand;
    byHand.start(QString::fromLatin1(kWorker), {});
    QVERIFY(byHand.waitForFinished());
    QCOMPARE(byHand.exitCode(), int(purge_worker::kNotStartedByUs));
    QVERIFY(byHand.readAllStandardError().contains("halvard-pageout-worker: started by halvard"));
  }

  void commandsAreCheckedAndOnlyTheVeryProcessIsTouchedWhateverIsSent() {
    READY_WORKER(worker);
    IdleProcess idle(4 * kMiB);
    const PageOutCommand good = commandFor(idle);
    std::mt19937_64 random(20240116);
    for (int round = 0; round < 20000; ++round) {
      const PageOutCommand close{
          purge_worker::kPageOutMagic,
          test::oneOf({idle.pid(), idle.pid(), 0, 1, -1, 2, 0x7fffffff, ::getpid()}, random), random() % 4,
          test::oneOf<quint64>({good.startTime, good.startTime, good.startTime + 1, good.startTime - 1, 0}, random),
          test::oneOf<quint64>({0, 1, 4096, 10 * kMiB, purge_worker::kMaxPageOut, purge_worker::kMaxPageOut + 1},
                               random)};
      const auto packet = test::garbageLike(close, random);
      PageOutCommand sent;
      sent.serial = 0;
      if (packet.size() == sizeof sent) std::memcpy(&sent, packet.data(), sizeof sent);
      const bool isFormed = sent.magic == purge_worker::kPageOutMagic && sent.serial != 0;
      const bool isSensible =
          sent.pid > 1 && sent.startTime != 0 && sent.bytes != 0 && sent.bytes <= purge_worker::kMaxPageOut;
      const bool isIdle = sent.pid == idle.pid() && sent.startTime == good.startTime;
      QVERIFY(worker.send(packet.data(), packet.size()));
      const auto answer = worker.receive<PageOutAnswer>();
      QVERIFY2(answer, qPrintable(QStringLiteral("round %1").arg(round)));
      QCOMPARE(answer->serial, isFormed ? sent.serial : 0);
      QCOMPARE(answer->error == EBADMSG, !isFormed);
      QCOMPARE(answer->error == EINVAL, isFormed && !isSensible);
      QCOMPARE(answer->error == 0, isFormed && isSensible && isIdle);
      if (answer->error != 0) QCOMPARE(answer->bytes, 0u);
    }
    QCOMPARE(worker.ask<PageOutAnswer>(good)->error, 0);
    idle.end();
    QCOMPARE(worker.ask<PageOutAnswer>(good)->error, ESRCH);
    QCOMPARE(worker.finish(), int(purge_worker::kChannelClosed));
  }
};

QTEST_GUILESS_MAIN(TestPageOutWorker)
#include "test_pageout_worker.moc"
