#include <QtTest>

#include "platform/linux/applications/application_naming.h"

using namespace halvard;

namespace {

QString text(const char* latin1) {
  return QString::fromLatin1(latin1);
}

InstalledApplication entry(const char* id, const char* program, QByteArrayList arguments = {}) {
  InstalledApplication result;
  result.id = text(id);
  result.file = text("/apps/") + text(id) + text(".desktop");
  result.name = text(id);
  result.program = program;
  result.resolvedProgram = program;
  result.arguments = std::move(arguments);
  return result;
}

// A small machine. Processes are added oldest first.
struct Machine {
  std::vector<ProcessRecord> processes;
  FactsByPid facts;
  std::vector<ApplicationWindow> windows;
  std::vector<InstalledApplication> entries;

  ProcessFacts& add(std::int32_t pid, std::int32_t parent, const QByteArray& executable = {}) {
    ProcessRecord record;
    record.pid = pid;
    record.parentPid = parent;
    record.startTime = processes.size() + 1;
    record.name = QString::fromUtf8(executable.mid(executable.lastIndexOf('/') + 1));
    processes.insert(processes.begin(), record);
    ProcessFacts& own = facts[pid];
    own.isOwn = true;
    own.executable = executable;
    own.arguments = {executable};
    return own;
  }
  void setUnit(std::int32_t pid, const char* path, const QStringList& ids) {
    facts[pid].unit = ApplicationUnit{path, ids, std::nullopt};
  }
  void addWindow(std::int32_t pid, const char* className = "") {
    windows.push_back({0, pid, text(className).toLower(), text(className), {}});
  }
  NamedApplications named() const { return nameApplications(processes, facts, windows, ApplicationIndex(entries)); }

  // "pid:entry" of every application; "r" regular or "a" accessory.
  QString summary() const {
    QStringList parts;
    for (const NamedApplication& application : named().applications) {
      const bool regular = application.policy == ActivationPolicy::Regular;
      parts << QStringLiteral("%1:%2:%3")
                   .arg(application.pid)
                   .arg(application.entry ? application.entry->id : text("-"), regular ? text("r") : text("a"));
    }
    return parts.join(QLatin1Char(' '));
  }
};

}  // namespace

class TestApplicationNaming : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void unitsNameTheirTopmostProcess() {
    Machine machine;
    machine.entries = {entry("editor", "/usr/bin/editor")};
    machine.add(1, 0, "/sbin/init");
    machine.add(10, 1, "/bin/sh");
    machine.add(11, 10, "/opt/editor/main");
    machine.add(12, 1, "/opt/editor/orphan");
    machine.add(13, 1, "/opt/other");
    for (const int pid : {10, 11, 12})
      machine.setUnit(pid, "/a.slice/app-editor-1.scope", {text("editor")});
    QCOMPARE(machine.summary(), text("10:editor:r"));
    const auto groups = machine.named().groups;
    QCOMPARE(groups.value(11), 10);
    QCOMPARE(groups.value(12), 10);
    QVERIFY(!groups.contains(10) && !groups.contains(13));
    // The starter ends: what it has left is the application now.
    machine.processes.erase(std::ranges::find(machine.processes, 10, &ProcessRecord::pid));
    machine.processes.back().parentPid = 0;
    std::ranges::find(machine.processes, 11, &ProcessRecord::pid)->parentPid = 1;
    QCOMPARE(machine.summary(), text("11:editor:r"));
    QCOMPARE(machine.named().groups.value(12), 11);
  }

  void unitsWithoutEntryOrWindowNameNothing() {
    Machine machine;
    machine.add(10, 1, "/usr/bin/task");
    machine.setUnit(10, "/app-task-1.scope", {text("task")});
    QCOMPARE(machine.summary(), QString());
    machine.addWindow(10, "Task");
    QCOMPARE(machine.summary(), text("10:-:r"));
    QCOMPARE(machine.named().applications[0].fallbackName, text("Task"));
  }

  void windowsNameTheirProcess() {
    Machine machine;
    machine.entries = {entry("term", "/usr/bin/term"), entry("org.x.Paint", "/usr/bin/paint")};
    machine.add(10, 1, "/usr/bin/term");
    machine.add(11, 10, "/bin/bash");
    machine.add(12, 11, "/usr/bin/paint");
    machine.add(13, 11, "/usr/bin/nameless");
    machine.add(14, 11, "/usr/bin/term");
    machine.facts[13].isOwn = false;  // a window on this display counts whoever owns its process
    for (const auto& [pid, name] : {std::pair(10, "Term"), {12, "Paint"}, {13, "Nameless"}, {14, "Term"}})
      machine.addWindow(pid, name);
    QCOMPARE(machine.summary(), text("10:term:r 12:org.x.Paint:r 13:-:r 14:term:r"));
    // Both terminals in one unit: what the shell of the first has started is its own application nevertheless.
    for (const int pid : {10, 11, 12, 13, 14})
      machine.setUnit(pid, "/app-term-1.scope", {text("term")});
    QCOMPARE(machine.summary(), text("10:term:r 12:org.x.Paint:r 13:-:r 14:term:r"));
    QCOMPARE(machine.named().groups.value(11), 10);
  }

  void windowOfAProgramStartedInItsPlaceBelongsToTheStarter() {
    Machine machine;
    machine.entries = {entry("office", "/usr/bin/office")};
    machine.add(10, 1, "/bin/sh");
    machine.add(11, 10, "/opt/office/soffice.bin");
    machine.add(12, 1, "/opt/office/unknown");
    for (const int pid : {10, 11, 12})
      machine.setUnit(pid, "/app-office-1.scope", {text("office")});
    machine.addWindow(11, "Office");
    machine.addWindow(12, "Strange");  // no entry, but the unit's
    QCOMPARE(machine.summary(), text("10:office:r"));
    QCOMPARE(machine.named().applications[0].windowOwners, (std::vector<std::int32_t>{10, 11, 12}));
    machine.entries[0].hidden = true;
    QCOMPARE(machine.summary(), text("10:office:r"));
  }

  void launchEnvironmentsNameTheProcessTheyWereMeantFor() {
    Machine machine;
    machine.entries = {entry("mail", "/usr/bin/mail-wrapper"), entry("tool", "/usr/bin/tool")};
    machine.add(10, 1, "/usr/lib/mail/mail").desktopFile = "/apps/mail.desktop";
    machine.add(11, 10, "/usr/lib/mail/helper");
    machine.add(12, 1, "/usr/bin/tool").desktopFile = "/apps/missing.desktop";
    QCOMPARE(machine.summary(), text("10:mail:r 12:tool:r"));
    machine.addWindow(10, "Tool");  // the entry it was launched for says more than the class
    QCOMPARE(machine.summary(), text("10:mail:r 12:tool:r"));
  }

  void programsNameApplicationsButNotTheirOwnHelpers() {
    Machine machine;
    machine.entries = {entry("web", "/usr/lib/web/web"), entry("web-private", "/usr/lib/web/web", {"--private"}),
                       entry("script", "/usr/bin/script"), entry("vi", "/usr/bin/vi")};
    machine.entries[3].inTerminal = true;
    machine.add(10, 1, "/usr/lib/web/web");
    machine.add(11, 10, "/usr/lib/web/zygote");
    machine.add(12, 11, "/usr/lib/web/web");  // a browser's page
    machine.add(13, 1, "/usr/lib/web/web").arguments = {"web", "--private", "x"};
    machine.add(14, 1, "/usr/bin/python3").arguments = {"python3", "/usr/bin/script"};
    machine.add(15, 1, "/usr/bin/vi");
    machine.add(16, 1, "/usr/lib/web/web");
    machine.facts[16].isOwn = false;
    QCOMPARE(machine.summary(), text("10:web:r 13:web-private:r 14:script:r"));
  }

  void hiddenAndAutostartedEntriesAreAccessory() {
    Machine machine;
    machine.entries = {entry("hidden", "/usr/bin/hidden"), entry("started", "/usr/bin/started")};
    machine.entries[0].hidden = true;
    machine.entries[1].autostartOnly = true;
    machine.add(10, 1, "/usr/bin/hidden").desktopFile = "/apps/hidden.desktop";
    machine.add(11, 1, "/usr/bin/started");
    machine.setUnit(11, "/app-started@autostart.service", {text("started")});
    machine.add(12, 1, "/usr/bin/hidden");  // only visible entries name by program
    QCOMPARE(machine.summary(), text("10:hidden:a 11:started:a"));
    machine.addWindow(10);
    QCOMPARE(machine.summary(), text("10:hidden:r 11:started:a"));
  }

  void deadProcessesThreadsOfTheKernelAndLoopsNameNothing() {
    Machine machine;
    machine.entries = {entry("x", "/usr/bin/x")};
    machine.add(10, 11, "/usr/bin/x");
    machine.add(11, 10, "/usr/bin/x");
    machine.add(12, 1, "/usr/bin/x");
    machine.processes[0].exited = true;
    machine.add(13, 2, "/usr/bin/x");
    machine.processes[0].kernelThread = true;
    for (const int pid : {12, 13})
      machine.addWindow(pid);
    QCOMPARE(machine.summary(), text("10:x:r"));
    QVERIFY(Machine().named().applications.empty());
  }
};

QTEST_GUILESS_MAIN(TestApplicationNaming)
#include "test_application_naming.moc"
