// Real programs on a real display, listed as the program lists them.

#include <QtTest>
#include <csignal>
#include <map>

#include "core/clock.h"
#include "core/notification_center.h"
#include "platform/fake/fake_clock.h"
#include "platform/linux/applications/linux_running_applications.h"
#include "platform/linux/processes/linux_process_table.h"
#include "process_manager/process_tracker.h"
#include "process_manager/processes_manager.h"
#include "support/virtual_display.h"

using namespace halvard;
using namespace std::chrono_literals;
using test::VirtualDisplay;

namespace {

QString text(const char* latin1) {
  return QString::fromLatin1(latin1);
}

// From the files themselves, by another way than the program's.
ByteCount residentBytes(std::int32_t pid) {
  QFile file(QStringLiteral("/proc/%1/smaps_rollup").arg(pid));
  if (!file.open(QIODevice::ReadOnly)) return 0;
  for (const QByteArray& line : file.readAll().split('\n')) {
    if (line.startsWith("Rss:")) return line.simplified().split(' ').value(1).toULongLong() * 1024;
  }
  return 0;
}

bool sumsAgree(const std::map<std::int32_t, ApplicationEntry>& list) {
  return !list.empty() && std::ranges::all_of(list, [](const auto& item) {
    ByteCount sum = residentBytes(item.first);
    for (const std::int32_t helper : item.second.helpers)
      sum += residentBytes(helper);
    const double ratio = double(*item.second.size) / double(sum);
    return ratio > 0.99 && ratio < 1.01;
  });
}

}  // namespace

class TestRunningApplications : public QObject {
  Q_OBJECT

  struct Session {
    VirtualDisplay display;
    QTemporaryDir folder;
    LinuxProcessTable table;
    std::unique_ptr<LinuxRunningApplications> applications;
    FakeClock clock;
    std::unique_ptr<ProcessesManager> manager;

    bool start() {
      if (!display.isRunning() || !display.startWindowManager()) return false;
      applications = std::make_unique<LinuxRunningApplications>(
          std::make_shared<X11Windows>(display.name()),
          EntryFolders{{folder.path(), QStringLiteral("/usr/share/applications")}, {}});
      manager = std::make_unique<ProcessesManager>(table, *applications, clock);
      return true;
    }
    void writeEntry(const char* id, const QByteArray& lines) {
      QFile file(folder.filePath(text(id) + text(".desktop")));
      QVERIFY(file.open(QIODevice::WriteOnly));
      file.write("[Desktop Entry]\nType=Application\n" + lines);
    }
    // Those of the programs this test has started, by pid: other work may go on on the machine.
    std::map<std::int32_t, ApplicationEntry> list(const std::vector<QProcess*>& programs) {
      QObject context;
      ApplicationList result;
      manager->getTopProcessCompletion(&context, [&](const ApplicationList& list) { result = list; });
      std::map<std::int32_t, ApplicationEntry> own;
      if (!QTest::qWaitFor([&] { return result != nullptr; }, 20'000)) return own;
      for (const ApplicationEntry& entry : *result) {
        for (const QProcess* program : programs)
          if (program->processId() == entry.pid) own.emplace(entry.pid, entry);
      }
      return own;
    }
    std::shared_ptr<RunningApplication> find(QProcess* program) {
      return QTest::qWaitFor([&] { return list({program}).size() == 1; }, 20'000) ? list({program}).begin()->second.app
                                                                                  : nullptr;
    }
  };

 private Q_SLOTS:
  void applicationsOfASessionAreListedWithTheSumsOfTheirHelpers() {
    Session session;
    if (!session.display.isRunning()) QSKIP("Xvfb is not installed");
    QVERIFY(session.start());
    session.writeEntry("wrapped", "Name=Wrapped\nIcon=wrapped-icon\nExec=/bin/sh\nTerminal=true\n");
    const QString entry =
        QStringLiteral("GIO_LAUNCHED_DESKTOP_FILE=") + session.folder.filePath(text("wrapped.desktop"));
    QProcess* terminal =
        session.display.start(text("xterm"), {text("-e"), text("sleep 601 & (sleep 602 & sleep 603) & wait")});
    QProcess* clock = session.display.start(text("xclock"));
    // Sets the pid of its own environment, as GIO's launcher does.
    QProcess* wrapped = session.display.start(
        text("/bin/sh"), {text("-c"), text("export GIO_LAUNCHED_DESKTOP_FILE_PID=$$; exec sh -c 'sleep 604 & wait'")},
        {entry});
    QVERIFY(terminal && clock && wrapped);
    const std::vector<QProcess*> programs{terminal, clock, wrapped};
    std::map<std::int32_t, ApplicationEntry> list;
    const auto isComplete = [&] {
      list = session.list(programs);
      return list.size() == 3 && list[std::int32_t(terminal->processId())].helpers.size() >= 4 &&
             list[std::int32_t(wrapped->processId())].helpers.size() == 1;
    };
    QVERIFY(QTest::qWaitFor(isComplete, 30'000));

    const ApplicationEntry& first = list[std::int32_t(terminal->processId())];
    QCOMPARE(first.name, text("XTerm"));
    QCOMPARE(first.icon, text("mini.xterm"));
    QCOMPARE(first.url, QUrl::fromLocalFile(text("/usr/share/applications/debian-xterm.desktop")));
    const ApplicationEntry& second = list[std::int32_t(clock->processId())];
    QCOMPARE(second.name, text("XClock"));
    QVERIFY(!second.url && !second.icon && second.helpers.empty());
    const ApplicationEntry& third = list[std::int32_t(wrapped->processId())];
    QCOMPARE(third.name, text("Wrapped"));
    QCOMPARE(third.icon, text("wrapped-icon"));
    for (const auto& [pid, application] : list)
      QVERIFY(application.app->activationPolicy() == ActivationPolicy::Regular);
    // They may still be growing into their first seconds.
    QTRY_VERIFY(sumsAgree(session.list(programs)));
    // The same handles again, and sizes of their own each time.
    QCOMPARE(session.list(programs)[first.pid].app, first.app);
  }

  void applicationsQuitPolitelyAndByForce() {
    Session session;
    if (!session.display.isRunning()) QSKIP("Xvfb is not installed");
    QVERIFY(session.start());
    session.writeEntry("deaf", "Name=Deaf\nExec=/bin/sh\n");
    QProcess* window = session.display.start(text("xclock"));
    QProcess* other = session.display.start(text("xclock"));
    QProcess* windowless = session.display.start(
        text("/bin/sh"), {text("-c"), text("export GIO_LAUNCHED_DESKTOP_FILE_PID=$$; exec sleep 605")},
        {QStringLiteral("GIO_LAUNCHED_DESKTOP_FILE=") + session.folder.filePath(text("deaf.desktop"))});
    const auto app = session.find(window);
    const auto second = session.find(other);
    const auto third = session.find(windowless);
    QVERIFY(app && second && third);
    QVERIFY(app->activate());
    QVERIFY(app->terminate());
    QVERIFY(window->waitForFinished(10'000));
    QCOMPARE(window->exitStatus(), QProcess::NormalExit);  // its window was closed, no signal was sent
    QVERIFY(app->isTerminated() && !app->terminate() && !app->forceTerminate() && !app->activate());
    QVERIFY(second->forceTerminate());
    QVERIFY(other->waitForFinished(10'000));
    QCOMPARE(other->exitStatus(), QProcess::CrashExit);
    QVERIFY(third->terminate());
    QVERIFY(windowless->waitForFinished(10'000));
    QCOMPARE(windowless->exitCode(), SIGTERM);
    QVERIFY(session.list({window, other, windowless}).empty());
  }

  void displayThatGoesAwayLeavesTheListEmptyAndTheProgramAlive() {
    Session session;
    if (!session.display.isRunning()) QSKIP("Xvfb is not installed");
    QVERIFY(session.start());
    QProcess* clock = session.display.start(text("xclock"));
    QVERIFY(session.find(clock));
    session.display.stop();
    clock->waitForFinished();
    QVERIFY(session.list({clock}).empty());
  }

  void largeProgramThatQuitsIsAnnouncedWithinOneStep() {
    Session session;
    if (!session.display.isRunning()) QSKIP("Xvfb is not installed");
    QVERIFY(session.start());
    session.writeEntry("large", "Name=Large\nExec=/bin/sh\n");
    QProcess* large = session.display.start(
        text("perl"),
        {text("-e"), text("$ENV{GIO_LAUNCHED_DESKTOP_FILE_PID} = $$;"
                          "exec 'perl', '-e', '$n = 300 << 20; $b = chr(1) x $n; <STDIN>'")},
        {QStringLiteral("GIO_LAUNCHED_DESKTOP_FILE=") + session.folder.filePath(text("large.desktop"))});
    const auto isLarge = [&] {
      const auto list = session.list({large});
      return !list.empty() && *list.begin()->second.size > (300ULL << 20);
    };
    QVERIFY(QTest::qWaitFor(isLarge, 30'000));
    NotificationCenter notifications;
    QObject observer;
    int posts = 0;
    notifications.addObserver(ProcessTracker::HugeProcessTerminatedNotificationName(), &observer,
                              [&](const QVariant&) { ++posts; });
    ProcessTracker tracker(*session.manager, notifications, session.clock);
    tracker.startTrackingHugeProcesses();
    session.clock.advance(5s);
    session.list({});  // behind the tracker's own
    large->write("\n");
    QVERIFY(large->waitForFinished());
    QCOMPARE(posts, 0);
    session.clock.advance(5s);
    QCOMPARE(posts, 1);
  }
};

QTEST_GUILESS_MAIN(TestRunningApplications)
#include "test_running_applications.moc"
