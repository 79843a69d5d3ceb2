#include <QtTest>

#include "platform/linux/applications/application_naming.h"

using namespace halvard;

namespace {

QString text(const char* latin1) {
  return QString::fromLatin1(latin1);
}

/// A small machine, described by a line each, processes oldest first:
///   entry ID PROGRAM [hidden|autostart|terminal] [arg=A]
///   PID PARENT PROGRAM [unit=ID] [file=DESKTOP-FILE] [window=CLASS] [args=A,B] [foreign] [dead] [kernel]
struct Machine {
  explicit Machine(const char* description) {
    for (const QString& line : text(description).split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
      const QStringList words = line.split(QLatin1Char(' '), Qt::SkipEmptyParts);
      words.first() == text("entry") ? addEntry(words) : addProcess(words);
    }
  }

  static QString valueOf(const QStringList& words, const char* name) {
    const QStringList found = words.filter(text(name) + QLatin1Char('='));
    return found.value(0).section(QLatin1Char('='), 1);
  }
  void addEntry(const QStringList& words) {
    InstalledApplication entry;
    entry.id = entry.name = words[1];
    entry.file = text("/apps/%1.desktop").arg(words[1]);
    entry.program = entry.resolvedProgram = words[2].toUtf8();
    if (const QString argument = valueOf(words, "arg"); !argument.isEmpty()) entry.arguments = {argument.toUtf8()};
    entry.hidden = words.contains(text("hidden"));
    entry.autostartOnly = words.contains(text("autostart"));
    entry.inTerminal = words.contains(text("terminal"));
    entries.push_back(entry);
  }
  void addProcess(const QStringList& words) {
    ProcessRecord record;
    record.pid = words[0].toInt();
    record.parentPid = words[1].toInt();
    record.startTime = processes.size() + 1;
    record.name = words[2].section(QLatin1Char('/'), -1);
    record.exited = words.contains(text("dead"));
    record.kernelThread = words.contains(text("kernel"));
    processes.insert(processes.begin(), record);
    ProcessFacts& known = facts[record.pid];
    known.isOwn = !words.contains(text("foreign"));
    known.executable = words[2].toUtf8();
    known.arguments = valueOf(words, "args").toUtf8().split(',');
    if (known.arguments.first().isEmpty()) known.arguments = {known.executable};
    known.desktopFile = valueOf(words, "file").toUtf8();
    if (const QString unit = valueOf(words, "unit"); !unit.isEmpty())
      known.unit = ApplicationUnit{"/app-" + unit.toUtf8(), {unit}, std::nullopt};
    const QString window = valueOf(words, "window");
    if (!window.isEmpty()) windows.push_back({0, record.pid, window.toLower(), window, {}});
  }
  NamedApplications named() const { return nameApplications(processes, facts, windows, ApplicationIndex(entries)); }

  std::vector<ProcessRecord> processes;
  FactsByPid facts;
  std::vector<ApplicationWindow> windows;
  std::vector<InstalledApplication> entries;
};

/// "pid:entry:policy" of every application, "r" for regular or "a" for accessory, then "helper>pid" of the groups.
QString summary(const NamedApplications& named) {
  QStringList parts;
  for (const NamedApplication& application : named.applications) {
    const bool regular = application.policy == ActivationPolicy::Regular;
    parts << QStringLiteral("%1:%2:%3")
                 .arg(application.pid)
                 .arg(application.entry ? application.entry->id : text("-"), regular ? text("r") : text("a"));
  }
  QStringList groups;
  for (auto group = named.groups.begin(); group != named.groups.end(); ++group)
    groups << QStringLiteral("%1>%2").arg(group.key()).arg(group.value());
  groups.sort();
  return (parts + groups).join(QLatin1Char(' '));
}

}  // namespace

class TestApplicationNaming : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void processesAreNamed_data() {
    QTest::addColumn<QString>("machine");
    QTest::addColumn<QString>("named");
    const auto row = [](const char* name, const char* machine, const char* named) {
      QTest::newRow(name) << text(machine) << text(named);
    };
    row("the topmost process of a unit", R"(entry editor /usr/bin/editor
        1 0 /sbin/init
        10 1 /bin/sh unit=editor
        11 10 /opt/editor/main unit=editor
        12 1 /opt/editor/orphan unit=editor
        13 1 /opt/other)",
        "10:editor:r 11>10 12>10");
    row("what a starter that ended has left", R"(entry editor /usr/bin/editor
        11 1 /opt/editor/main unit=editor
        12 1 /opt/editor/orphan unit=editor)",
        "11:editor:r 12>11");
    row("no unit without entry or window", "10 1 /usr/bin/task unit=task", "");
    row("a unit's window without entry", "10 1 /usr/bin/task unit=task window=Task", "10:-:r");
    // A window on this display counts whoever owns its process.
    row("windows", R"(entry term /usr/bin/term
        entry org.x.Paint /usr/bin/paint
        10 1 /usr/bin/term window=Term
        11 10 /bin/bash
        12 11 /usr/bin/paint window=Paint
        13 11 /usr/bin/nameless window=Nameless foreign
        14 11 /usr/bin/term window=Term)",
        "10:term:r 12:org.x.Paint:r 13:-:r 14:term:r");
    row("what the shell of a terminal starts, in its unit", R"(entry term /usr/bin/term
        entry org.x.Paint /usr/bin/paint
        10 1 /usr/bin/term window=Term unit=term
        11 10 /bin/bash unit=term
        12 11 /usr/bin/paint window=Paint unit=term
        14 11 /usr/bin/term window=Term unit=term)",
        "10:term:r 12:org.x.Paint:r 14:term:r 11>10 12>10 14>10");
    row("the environment of the launch, before the window's class", R"(entry mail /usr/bin/mail-wrapper
        entry tool /usr/bin/tool
        10 1 /usr/lib/mail/mail file=/apps/mail.desktop window=Tool
        11 10 /usr/lib/mail/helper
        12 1 /usr/bin/tool file=/apps/missing.desktop)",
        "10:mail:r 12:tool:r");
    row("programs, but not a browser's pages", R"(entry web /usr/lib/web/web
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
        "10:web:r 13:web-private:r 14:script:r");
    // Only visible entries name by program.
    row("hidden and autostarted entries", R"(entry hidden /usr/bin/hidden hidden
        entry started /usr/bin/started autostart
        10 1 /usr/bin/hidden file=/apps/hidden.desktop
        11 1 /usr/bin/started unit=started
        12 1 /usr/bin/hidden
        13 1 /usr/bin/hidden file=/apps/hidden.desktop window=H)",
        "10:hidden:a 11:started:a 13:hidden:r");
    row("the living, also in a circle", R"(entry x /usr/bin/x
        10 11 /usr/bin/x
        11 10 /usr/bin/x
        12 1 /usr/bin/x dead window=X
        13 2 /usr/bin/x kernel window=X)",
        "10:x:r");
    row("nothing", "", "");
  }
  void processesAreNamed() {
    QFETCH(QString, machine);
    QTEST(summary(Machine(qPrintable(machine)).named()), "named");
  }

  void windowOfAProgramStartedInItsPlaceBelongsToTheStarter() {
    for (const char* const entry : {"entry office /usr/bin/office", "entry office /usr/bin/office hidden"}) {
      const Machine machine((QByteArray(entry) + R"(
        10 1 /bin/sh unit=office
        11 10 /opt/office/soffice.bin unit=office window=Office
        12 1 /opt/office/unknown unit=office window=Strange)")
                                .constData());
      QCOMPARE(summary(machine.named()), text("10:office:r 11>10 12>10"));
      QCOMPARE(machine.named().applications[0].windowOwners, (std::vector<std::int32_t>{10, 11, 12}));
    }
    QCOMPARE(Machine("10 1 /usr/bin/task window=Task").named().applications[0].fallbackName, text("Task"));
  }
};

QTEST_GUILESS_MAIN(TestApplicationNaming)
#include "test_application_naming.moc"
