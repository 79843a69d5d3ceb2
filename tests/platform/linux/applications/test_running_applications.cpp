// Real programs on a real display, listed as the program lists them.

#include <QtTest>
#include <csignal>

#include "platform/fake/fake_clock.h"
#include "platform/linux/applications/linux_running_applications.h"
#include "platform/linux/processes/linux_process_table.h"
#include "process_manager/processes_manager.h"
#include "support/test_folder.h"
#include "support/texts.h"
#include "support/virtual_display.h"

using namespace halvard;
using namespace halvard::test;

class TestRunningApplications : public QObject {
  Q_OBJECT

  VirtualDisplay m_display;
  TestFolder m_folder;
  LinuxProcessTable m_table;
  LinuxRunningApplications m_applications{std::make_shared<X11Windows>(m_display.name()),
                                          EntryFolders{{m_folder.path(), text("/usr/share/applications")}, {}}};
  FakeClock m_clock;
  ProcessesManager m_manager{m_table, m_applications, m_clock};

  /// Other work may go on on the machine, so that only known processes can be looked for.
  std::optional<ApplicationEntry> listed(qint64 pid) {
    QObject context;
    ApplicationList result;
    m_manager.getTopProcessCompletion(&context, [&](const ApplicationList& list) { result = list; });
    if (!QTest::qWaitFor([&] { return result != nullptr; }, 20'000)) return std::nullopt;
    const auto found = std::ranges::find(*result, pid, &ApplicationEntry::pid);
    return found == result->end() ? std::nullopt : std::optional(*found);
  }
  ApplicationEntry waitFor(qint64 pid) {
    std::optional<ApplicationEntry> entry;
    (void)QTest::qWaitFor([&] { return (entry = listed(pid)).has_value(); }, 30'000);
    return entry.value_or(ApplicationEntry{});
  }

 private Q_SLOTS:
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

    const ApplicationEntry first = waitFor(terminal->processId());
    QCOMPARE(first.name, text("XTerm"));
    QCOMPARE(first.icon, text("mini.xterm"));
    QCOMPARE(first.url, QUrl::fromLocalFile(text("/usr/share/applications/debian-xterm.desktop")));
    const ApplicationEntry second = waitFor(clock->processId());
    QCOMPARE(second.name, text("XClock"));
    QVERIFY(!second.url && !second.icon && second.helpers.empty());
    const ApplicationEntry third = waitFor(wrapped->processId());
    QCOMPARE(third.name, text("Wrapped"));
    QCOMPARE(third.icon, text("wrapped-icon"));
    QCOMPARE(waitFor(terminal->processId()).app, first.app);

    QVERIFY(second.app->activate() && second.app->terminate() && clock->waitForFinished(10'000));
    QCOMPARE(clock->exitStatus(), QProcess::NormalExit);  // its window was closed, no signal was sent
    QVERIFY(second.app->isTerminated());
    QVERIFY(!second.app->terminate() && !second.app->forceTerminate() && !second.app->activate());
    QVERIFY(first.app->forceTerminate() && terminal->waitForFinished(10'000));
    QCOMPARE(terminal->exitStatus(), QProcess::CrashExit);
    QVERIFY(third.app->terminate() && wrapped->waitForFinished(10'000));
    QCOMPARE(wrapped->exitCode(), SIGTERM);  // it has no window
    for (const ApplicationEntry& entry : {first, second, third})
      QVERIFY(!listed(entry.pid));
  }
};

QTEST_GUILESS_MAIN(TestRunningApplications)
#include "test_running_applications.moc"
