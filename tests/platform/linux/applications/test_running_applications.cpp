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

QTEST_GUILESS_MAIN(TestRunningApplications)
#include "test_running_applications.moc"
