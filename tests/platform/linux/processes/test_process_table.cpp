#include <QProcess>
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
  void statLines_data() {
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QByteArray>("command");  // null: no line
    const QByteArray tail = " S 1 2 3 0 -1 4194560 5 6 7 8 70 30 9 9 20 0 4 0 6601 1 2 3 40 0 50 0 0\n";
    QTest::newRow("plain") << "42 (bash)" + tail << QByteArray("bash");
    QTest::newRow("closing parenthesis") << "42 (a) R 9 (b)" + tail << QByteArray("a) R 9 (b");
    QTest::newRow("nothing") << "42 ()" + tail << QByteArray("");
    QTest::newRow("not text") << "42 (\xff\xfe)" + tail << QByteArray("\xff\xfe");
    QTest::newRow("empty") << QByteArray() << QByteArray();
    QTest::newRow("no name") << "42 bash" + tail << QByteArray();
    QTest::newRow("cut in the name") << QByteArray("42 (ba") << QByteArray();
    QTest::newRow("cut in the numbers") << ("42 (bash)" + tail).chopped(12) << QByteArray();
    QTest::newRow("pid too large") << "99999999999 (bash)" + tail << QByteArray();
  }
  void statLines() {
    QFETCH(QByteArray, line);
    QFETCH(QByteArray, command);
    const auto parsed = parseStatLine({line.constData(), std::size_t(line.size())});
    QCOMPARE(parsed.has_value(), !command.isNull());
    if (!parsed) return;
    QCOMPARE(QByteArray(parsed->command.data(), qsizetype(parsed->command.size())), command);
    QCOMPARE(parsed->pid, 42);
    QCOMPARE(parsed->parentPid, 1);
    QCOMPARE(parsed->activity.userTicks, 70u);
    QCOMPARE(parsed->activity.systemTicks, 30u);
    QCOMPARE(parsed->startTime, 6601u);
    QVERIFY(!parsed->kernelThread && !parsed->exited);
  }

  void residentPages() {
    QCOMPARE(parseResidentPages("100 23 4 0 0 1 0\n"), std::optional<PageCount>(23));
    for (const char* bad : {"", "100", "100 x 3"})
      QVERIFY2(!parseResidentPages(bad), bad);
  }

  void recordsComeNewestFirst() {
    ProcessFixture fixture;
    fixture.addProcess(1, 0, "init", 1, 10);
    fixture.addProcess(2, 0, "kthreadd", 1, 0, 'S', 0x208040);
    fixture.addProcess(7, 1, "reused pid", 900, 70);
    fixture.addProcess(30, 1, "thirty", 500, 300);
    fixture.addProcess(31, 30, "zombie", 600, 310, 'Z');
    fixture.addProcess(32, 30, "half dead", 600, 5, 'Z', 0x400000, 2);
    LinuxProcessTable table(0, fixture.root());
    const auto reading = table.read();
    QCOMPARE(reading.error, 0);
    QCOMPARE(pids(reading), (std::vector<std::int32_t>{7, 32, 31, 30, 2, 1}));
    QCOMPARE(find(reading, 30)->residentBytes, 300 * kPage);
    QCOMPARE(find(reading, 30)->parentPid, 1);
    QCOMPARE(find(reading, 30)->name, text("thirty"));
    QVERIFY(find(reading, 2)->kernelThread && !find(reading, 1)->kernelThread);
    QVERIFY(find(reading, 31)->exited && !find(reading, 32)->exited);
    QCOMPARE(find(reading, 31)->residentBytes, 0u);
    QCOMPARE(table.parentPid(31), 30);
    QVERIFY(!table.parentPid(33));
  }

  void unreadableAndOtherFoldersAreLeftOut() {
    LinuxProcessTable missing(0, "/nonexistent");
    QCOMPARE(missing.read().error, ENOENT);
    QVERIFY(!missing.read().processes && !missing.parentPid(1));
    ProcessFixture fixture;
    fixture.addProcess(10, 1, "whole", 10, 1);
    fixture.write(11, "statm", "9 9");  // "stat" cannot be opened
    fixture.write(12, "stat", "");
    fixture.write(13, "stat", "13 (cut) S");
    fixture.addProcess(14, 1, "no memory file", 10, 1);
    fixture.remove(14, "statm");
    fixture.addProcess(15, 1, "strange memory file", 10, 1);
    fixture.write(15, "statm", "strange");
    QDir(QFile::decodeName(fixture.root())).mkdir(text("self"));
    QDir(QFile::decodeName(fixture.root())).mkdir(text("12x"));
    QDir(QFile::decodeName(fixture.root())).mkdir(text("99999999999"));
    LinuxProcessTable table(100, fixture.root());
    for (int pass = 0; pass < 2; ++pass) {
      const auto reading = table.read();
      QCOMPARE(pids(reading), (std::vector<std::int32_t>{15, 10}));
      QVERIFY(!find(reading, 15)->residentBytes);
    }
  }

  void changesShowThroughKeptDescriptorsToo_data() {
    QTest::addColumn<int>("descriptors");
    QTest::newRow("none kept") << 0;
    QTest::newRow("some kept") << 3;
    QTest::newRow("all kept") << 100;
  }
  void changesShowThroughKeptDescriptorsToo() {
    QFETCH(int, descriptors);
    ProcessFixture fixture;
    for (int pid = 10; pid < 20; ++pid)
      fixture.addProcess(pid, 1, "p", quint64(pid), pid);
    LinuxProcessTable table(std::size_t(descriptors), fixture.root());
    table.read();
    table.read();
    table.read();
    QCOMPARE(table.keptDescriptors(), std::size_t(std::min(descriptors, 10)));
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
      QVERIFY(table.keptDescriptors() <= std::size_t(descriptors));
    }
  }

  void memoryOfAStillProcessIsReadAgainInTime() {
    ProcessFixture fixture;
    fixture.addProcess(10, 1, "still", 10, 5);
    LinuxProcessTable table(1, fixture.root());
    table.read();
    fixture.write(10, "statm", "900 6 1 1 0 1 0\n");  // "stat" does not tell
    ByteCount size = 0;
    std::uint32_t passes = 0;
    while (passes < 40 && size != 6 * kPage) {
      size = *table.read().processes->front().residentBytes;
      ++passes;
    }
    QVERIFY(passes <= LinuxProcessTable::kQuietPasses);
    fixture.addProcess(10, 1, "still", 10, 7);
    QCOMPARE(table.read().processes->front().residentBytes, 7 * kPage);
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
    fixture.addProcess(10, 1, "a-name-of-fifte", 10);
    fixture.link(10, "exe", text("/opt/a-name-of-fifteen-and-more (deleted)"));
    fixture.addProcess(11, 1, "short", 11);
    fixture.link(11, "exe", text("/opt/shorter"));
    fixture.addProcess(12, 1, "a-script-of-fif", 12);
    fixture.write(12, "cmdline", QByteArray("/bin/sh\0/opt/a-script-of-fifteen\0-v\0", 36));
    fixture.addProcess(13, 1, "renamed-by-itse", 13);
    fixture.link(13, "exe", text("/opt/other"));
    LinuxProcessTable table(0, fixture.root());
    const auto reading = table.read();
    QCOMPARE(find(reading, 10)->name, text("a-name-of-fifteen-and-more"));
    QCOMPARE(find(reading, 11)->name, text("short"));
    QCOMPARE(find(reading, 12)->name, text("a-script-of-fifteen"));
    QCOMPARE(find(reading, 13)->name, text("renamed-by-itse"));
  }

  void fiveThousandProcessesAreAllRead() {
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
  }

  void shortageOfDescriptorsReleasesTheKeptOnes() {
    ProcessFixture fixture;
    for (int pid = 1; pid <= 50; ++pid)
      fixture.addProcess(pid, 1, "p", quint64(pid), pid);
    LinuxProcessTable table(30, fixture.root());
    table.read();
    table.read();
    QCOMPARE(table.keptDescriptors(), 30u);
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    rlimit tight = before;
    tight.rlim_cur = 400;
    ::setrlimit(RLIMIT_NOFILE, &tight);
    std::vector<int> taken;
    for (int number; (number = ::dup(0)) >= 0;)
      taken.push_back(number);
    const auto reading = table.read();
    QCOMPARE(reading.error, 0);
    QCOMPARE(reading.processes->size(), 50u);
    QCOMPARE(table.keptDescriptors(), 0u);
    for (int number; (number = ::dup(0)) >= 0;)
      taken.push_back(number);
    QCOMPARE(table.read().error, EMFILE);  // half a table would be a wrong one
    for (const int number : taken)
      ::close(number);
    QCOMPARE(table.read().processes->size(), 50u);
    ::setrlimit(RLIMIT_NOFILE, &before);
  }

  void livingProcessesAreReadAsTheyAre() {
    QTemporaryDir folder;
    const QString program = folder.filePath(text("odd) R 1\n("));
    QVERIFY(QFile::copy(text("/bin/sleep"), program));
    QProcess child;
    child.start(program, {text("600")});
    QVERIFY(child.waitForStarted());
    LinuxProcessTable table(100);
    auto reading = table.read();
    const ProcessRecord* record = find(reading, child.processId());
    QVERIFY(record);
    QCOMPARE(record->name, text("odd) R 1\n("));
    QCOMPARE(record->parentPid, ::getpid());
    QVERIFY(*record->residentBytes > 0);
    QVERIFY(find(reading, ::getpid())->startTime <= record->startTime);
    reading = table.read();
    QVERIFY(table.keptDescriptors() > 0);
    const pid_t pid = static_cast<pid_t>(child.processId());
    ::kill(pid, SIGKILL);
    siginfo_t info;
    ::waitid(P_PID, static_cast<id_t>(pid), &info, WEXITED | WNOWAIT);
    reading = table.read();
    QVERIFY(find(reading, pid)->exited);
    child.waitForFinished();
    reading = table.read();
    QVERIFY(!find(reading, pid));
  }

  void singleFactsOfAProcess() {
    LinuxProcessInformation information;
    const auto times = information.taskTimes(::getpid());
    QVERIFY(times);
    QVERIFY(!information.taskTimes(0x7fffffff));
    const auto header = information.processStatus({text("-O"), text("%cpu"), text("-p"), text("2147483647")});
    QVERIFY(header && header->trimmed() == "PID %CPU S TTY          TIME COMMAND");
    ProcessFixture fixture;
    fixture.addProcess(286, 1, "x", 5);
    const auto fixed = LinuxProcessInformation(fixture.root()).taskTimes(286);
    QCOMPARE(fixed->totalUser, 70'000'000'000u / quint64(::sysconf(_SC_CLK_TCK)));
    QCOMPARE(fixed->totalSystem, 30'000'000'000u / quint64(::sysconf(_SC_CLK_TCK)));
  }
};

QTEST_GUILESS_MAIN(TestProcessTable)
#include "test_process_table.moc"
