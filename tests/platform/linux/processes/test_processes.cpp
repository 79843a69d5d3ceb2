#include <QtTest>
#include <cerrno>
#include <csignal>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/linux/processes/linux_process_information.h"
#include "platform/linux/processes/linux_process_table.h"
#include "platform/linux/processes/process_facts.h"
#include "platform/linux/processes/process_handle.h"
#include "support/idle_process.h"
#include "support/texts.h"

using namespace halvard;

namespace {

const ByteCount kPage = static_cast<ByteCount>(::sysconf(_SC_PAGESIZE));
const QByteArray kSession = "/user.slice/user-1000.slice/user@1000.service/app.slice/";

const ProcessRecord* find(const ProcessTable::Reading& reading, std::int32_t pid) {
  const auto found = std::ranges::find(*reading.processes, pid, &ProcessRecord::pid);
  return found == reading.processes->end() ? nullptr : &*found;
}

std::vector<std::int32_t> pids(const ProcessTable::Reading& reading) {
  std::vector<std::int32_t> result;
  std::ranges::transform(*reading.processes, std::back_inserter(result), &ProcessRecord::pid);
  return result;
}

QByteArray strings(const QByteArrayList& list) {
  return list.join('\0') + '\0';
}

std::string_view view(const QByteArray& text) {
  return {text.constData(), std::size_t(text.size())};
}

/// A folder that looks like /proc to a reader of processes.
class ProcessFixture {
 public:
  QByteArray root() const { return QFile::encodeName(m_folder.path()); }

  /// Writes into the file in place, so that a kept descriptor sees it.
  void write(int pid, const char* name, const QByteArray& content) { write(path(pid, name), content); }
  void link(int pid, const char* name, const QString& target) {
    if (!QFile::link(target, path(pid, name))) qFatal("no fixture");
  }
  /// Replaces the files, as for another process with the same pid.
  void addProcess(int pid, int parent, const QByteArray& command, quint64 start, int pages = 0, char state = 'S',
                  quint64 flags = 0x400000, int threads = 1, quint64 stack = 9000) {
    const QString line = QString::asprintf(
        "%d (%s) %c %d 1 1 0 -1 %llu 11 0 0 0 70 30 0 0 20 0 %d 0 %llu 4096 %d 18446744073709551615 5000 0 %llu 0 0\n",
        pid, command.constData(), state, parent, flags, threads, start, pages, stack);
    write(pid, "stat", line.toLatin1());
    write(pid, "statm", QByteArray::number(900 + start + stack) + ' ' + QByteArray::number(pages) + " 1 1 0 1 0\n");
  }
  /// The pid last given away to a new process; without this nobody knows.
  void setLastPid(int pid) {
    write(m_folder.filePath(text("loadavg")), "0.10 0.20 0.30 1/99 " + QByteArray::number(pid) + '\n');
  }
  void remove(int pid) { QDir(m_folder.filePath(QString::number(pid))).removeRecursively(); }
  void remove(int pid, const char* name) { QFile::remove(path(pid, name)); }

 private:
  static void write(const QString& path, const QByteArray& content) {
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly)) qFatal("no fixture");
    file.write(content);
  }
  QString path(int pid, const char* name) const {
    QDir(m_folder.path()).mkdir(QString::number(pid));
    return m_folder.filePath(QString::number(pid) + u'/' + text(name));
  }
  // In memory: thousands of small files, and no folder gets the inode of one that is gone, as in /proc.
  QTemporaryDir m_folder{QStringLiteral("/dev/shm/halvard-processes-XXXXXX")};
};

}  // namespace

class TestProcesses : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void statLinesHoldAnyNameOrNothing() {
    const QByteArray tail = " S 1 2 3 0 -1 4194560 5 6 7 8 70 30 9 9 20 0 4 0 6601 1 2 3 40 0 50 0 0\n";
    for (const QByteArray& name : {QByteArray("odd) R 1\n("), QByteArray(""), QByteArray("\xff\xfe")}) {
      const QByteArray text = "42 (" + name + ")" + tail;
      const auto line = parseStatLine(view(text));
      QVERIFY2(line, text.constData());
      QCOMPARE(QByteArray(line->command.data(), qsizetype(line->command.size())), name);
      QCOMPARE(line->pid, 42);
      QCOMPARE(line->startTime, 6601u);
    }
    for (const QByteArray& bad : {QByteArray(), "42 bash" + tail, QByteArray("42 (ba"),
                                  ("42 (bash)" + tail).chopped(12), "99999999999 (bash)" + tail})
      QVERIFY2(!parseStatLine(view(bad)), bad.constData());
    const auto memory = parseMemoryLine("100 23 4 7 0 11 0\n");
    QVERIFY(memory && memory->resident == 23 && memory->layout == (MemoryLine::Layout{100, 7, 11}));
    for (const char* bad : {"", "100", "100 x 3", "100 23 4 7 0"})
      QVERIFY2(!parseMemoryLine(bad), bad);
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
        fixture.addProcess(pid, pid == 12 ? 15 : 1, "p", quint64(pid), pid);
      LinuxProcessTable table(descriptors, fixture.root());
      for (int pass = 0; pass < 3; ++pass)
        table.read();
      QCOMPARE(table.keptDescriptors(), std::min(descriptors, std::size_t{10}));
      fixture.addProcess(12, 1, "p", 12, 77);                             // its parent goes below; more memory
      fixture.addProcess(13, 1, "exec", 13, 13, 'S', 0x400000, 1, 9999);  // another program
      fixture.addProcess(14, 1, "new", 500, 88);                          // another process
      fixture.remove(15);
      fixture.addProcess(9, 1, "late", 600, 99);
      for (int pass = 0; pass < 2; ++pass) {
        const auto reading = table.read();
        QCOMPARE(pids(reading), (std::vector<std::int32_t>{9, 14, 19, 18, 17, 16, 13, 12, 11, 10}));
        QCOMPARE(find(reading, 12)->parentPid, 1);
        QCOMPARE(find(reading, 12)->residentBytes, 77 * kPage);
        QCOMPARE(find(reading, 13)->name, text("exec"));
        QVERIFY(find(reading, 13)->programMark != find(reading, 12)->programMark);
        QCOMPARE(find(reading, 14)->name, text("new"));
        QCOMPARE(find(reading, 14)->residentBytes, 88 * kPage);
        QVERIFY(table.keptDescriptors() <= descriptors);
      }
    }
  }

  void whatNothingTellsIsReadInTime() {
    ProcessFixture fixture;
    fixture.addProcess(10, 1, "before", 10, 5);
    fixture.addProcess(2, 0, "kworker", 1, 0, 'I', 0x208040);
    LinuxProcessTable table(8, fixture.root());
    table.read();
    table.read();
    QCOMPARE(table.keptDescriptors(), 1u);  // none for a thread of the kernel
    fixture.addProcess(10, 1, "after", 10, 6);
    fixture.addProcess(2, 0, "renamed", 1, 0, 'I', 0x208040);
    QCOMPARE(find(table.read(), 10)->residentBytes, 6 * kPage);
    const auto isRead = [&table] {
      const auto reading = table.read();
      return find(reading, 10)->name == text("after") && find(reading, 2)->name == text("renamed");
    };
    std::uint32_t passes = 1;
    while (!isRead() && passes < 200)
      ++passes;
    QVERIFY(passes < LinuxProcessTable::kQuietPasses);
    fixture.remove(2);
    fixture.addProcess(2, 1, "reused", 50, 3);
    QCOMPARE(find(table.read(), 2)->name, text("reused"));
  }

  void nothingIsListedWhileNoPidIsGivenAway() {
    ProcessFixture fixture;
    fixture.addProcess(10, 1, "p", 10, 5);
    fixture.addProcess(11, 1, "ends", 11, 5);
    fixture.setLastPid(11);
    LinuxProcessTable table(100, fixture.root());
    // A pid counts before its process is to be seen, so a listing is believed when the count has stood still.
    QCOMPARE(pids(table.read()), (std::vector<std::int32_t>{11, 10}));
    QCOMPARE(pids(table.read()), (std::vector<std::int32_t>{11, 10}));
    fixture.addProcess(12, 1, "not given away", 12, 5);
    QCOMPARE(pids(table.read()), (std::vector<std::int32_t>{11, 10}));
    fixture.setLastPid(13);
    QCOMPARE(pids(table.read()), (std::vector<std::int32_t>{12, 11, 10}));
    fixture.addProcess(13, 1, "late", 13, 5);
    QCOMPARE(pids(table.read()), (std::vector<std::int32_t>{13, 12, 11, 10}));
    fixture.write(11, "statm", "");  // what a kept descriptor reads once the process has gone
    fixture.remove(11);
    for (int pass = 0; pass < 2; ++pass)
      QCOMPARE(pids(table.read()), (std::vector<std::int32_t>{13, 12, 10}));
    // A count that stands still although there are new ones is of no use.
    fixture.addProcess(14, 1, "unseen", 14, 5);
    for (std::uint32_t pass = 0; pass < LinuxProcessTable::kListingPasses; ++pass)
      table.read();
    fixture.addProcess(15, 1, "next", 15, 5);
    QCOMPARE(pids(table.read()), (std::vector<std::int32_t>{15, 14, 13, 12, 10}));
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
    fixture.addProcess(100, 50, "exec", 100, 100, 'S', 0x400000, 1, 9999);
    takeTheRest();
    const auto reading = table.read();
    QCOMPARE(reading.error, 0);
    QCOMPARE(find(reading, 100)->name, text("exec"));  // what was being asked when nothing could be opened
    QCOMPARE(reading.processes->size(), 5000u);
    QCOMPARE(table.keptDescriptors(), 0u);
    takeTheRest();
    QCOMPARE(table.read().error, EMFILE);  // half a table would be a wrong one
    taken.clear();
    QCOMPARE(table.read().processes->size(), 5000u);
    ::setrlimit(RLIMIT_NOFILE, &before);
  }

  void livingProcessesAreReadAsTheyAre() {
    test::IdleProcess child(1 << 20);
    LinuxProcessTable table(100);
    for (int pass = 0; pass < 2; ++pass) {
      const ProcessRecord* record = find(table.read(), child.pid());
      QVERIFY(record && !record->exited);
      QCOMPARE(record->name, text("idle"));
      QCOMPARE(record->parentPid, ::getpid());
      QVERIFY(*record->residentBytes > ByteCount{1} << 20);
    }
    ::kill(child.pid(), SIGKILL);
    siginfo_t info;
    ::waitid(P_PID, static_cast<id_t>(child.pid()), &info, WEXITED | WNOWAIT);
    QVERIFY(find(table.read(), child.pid())->exited);
    const pid_t pid = child.pid();
    child.end();
    QVERIFY(!find(table.read(), pid));
    LinuxProcessInformation information;
    QVERIFY(information.taskTimes(::getpid()) && !information.taskTimes(0x7fffffff));
    const auto header = information.processStatus({text("-O"), text("%cpu"), text("-p"), text("2147483647")});
    QVERIFY(header && header->trimmed() == "PID %CPU S TTY          TIME COMMAND");
  }

  void unitsNameApplications() {
    const std::pair<const char*, const char*> cases[] = {
        {"app-gnome-firefox\\x2desr-1234.scope", "firefox-esr gnome-firefox-esr"},
        {"app-org.kde.konsole-1b5b7c57.scope", "org.kde.konsole"},
        {"app-firefox-esr-77.scope", "esr firefox-esr"},
        {"app-gnome-nm\\x2dapplet@autostart.service", "nm-applet gnome-nm-applet"},
        {"flatpak-org.gimp.GIMP-88.scope", "org.gimp.GIMP"},
        {"snap.firefox.firefox-4706fe54-7802-4808-aa7e-ae8b567239e0.scope", "firefox_firefox"},
        {"snap.code.code-url.4706fe54-7802-4808-aa7e-ae8b567239e0.scope", "code_code-url"},
        {"app-x.scope/inner", "x"},
        {"app-a\\x2-1.scope", "a\\x2"},  // no whole escape
        {"app-x-1.scope/app-y-2.scope", "y"},
        // No application's.
        {"app-org.gnome.Terminal.slice/vte-spawn-1.scope", ""},
        {"snap.lxd.daemon.service", ""},
        {"app-.scope", ""},
        {"gnome-shell.service", ""}};
    for (const auto& [unit, ids] : cases) {
      const QByteArray unified = "0::" + kSession + unit + '\n';
      const QByteArray legacy = "3:cpuset:/app.slice/app-no-1.scope\n1:name=systemd:" + kSession + unit + "\n0::/\n";
      for (const QByteArray& text : {unified, legacy, unified.chopped(1)}) {
        const auto found = applicationUnit(view(text));
        QCOMPARE(found ? found->desktopIds.join(QLatin1Char(' ')) : QString(), QLatin1String(ids));
        if (!found) continue;
        QCOMPARE(found->user, std::optional<std::uint32_t>(1000));
        QVERIFY(found->path.startsWith(kSession) && !found->path.endsWith("/inner"));
      }
    }
  }

  void unitsOutsideTheApplicationsSliceAreNone() {
    for (const char* groups :
         {"0::/system.slice/app-x-1.scope\n", "garbage\n::\n0::", "0::/app-x-1.scope\n0:/app.slice/app-x-1.scope\n"})
      QVERIFY2(!applicationUnit(groups), groups);
    const auto unit = applicationUnit("0::/app.slice/app-x-1.scope");
    QVERIFY(unit && !unit->user);
    QVERIFY(applicationUnit("0::/user.slice/snap.a.b-4706fe54-7802-4808-aa7e-ae8b567239e0.scope"));
  }

  void factsOfAProcess() {
    ProcessFixture fixture;
    FactsBuffer buffer;
    ProcessDirectory directory(fixture.root());
    const auto user = ::getuid();
    fixture.write(42, "cgroup", "0::/user.slice/user-" + QByteArray::number(user) + ".slice/app.slice/app-x-1.scope\n");
    fixture.write(42, "cmdline", strings({"/opt/x", "", "-v"}));
    fixture.write(42, "environ",
                  strings({"GIO_LAUNCHED_DESKTOP_FILE=/x.desktop", "GIO_LAUNCHED_DESKTOP_FILE_PID=42",
                           "APPIMAGE=/opt/x.AppImage", "APPDIR=/tmp/m"}));
    fixture.link(42, "exe", QStringLiteral("/tmp/m/usr/x (deleted)"));
    ProcessFacts facts = readProcessFacts(directory, 42, user, buffer);
    QVERIFY(facts.isOwn && facts.unit);
    QCOMPARE(facts.executable, QByteArray("/tmp/m/usr/x"));
    QCOMPARE(facts.arguments, (QByteArrayList{"/opt/x", "", "-v"}));
    QCOMPARE(facts.desktopFile, QByteArray("/x.desktop"));
    QCOMPARE(facts.appImage, QByteArray("/opt/x.AppImage"));
    // Inherited or no pid, and outside the image.
    for (const char* pid : {"41", "42x"}) {
      fixture.write(42, "environ",
                    strings({"GIO_LAUNCHED_DESKTOP_FILE=/x.desktop", QByteArray("GIO_LAUNCHED_DESKTOP_FILE_PID=") + pid,
                             "APPIMAGE=/opt/x.AppImage", "APPDIR=/tmp/mm"}));
      facts = readProcessFacts(directory, 42, user, buffer);
      QVERIFY2(facts.desktopFile.isEmpty() && facts.appImage.isEmpty(), pid);
    }
    // Another user's, by the unit's path or by the owner where the path does not say.
    fixture.write(42, "cgroup", "0::/user.slice/user-7777.slice/app.slice/app-x-1.scope\n");
    QVERIFY(!readProcessFacts(directory, 42, user, buffer).unit);
    fixture.write(42, "cgroup", "0::/app.slice/app-x-1.scope\n");
    QVERIFY(readProcessFacts(directory, 42, user, buffer).unit);
    facts = readProcessFacts(directory, 42, user + 1, buffer);
    QVERIFY(!facts.isOwn && !facts.unit && facts.executable.isEmpty());
    QVERIFY(!readProcessFacts(directory, 43, user, buffer).isOwn);
  }

  void handlesKnowTheirProcessOnly() {
    const test::IdleProcess child(4096);
    const auto handle = ProcessHandle::open(child.pid(), child.startTime());
    QVERIFY(handle && !handle->hasEnded());
    QVERIFY(!ProcessHandle::open(child.pid(), child.startTime() - 1));  // as if the pid had been reused
    QVERIFY(!ProcessHandle::open(0x7fffffff, child.startTime()));
    QVERIFY(handle->send(SIGKILL));
    siginfo_t info;
    QCOMPARE(::waitid(P_PID, id_t(child.pid()), &info, WEXITED | WNOWAIT), 0);
    QVERIFY(handle->hasEnded());  // a zombie has ended
    QVERIFY(!handle->send(SIGTERM));
    QVERIFY(!ProcessHandle::open(child.pid(), child.startTime()));
  }
};

QTEST_GUILESS_MAIN(TestProcesses)
#include "test_processes.moc"
