#include <QtTest>
#include <csignal>

#include "platform/fake/fake_clock.h"
#include "platform/linux/applications/application_naming.h"
#include "platform/linux/applications/linux_running_applications.h"
#include "platform/linux/processes/linux_process_table.h"
#include "process_manager/processes_manager.h"
#include "support/test_folder.h"
#include "support/texts.h"
#include "support/virtual_display.h"

using namespace halvard;
using namespace halvard::test;

namespace {

/// A small machine, described by a line each, processes oldest first:
///   entry ID PROGRAM [hidden|autostart|terminal] [arg=A]
///   PID PARENT PROGRAM [unit=ID] [file=DESKTOP-FILE] [window=CLASS] [args=A,B] [foreign] [dead] [kernel]
struct Machine {
  explicit Machine(const char* description) {
    for (const QString& line : text(description).split(u'\n', Qt::SkipEmptyParts)) {
      const QStringList words = line.split(u' ', Qt::SkipEmptyParts);
      words.first() == text("entry") ? addEntry(words) : addProcess(words);
    }
  }

  static QString valueOf(const QStringList& words, const char* name) {
    return words.filter(text(name) + u'=').value(0).section(u'=', 1);
  }
  void addEntry(const QStringList& words) {
    InstalledApplication& entry = entries.emplace_back();
    entry.id = entry.name = words[1];
    entry.file = text("/apps/%1.desktop").arg(words[1]);
    entry.program = entry.resolvedProgram = words[2].toUtf8();
    if (const QString argument = valueOf(words, "arg"); !argument.isEmpty()) entry.arguments = {argument.toUtf8()};
    entry.hidden = words.contains(text("hidden"));
    entry.autostartOnly = words.contains(text("autostart"));
    entry.inTerminal = words.contains(text("terminal"));
  }
  void addProcess(const QStringList& words) {
    ProcessRecord& record = *processes.emplace(processes.begin());
    record.pid = words[0].toInt();
    record.parentPid = words[1].toInt();
    record.exited = words.contains(text("dead"));
    record.kernelThread = words.contains(text("kernel"));
    ProcessFacts& known = facts[record.pid];
    known.isOwn = !words.contains(text("foreign"));
    known.executable = words[2].toUtf8();
    known.arguments = valueOf(words, "args").toUtf8().split(',');
    known.desktopFile = valueOf(words, "file").toUtf8();
    if (const QString unit = valueOf(words, "unit"); !unit.isEmpty())
      known.unit = ApplicationUnit{"/app-" + unit.toUtf8(), {unit}, std::nullopt};
    if (const QString window = valueOf(words, "window"); !window.isEmpty())
      windows.push_back({0, record.pid, window.toLower(), window, {}});
  }
  NamedApplications named() const { return nameApplications(processes, facts, windows, ApplicationIndex(entries)); }

  std::vector<ProcessRecord> processes;
  FactsByPid facts;
  std::vector<ApplicationWindow> windows;
  std::vector<InstalledApplication> entries;
};

/// "pid:entry:policy" of every application, "r" for regular or "a" for accessory, with the processes that own its
/// windows where it does not do so alone, then "helper>pid" of the groups.
QString summary(const NamedApplications& named) {
  QString parts;
  for (const NamedApplication& application : named.applications) {
    const QString name = application.entry ? application.entry->id : u'(' + application.fallbackName + u')';
    const bool isRegular = application.policy == ActivationPolicy::Regular;
    parts += QStringLiteral("%1:%2:%3").arg(application.pid).arg(name, text(isRegular ? "r" : "a"));
    for (const std::int32_t owner : application.windowOwners)
      if (application.windowOwners.size() > 1) parts += u',' + QString::number(owner);
    parts += u' ';
  }
  QStringList groups;
  for (auto group = named.groups.begin(); group != named.groups.end(); ++group)
    groups << QStringLiteral("%1>%2").arg(group.key()).arg(group.value());
  groups.sort();
  return (parts + groups.join(u' ')).trimmed();
}

}  // namespace

/// Made-up machines, and real programs on a real display, listed as the program lists them.
class TestApplications : public QObject {
  Q_OBJECT

  VirtualDisplay m_display;
  TestFolder m_folder;
  LinuxProcessTable m_table;
  LinuxRunningApplications m_applications{std::make_shared<X11Windows>(m_display.name()),
                                          EntryFolders{{m_folder.path(), text("/usr/share/applications")}, {}}};
  FakeClock m_clock;
  ProcessesManager m_manager{m_table, m_applications, m_clock};

  /// The entry of one process: other work may go on on the machine.
  ApplicationEntry waitFor(const QProcess* program) {
    for (const QDeadlineTimer end(30'000); !end.hasExpired();) {
      QObject context;
      ApplicationList list;
      m_manager.getTopProcessCompletion(&context, [&](const ApplicationList& result) { list = result; });
      if (!QTest::qWaitFor([&] { return list != nullptr; }, 20'000)) break;
      const auto found = std::ranges::find(*list, program->processId(), &ApplicationEntry::pid);
      if (found != list->end()) return *found;
    }
    return {};
  }

 private Q_SLOTS:
  void processesAreNamed() {
    const struct {
      const char *what, *machine, *named;
    } cases[] = {
        {"the topmost process of a unit, or the oldest that a starter has left", R"(entry editor /usr/bin/editor
        entry mail /usr/bin/mail
        1 0 /sbin/init
        10 1 /bin/sh unit=editor
        11 10 /opt/editor/main unit=editor
        12 1 /opt/editor/orphan unit=editor
        21 1 /opt/mail/main unit=mail
        22 1 /opt/mail/orphan unit=mail)",
         "10:editor:r 21:mail:r 11>10 12>10 22>21"},
        {"a unit without entry, with and without a window", R"(10 1 /usr/bin/task unit=task window=Task
        11 1 /usr/bin/other unit=other)",
         "10:(Task):r"},
        // A window on this display counts whoever owns its process.
        {"windows", R"(entry term /usr/bin/term
        entry org.x.Paint /usr/bin/paint
        10 1 /usr/bin/term window=Term
        11 10 /bin/bash
        12 11 /usr/bin/paint window=Paint
        13 11 /usr/bin/nameless window=Nameless foreign
        14 11 /usr/bin/term window=Term)",
         "10:term:r 12:org.x.Paint:r 13:(Nameless):r 14:term:r"},
        {"what the shell of a terminal starts, in its unit", R"(entry term /usr/bin/term
        entry org.x.Paint /usr/bin/paint
        10 1 /usr/bin/term window=Term unit=term
        11 10 /bin/bash unit=term
        12 11 /usr/bin/paint window=Paint unit=term
        14 11 /usr/bin/term window=Term unit=term)",
         "10:term:r 12:org.x.Paint:r 14:term:r 11>10 12>10 14>10"},
        {"the environment of the launch, before the window's class", R"(entry mail /usr/bin/mail-wrapper
        entry tool /usr/bin/tool
        10 1 /usr/lib/mail/mail file=/apps/mail.desktop window=Tool
        12 1 /usr/bin/tool file=/apps/missing.desktop)",
         "10:mail:r 12:tool:r"},
        {"programs, but not a browser's pages", R"(entry web /usr/lib/web/web
        entry web-private /usr/lib/web/web arg=--private
        entry script /usr/bin/script
        entry vi /usr/bin/vi terminal
        10 1 /usr/lib/web/web
        11 10 /usr/lib/web/zygote
        12 11 /usr/lib/web/web
        13 1 /usr/lib/web/web args=web,--private,x
        14 1 /usr/bin/python3 args=python3,/usr/bin/script
        15 1 /usr/bin/vi
        16 1 /usr/lib/web/web foreign)",
         "10:web:r 13:web-private:r 14:script:r"},
        // Only visible entries name by program.
        {"hidden and autostarted entries", R"(entry hidden /usr/bin/hidden hidden
        entry started /usr/bin/started autostart
        10 1 /usr/bin/hidden file=/apps/hidden.desktop
        11 1 /usr/bin/started unit=started
        12 1 /usr/bin/hidden
        13 1 /usr/bin/hidden file=/apps/hidden.desktop window=H)",
         "10:hidden:a 11:started:a 13:hidden:r"},
        {"the living, also in a circle", R"(entry x /usr/bin/x
        10 11 /usr/bin/x
        11 10 /usr/bin/x
        12 1 /usr/bin/x dead window=X
        13 2 /usr/bin/x kernel window=X)",
         "10:x:r"},
        {"a window of a program started in its place", R"(entry office /usr/bin/office hidden
        10 1 /bin/sh unit=office
        11 10 /opt/office/soffice.bin unit=office window=Office
        12 1 /opt/office/unknown unit=office window=Strange)",
         "10:office:r,10,11,12 11>10 12>10"},
    };
    for (const auto& [what, machine, named] : cases)
      QCOMPARE(text(what) + u'\n' + summary(Machine(machine).named()), text(what) + u'\n' + text(named));
  }

  void applicationsAreNamedKeepTheirHandlesAndQuitPolitelyOrByForce() {
    if (!m_display.isRunning()) QSKIP("Xvfb is not installed");
    QVERIFY(m_display.startWindowManager());
    const QString file = m_folder.write("wrapped.desktop",
                                        "[Desktop Entry]\nType=Application\nName=Wrapped\nIcon=wrapped-icon\n"
                                        "Exec=/bin/sh\nTerminal=true\n");
    QProcess* terminal = m_display.start(text("xterm"), texts({"-e", "sleep 601"}));
    QProcess* clock = m_display.start(text("xclock"));
    // Sets the pid of its own environment, as GIO's launcher does.
    QProcess* wrapped =
        m_display.start(text("/bin/sh"), texts({"-c", "export GIO_LAUNCHED_DESKTOP_FILE_PID=$$; exec sleep 604"}),
                        {text("GIO_LAUNCHED_DESKTOP_FILE=") + file});
    QVERIFY(terminal && clock && wrapped);

    const ApplicationEntry first = waitFor(terminal);
    QCOMPARE(first.name, text("XTerm"));
    QCOMPARE(first.icon, text("mini.xterm"));
    QCOMPARE(first.url, QUrl::fromLocalFile(text("/usr/share/applications/debian-xterm.desktop")));
    const ApplicationEntry second = waitFor(clock);
    QCOMPARE(second.name, text("XClock"));
    QVERIFY(!second.url && !second.icon && second.helpers.empty());
    const ApplicationEntry third = waitFor(wrapped);
    QCOMPARE(third.name, text("Wrapped"));
    QCOMPARE(third.icon, text("wrapped-icon"));
    QCOMPARE(waitFor(terminal).app, first.app);

    QVERIFY(second.app->activate() && second.app->terminate() && clock->waitForFinished(10'000));
    QCOMPARE(clock->exitStatus(), QProcess::NormalExit);  // its window was closed, no signal was sent
    QVERIFY(second.app->isTerminated());
    QVERIFY(!second.app->terminate() && !second.app->forceTerminate() && !second.app->activate());
    QVERIFY(first.app->forceTerminate() && terminal->waitForFinished(10'000));
    QCOMPARE(terminal->exitStatus(), QProcess::CrashExit);
    QVERIFY(third.app->terminate() && wrapped->waitForFinished(10'000));
    QCOMPARE(wrapped->exitCode(), SIGTERM);  // it has no window
  }
};

QTEST_GUILESS_MAIN(TestApplications)
#include "test_applications.moc"
