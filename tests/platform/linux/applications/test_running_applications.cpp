// Real programs on a real display, listed as the program lists them.

#include <QtTest>
#include <csignal>
#include <map>

#include "platform/fake/fake_clock.h"
#include "platform/linux/applications/linux_running_applications.h"
#include "platform/linux/processes/linux_process_table.h"
#include "process_manager/processes_manager.h"
#include "support/virtual_display.h"

using namespace halvard;
using test::VirtualDisplay;

namespace {

QString text(const char* latin1) {
  return QString::fromLatin1(latin1);
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
  void applicationsOfASessionAreNamedAndKeepTheirHandles() {
    Session session;
    if (!session.display.isRunning()) QSKIP("Xvfb is not installed");
    QVERIFY(session.start());
    session.writeEntry("wrapped", "Name=Wrapped\nIcon=wrapped-icon\nExec=/bin/sh\nTerminal=true\n");
    QProcess* terminal = session.display.start(text("xterm"), {text("-e"), text("sleep 601")});
    QProcess* clock = session.display.start(text("xclock"));
    // Sets the pid of its own environment, as GIO's launcher does.
    QProcess* wrapped = session.display.start(
        text("/bin/sh"), {text("-c"), text("export GIO_LAUNCHED_DESKTOP_FILE_PID=$$; exec sh -c 'sleep 604 & wait'")},
        {text("GIO_LAUNCHED_DESKTOP_FILE=") + session.folder.filePath(text("wrapped.desktop"))});
    QVERIFY(terminal && clock && wrapped);
    const std::vector<QProcess*> programs{terminal, clock, wrapped};
    std::map<std::int32_t, ApplicationEntry> list;
    QVERIFY(QTest::qWaitFor([&] { return (list = session.list(programs)).size() == 3; }, 30'000));

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
};

QTEST_GUILESS_MAIN(TestRunningApplications)
#include "test_running_applications.moc"
