// Real applications of the session, with the processes they start, as the command line lists them and the program
// watches them. Runs inside
// tests/desktop/session. HALVARD_TEST_BROWSER names a browser to start as well.
#include <QtTest>
#include <set>

#include "core/notification_center.h"
#include "platform/linux/applications/linux_running_applications.h"
#include "platform/linux/processes/linux_process_table.h"
#include "process_manager/process_tracker.h"
#include "process_manager/processes_manager.h"
#include "support/owned_process.h"
#include "support/texts.h"

using namespace halvard;

namespace {

constexpr int kPatience = 60'000;

QByteArray outputOf(const char* program, const char* line) {
  QProcess process;
  process.start(text(program), words(line));
  process.waitForFinished();
  return process.readAllStandardOutput().trimmed();
}

/// A process and everything it started: pids and the sum of their resident memory.
struct Family {
  bool operator==(const Family&) const = default;
  qint64 root = 0;
  std::set<qint64> members;
  qint64 bytes = 0;
};

/// What ps says.
Family familyOf(qint64 root) {
  const QByteArrayList lines = outputOf("ps", "-e --no-headers -o pid,ppid,rss").split('\n');
  Family family{root, {root}};
  for (std::size_t known = 0; std::exchange(known, family.members.size()) != family.members.size();) {
    family.bytes = 0;
    for (const QByteArray& line : lines) {
      const QByteArrayList numbers = line.simplified().split(' ');
      const qint64 pid = numbers.value(0).toLongLong();
      if (family.members.contains(numbers.value(1).toLongLong())) family.members.insert(pid);
      if (family.members.contains(pid)) family.bytes += numbers.value(2).toLongLong() * 1024;
    }
  }
  return family;
}

/// What the program says, by the names of the applications; empty unless ps says the same.
std::map<QString, Family> applications() {
  std::map<QString, Family> listed;
  const QByteArray json = outputOf(HALVARD_BIN_DIR "/halvardctl", "top --json");
  for (const QJsonValue& entry : QJsonDocument::fromJson(json).array()) {
    const qint64 pid = entry[u"pid"].toInteger();
    Family family{pid, {pid}, entry[u"bytes"].toInteger()};
    for (const QJsonValue& helper : entry[u"helpers"].toArray())
      family.members.insert(helper.toInteger());
    if (family != familyOf(pid)) return {};
    listed.emplace(entry[u"name"].toString(), family);
  }
  return listed;
}

/// A program of the session; ended with the test.
struct RunningProgram : test::OwnedProcess {
  explicit RunningProgram(const QString& commandLine) {
    setProcessChannelMode(QProcess::ForwardedErrorChannel);
    setStandardOutputFile(QProcess::nullDevice());
    startCommand(commandLine);
  }
};

}  // namespace

class TestRealApplications : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void initTestCase() {
    if (!qEnvironmentVariableIsSet("HALVARD_SESSION_TRAY")) QSKIP("needs the session of tests/desktop/session");
    for (const char* tool : {"xterm", "lxterminal", "geany", "python3"}) {
      if (QStandardPaths::findExecutable(text(tool)).isEmpty()) QSKIP("needs xterm, lxterminal, geany and python3");
    }
  }

  void theListHoldsJustTheApplicationsWithTheSumsOfTheirHelpers() {
    const RunningProgram xterm(text("xterm -e sh -c \"sleep 1000 & sleep 1001 & wait\""));
    const RunningProgram lxterminal(text("lxterminal --no-remote -e \"sh -c 'sleep 1002; true'\""));
    // An editor with a terminal of its own inside.
    const RunningProgram geany(text("geany -i"));
    std::map<QString, Family> listed;
    const auto areThree = [&] {
      listed = applications();
      return listed.size() == 3 && listed[text("Geany")].members.size() > 1 &&
             listed[text("LXTerminal")].members.size() > 1;
    };
    QVERIFY(QTest::qWaitFor(areThree, kPatience));
    QCOMPARE(listed[text("Geany")].root, geany.processId());
    QCOMPARE(listed[text("XTerm")].root, xterm.processId());
    // The terminal, the shell in it, and the two programs that the shell runs.
    QCOMPARE(listed[text("XTerm")].members.size(), 4U);
  }

  void aBrowserIsOneApplication() {
    const QString browser = qEnvironmentVariable("HALVARD_TEST_BROWSER");
    if (browser.isEmpty()) QSKIP("HALVARD_TEST_BROWSER names none");
    const QTemporaryDir profile;
    const RunningProgram program(text("%1 --no-remote --profile %2 about:blank").arg(browser, profile.path()));
    const auto isOne = [&] {
      const auto listed = applications();
      if (listed.size() != 1) return false;
      const Family& family = listed.begin()->second;
      return family.root == program.processId() && family.members.size() > 3;
    };
    QVERIFY(QTest::qWaitFor(isOne, kPatience));  // a second question might find it grown
  }

  // With the real clock: coarse timers are up to a twentieth early or late.
  void aLargeProgramThatQuitsIsToldInTime_data() {
    QTest::addColumn<int>("mebibytes");
    QTest::addColumn<int>("least");
    QTest::addColumn<int>("most");
    QTest::newRow("very large: within one step") << 300 << 0 << 5'500;
    QTest::newRow("large: after a minute") << 100 << 57'000 << 75'000;
  }
  void aLargeProgramThatQuitsIsToldInTime() {
    QFETCH(int, mebibytes);
    QFETCH(int, least);
    QFETCH(int, most);
    SystemClock clock;
    LinuxProcessTable table;
    LinuxRunningApplications running;
    ProcessesManager processes(table, running, clock);
    NotificationCenter notifications;
    ProcessTracker tracker(processes, notifications, clock);
    int told = 0;
    notifications.addObserver(ProcessTracker::HugeProcessTerminatedNotificationName(), this,
                              [&told](const QVariant&) { ++told; });
    // A terminal whose child holds the memory.
    RunningProgram program(
        text("xterm -e python3 -c \"import time; memory = b'x' * (%1 << 20); time.sleep(1000)\"").arg(mebibytes));
    const auto largest = [&] {
      const ApplicationEntries list = processes.getTopProcess(0).get();
      return list.empty() ? 0 : list.front().size.value_or(0);
    };
    QTRY_VERIFY_WITH_TIMEOUT(largest() > ByteCount(mebibytes) << 20, kPatience);
    tracker.updateInfo();
    largest();  // built after the tracker's
    program.terminate();
    program.waitForFinished();
    QElapsedTimer elapsed;
    elapsed.start();
    tracker.startTrackingHugeProcesses();
    QTRY_COMPARE_WITH_TIMEOUT(told, 1, most);
    QVERIFY(elapsed.elapsed() >= least);
  }
};

QTEST_GUILESS_MAIN(TestRealApplications)
#include "test_real_applications.moc"
