#include <QtTest>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/processes/linux_process_information.h"
#include "platform/linux/processes/linux_process_table.h"
#include "process_fixture.h"
#include "support/idle_process.h"

using namespace halvard;
using test::ProcessFixture;

namespace {

const ByteCount kPage = static_cast<ByteCount>(::sysconf(_SC_PAGESIZE));

QString text(const char* latin1) {
  return QString::fromLatin1(latin1);
}

const ProcessRecord* find(const ProcessTable::Reading& reading, qint64 pid) {
  const auto found = std::ranges::find(*reading.processes, std::int32_t(pid), &ProcessRecord::pid);
  return found == reading.processes->end() ? nullptr : &*found;
}

std::vector<std::int32_t> pids(const ProcessTable::Reading& reading) {
  std::vector<std::int32_t> result;
  std::ranges::transform(*reading.processes, std::back_inserter(result), &ProcessRecord::pid);
  return result;
}

}  // namespace

class TestProcessTable : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void statLinesHoldAnyNameOrNothing() {
    const QByteArray tail = " S 1 2 3 0 -1 4194560 5 6 7 8 70 30 9 9 20 0 4 0 6601 1 2 3 40 0 50 0 0\n";
    for (const QByteArray& name : {QByteArray("odd) R 1\n("), QByteArray(""), QByteArray("\xff\xfe")}) {
      const QByteArray text = "42 (" + name + ")" + tail;
      const auto line = parseStatLine({text.constData(), std::size_t(text.size())});
      QVERIFY2(line, text.constData());
      QCOMPARE(QByteArray(line->command.data(), qsizetype(line->command.size())), name);
      QCOMPARE(line->pid, 42);
      QCOMPARE(line->parentPid, 1);
      QCOMPARE(line->activity.userTicks, 70u);
      QCOMPARE(line->activity.systemTicks, 30u);
      QCOMPARE(line->startTime, 6601u);
      QVERIFY(!line->kernelThread && !line->exited);
    }
    for (const QByteArray& bad : {QByteArray(), "42 bash" + tail, QByteArray("42 (ba"),
                                  ("42 (bash)" + tail).chopped(12), "99999999999 (bash)" + tail})
      QVERIFY2(!parseStatLine({bad.constData(), std::size_t(bad.size())}), bad.constData());
    QCOMPARE(parseResidentPages("100 23 4 0 0 1 0\n"), std::optional<PageCount>(23));
    for (const char* bad : {"", "100", "100 x 3"})
      QVERIFY2(!parseResidentPages(bad), bad);
  }

  void recordsComeNewestFirstAndUnreadableFoldersNotAtAll() {
    ProcessFixture fixture;
    fixture.addProcess(1, 0, "init", 1, 10);
    fixture.addProcess(2, 0, "kthreadd", 1, 0, 'S', 0x208040);
    fixture.addProcess(7, 1, "reused pid", 900, 70);
    fixture.addProcess(30, 1, "thirty", 500, 300);
    fixture.addProcess(31, 30, "zombie", 600, 310, 'Z');
    fixture.addProcess(32, 30, "half dead", 600, 5, 'Z', 0x400000, 2);
    fixture.addProcess(33, 1, "strange memory file", 400, 1);
    fixture.write(33, "statm", "strange");
    fixture.addProcess(34, 1, "no memory file", 10, 1);
    fixture.remove(34, "statm");
    fixture.write(35, "statm", "9 9");  // "stat" cannot be opened
    fixture.write(36, "stat", "");
    fixture.write(37, "stat", "37 (cut) S");
    for (const char* name : {"self", "12x", "99999999999"})
      QDir(QFile::decodeName(fixture.root())).mkdir(text(name));
    LinuxProcessTable table(100, fixture.root());
    for (int pass = 0; pass < 2; ++pass) {
      const auto reading = table.read();
      QCOMPARE(reading.error, 0);
      QCOMPARE(pids(reading), (std::vector<std::int32_t>{7, 32, 31, 30, 33, 2, 1}));
      QCOMPARE(find(reading, 30)->residentBytes, 300 * kPage);
      QCOMPARE(find(reading, 30)->parentPid, 1);
      QCOMPARE(find(reading, 30)->name, text("thirty"));
      QVERIFY(find(reading, 2)->kernelThread && !find(reading, 1)->kernelThread);
      QVERIFY(find(reading, 31)->exited && !find(reading, 32)->exited);
      QCOMPARE(find(reading, 31)->residentBytes, 0u);
      QVERIFY(!find(reading, 33)->residentBytes);
    }
    QCOMPARE(table.parentPid(31), 30);
    const auto times = LinuxProcessInformation(fixture.root()).taskTimes(30);
    QCOMPARE(times->totalUser, 70'000'000'000u / quint64(::sysconf(_SC_CLK_TCK)));
    QCOMPARE(times->totalSystem, 30'000'000'000u / quint64(::sysconf(_SC_CLK_TCK)));
    LinuxProcessTable missing(0, "/nonexistent");
    QCOMPARE(missing.read().error, ENOENT);
    QVERIFY(!missing.read().processes && !missing.parentPid(1));
  }

  void changesShowThroughKeptDescriptorsToo() {
    for (const std::size_t descriptors : {0U, 3U, 100U}) {
      ProcessFixture fixture;
      for (int pid = 10; pid < 20; ++pid)
        fixture.addProcess(pid, 1, "p", quint64(pid), pid);
      LinuxProcessTable table(descriptors, fixture.root());
      for (int pass = 0; pass < 3; ++pass)
        table.read();
      QCOMPARE(table.keptDescriptors(), std::min(descriptors, std::size_t{10}));
      fixture.addProcess(12, 5, "p", 12, 77);                             // another parent, more memory
      fixture.addProcess(13, 1, "exec", 13, 13, 'S', 0x400000, 1, 9999);  // another program
      fixture.addProcess(14, 1, "new", 500, 88);                          // another process
      fixture.remove(15);
      fixture.addProcess(9, 1, "late", 600, 99);
      for (int pass = 0; pass < 2; ++pass) {
        const auto reading = table.read();
        QCOMPARE(pids(reading), (std::vector<std::int32_t>{9, 14, 19, 18, 17, 16, 13, 12, 11, 10}));
        QCOMPARE(find(reading, 12)->parentPid, 5);
        QCOMPARE(find(reading, 12)->residentBytes, 77 * kPage);
        QCOMPARE(find(reading, 13)->name, text("exec"));
        QVERIFY(find(reading, 13)->programMark != find(reading, 12)->programMark);
        QCOMPARE(find(reading, 14)->name, text("new"));
        QCOMPARE(find(reading, 14)->residentBytes, 88 * kPage);
        QVERIFY(table.keptDescriptors() <= descriptors);
      }
    }
  }

  void memoryOfAStillProcessIsReadAgainInTime() {
    ProcessFixture fixture;
    fixture.addProcess(10, 1, "still", 10, 5);
    LinuxProcessTable table(1, fixture.root());
    const auto size = [&table] { return *table.read().processes->front().residentBytes; };
    QCOMPARE(size(), 5 * kPage);
    fixture.write(10, "statm", "900 6 1 1 0 1 0\n");  // "stat" does not tell
    std::uint32_t passes = 1;
    while (passes < 40 && size() != 6 * kPage)
      ++passes;
    QVERIFY(passes <= LinuxProcessTable::kQuietPasses);
    fixture.addProcess(10, 1, "still", 10, 7);
    QCOMPARE(size(), 7 * kPage);
  }

  void threadsOfTheKernelAreKeptLastAndTheirPidsWatched() {
    ProcessFixture fixture;
    for (int pid = 1; pid <= 4; ++pid)
      fixture.addProcess(pid, 2, "kworker", 1, 0, 'I', 0x208040);
    for (int pid = 5; pid <= 8; ++pid)
      fixture.addProcess(pid, 1, "p", 1, 1);
    LinuxProcessTable few(7, fixture.root());
    LinuxProcessTable all(8, fixture.root());
    for (int pass = 0; pass < 2; ++pass) {
      few.read();
      all.read();
    }
    QCOMPARE(few.keptDescriptors(), 4u);
    QCOMPARE(all.keptDescriptors(), 8u);
    fixture.remove(2);
    fixture.addProcess(2, 1, "reused", 50, 3);
    for (LinuxProcessTable* table : {&few, &all})
      QCOMPARE(find(table->read(), 2)->name, text("reused"));
  }

  void longNamesComeFromTheExecutable() {
    ProcessFixture fixture;
    const struct {
      int pid;
      const char *command, *executable, *name;
    } cases[] = {{10, "a-name-of-fifte", "/opt/a-name-of-fifteen-and-more (deleted)", "a-name-of-fifteen-and-more"},
                 {11, "short", "/opt/shorter", "short"},
                 {12, "a-script-of-fif", "/bin/sh", "a-script-of-fifteen"},
                 {13, "renamed-by-itse", "/opt/other", "renamed-by-itse"}};
    for (const auto& [pid, command, executable, name] : cases) {
      fixture.addProcess(pid, 1, command, 1);
      fixture.link(pid, "exe", text(executable));
    }
    fixture.write(12, "cmdline", QByteArray("/bin/sh\0/opt/a-script-of-fifteen\0-v\0", 36));
    LinuxProcessTable table(0, fixture.root());
    const auto reading = table.read();
    for (const auto& [pid, command, executable, name] : cases)
      QCOMPARE(find(reading, pid)->name, text(name));
  }

  void fiveThousandProcessesAreAllReadAlsoWhereDescriptorsAreShort() {
    ProcessFixture fixture;
    for (int pid = 1; pid <= 5000; ++pid)
      fixture.addProcess(pid, pid / 2, "many", quint64(pid), pid);
    LinuxProcessTable table(200, fixture.root());
    for (int pass = 0; pass < 3; ++pass) {
      const auto reading = table.read();
      QCOMPARE(reading.processes->size(), 5000u);
      QCOMPARE(reading.processes->front().residentBytes, 5000 * kPage);
      QCOMPARE(reading.processes->back().pid, 1);
    }
    QCOMPARE(table.keptDescriptors(), 200u);
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit tight{400, before.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &tight);
    std::vector<FileDescriptor> taken;
    const auto takeTheRest = [&taken] {
      while (taken.emplace_back(::dup(0))) {
      }
    };
    takeTheRest();
    QCOMPARE(table.read().processes->size(), 5000u);
    QCOMPARE(table.keptDescriptors(), 0u);
    takeTheRest();
    QCOMPARE(table.read().error, EMFILE);  // half a table would be a wrong one
    taken.clear();
    QCOMPARE(table.read().processes->size(), 5000u);
    ::setrlimit(RLIMIT_NOFILE, &before);
  }

  void livingProcessesAreReadAsTheyAre() {
    const test::IdleProcess child(1 << 20);
    LinuxProcessTable table(100);
    for (int pass = 0; pass < 2; ++pass) {
      const ProcessRecord* record = find(table.read(), child.pid());
      QVERIFY(record && !record->exited);
      QCOMPARE(record->name, text("idle"));
      QCOMPARE(record->parentPid, ::getpid());
      QVERIFY(*record->residentBytes > 1 << 20);
    }
    ::kill(child.pid(), SIGKILL);
    siginfo_t info;
    ::waitid(P_PID, static_cast<id_t>(child.pid()), &info, WEXITED | WNOWAIT);
    QVERIFY(find(table.read(), child.pid())->exited);
    LinuxProcessInformation information;
    QVERIFY(information.taskTimes(::getpid()) && !information.taskTimes(0x7fffffff));
    const auto header = information.processStatus({text("-O"), text("%cpu"), text("-p"), text("2147483647")});
    QVERIFY(header && header->trimmed() == "PID %CPU S TTY          TIME COMMAND");
  }
};

QTEST_GUILESS_MAIN(TestProcessTable)
#include "test_process_table.moc"
