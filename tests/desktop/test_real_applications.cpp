// Real applications of the session, with the processes they start, as the program lists and watches them. Runs inside
// tests/desktop/session. HALVARD_TEST_BROWSER names a browser to start as well.
#include <unistd.h>
#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QtTest>
#include <map>
#include <memory>
#include <set>

#include "core/notification_center.h"
#include "platform/linux/applications/linux_running_applications.h"
#include "platform/linux/processes/linux_process_table.h"
#include "process_manager/process_tracker.h"
#include "process_manager/processes_manager.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

constexpr int kPatience = 60'000;

QByteArray readAll(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// What the files of /proc say about a process and everything it started: pids and the sum of their resident memory.
struct Family {
  bool operator==(const Family&) const = default;
  std::set<std::int32_t> members;
  ByteCount size = 0;
};

Family familyOf(std::int32_t root) {
  std::multimap<std::int32_t, std::int32_t> children;
  for (const QString& name : QDir(QStringLiteral("/proc")).entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
    const QByteArray stat = readAll(QStringLiteral("/proc/%1/stat").arg(name));
    const qsizetype end = stat.lastIndexOf(')');
    if (end > 0) children.emplace(stat.mid(end + 4).split(' ').value(0).toInt(), name.toInt());
  }
  Family family;
  std::vector<std::int32_t> open{root};
  while (!open.empty()) {
    const std::int32_t pid = open.back();
    open.pop_back();
    family.members.insert(pid);
    const QByteArray statm = readAll(QStringLiteral("/proc/%1/statm").arg(pid));
    family.size += statm.split(' ').value(1).toULongLong() * static_cast<ByteCount>(::sysconf(_SC_PAGESIZE));
    const auto [first, last] = children.equal_range(pid);
    for (auto child = first; child != last; ++child)
      open.push_back(child->second);
  }
  return family;
}

/// A program of the session; ended with the test.
class RunningProgram {
 public:
  RunningProgram(const QString& program, const QStringList& arguments) {
    m_process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    m_process.setStandardOutputFile(QProcess::nullDevice());
    m_process.start(program, arguments);
  }
  ~RunningProgram() { end(); }

  void end() {
    m_process.terminate();
    if (!m_process.waitForFinished(10'000)) m_process.kill();
    m_process.waitForFinished(10'000);
  }
  std::int32_t pid() const { return static_cast<std::int32_t>(m_process.processId()); }

 private:
  QProcess m_process;
};

bool isInstalled(const QString& program) {
  return !QStandardPaths::findExecutable(program).isEmpty();
}

}  // namespace

class TestRealApplications : public QObject {
  Q_OBJECT

 private:
  SystemClock m_clock;
  LinuxProcessTable m_table;
  LinuxRunningApplications m_applications;
  ProcessesManager m_processes{m_table, m_applications, m_clock};

  /// A list built now, as name -> entry.
  std::map<QString, ApplicationEntry> list() {
    ApplicationList result;
    m_processes.getTopProcessCompletion(this, [&result](const ApplicationList& list) { result = list; });
    std::map<QString, ApplicationEntry> entries;
    if (!QTest::qWaitFor([&result] { return result != nullptr; }, kPatience)) return entries;
    for (const ApplicationEntry& entry : *result)
      entries.emplace(entry.name.value_or(QString()), entry);
    return entries;
  }

  /// True when the list names just the helpers that /proc shows, with the same sum, while nothing changed meanwhile.
  bool listsWholeFamilies(const QStringList& names) {
    std::map<QString, Family> before;
    for (const auto& [name, entry] : list())
      before.emplace(name, familyOf(entry.pid));
    const auto entries = list();
    QStringList listed;
    for (const auto& [name, entry] : entries) {
      listed << name;
      std::set<std::int32_t> members(entry.helpers.begin(), entry.helpers.end());
      members.insert(entry.pid);
      const Family family{members, entry.size.value_or(0)};
      if (family != before[name] || family != familyOf(entry.pid) || members.size() < 2) return false;
    }
    return listed == names;
  }

  /// Starts a terminal whose child holds that much memory, and has the tracker see it.
  std::unique_ptr<RunningProgram> startTrackedProgram(ProcessTracker& tracker, ByteCount size) {
    const QString script = QStringLiteral("import time; memory = b'x' * %1; time.sleep(1000)").arg(size);
    auto program = std::make_unique<RunningProgram>(
        QStringLiteral("xterm"),
        QStringList{QStringLiteral("-e"), QStringLiteral("python3"), QStringLiteral("-c"), script});
    const auto isListed = [&] { return list()[QStringLiteral("XTerm")].size.value_or(0) > size; };
    if (!QTest::qWaitFor(isListed, kPatience)) return nullptr;
    tracker.updateInfo();
    list();  // built after the tracker's
    return program;
  }

 private Q_SLOTS:
  void initTestCase() {
    if (!qEnvironmentVariableIsSet("HALVARD_SESSION_TRAY")) QSKIP("needs the session of tests/desktop/session");
    for (const char* tool : {"xterm", "lxterminal", "geany", "python3"}) {
      if (!isInstalled(QString::fromLatin1(tool))) QSKIP("needs xterm, lxterminal, geany and python3");
    }
  }

  void theListHoldsJustTheApplicationsWithTheSumsOfTheirHelpers() {
    const QString children = QStringLiteral("sleep 1000 & sleep 1001 & wait");
    const RunningProgram xterm(QStringLiteral("xterm"),
                               {QStringLiteral("-e"), QStringLiteral("sh"), QStringLiteral("-c"), children});
    const RunningProgram lxterminal(QStringLiteral("lxterminal"), {QStringLiteral("--no-remote"), QStringLiteral("-e"),
                                                                   QStringLiteral("sh -c 'sleep 1002; true'")});
    // An editor with a terminal of its own inside.
    const RunningProgram geany(QStringLiteral("geany"), {QStringLiteral("-i")});
    const QStringList names{QStringLiteral("Geany"), QStringLiteral("LXTerminal"), QStringLiteral("XTerm")};
    QTRY_VERIFY_WITH_TIMEOUT(listsWholeFamilies(names), kPatience);
    QCOMPARE(list()[QStringLiteral("XTerm")].pid, xterm.pid());
    QCOMPARE(list()[QStringLiteral("Geany")].pid, geany.pid());
    // The terminal, the shell in it, and the two programs that the shell runs.
    QCOMPARE(list()[QStringLiteral("XTerm")].helpers.size(), 3U);
  }

  void aBrowserIsOneApplication() {
    const QString browser = qEnvironmentVariable("HALVARD_TEST_BROWSER");
    if (browser.isEmpty()) QSKIP("HALVARD_TEST_BROWSER names none");
    const QTemporaryDir profile;
    const RunningProgram program(browser, {QStringLiteral("--no-remote"), QStringLiteral("--profile"), profile.path(),
                                           QStringLiteral("about:blank")});
    const auto isOne = [&] {
      const auto entries = list();
      if (entries.size() != 1) return false;
      const ApplicationEntry& entry = entries.begin()->second;
      std::set<std::int32_t> members(entry.helpers.begin(), entry.helpers.end());
      members.insert(entry.pid);
      return entry.pid == program.pid() && members.size() > 3 && members == familyOf(entry.pid).members;
    };
    QTRY_VERIFY_WITH_TIMEOUT(isOne(), kPatience);
  }

  void aVeryLargeProgramThatQuitsIsToldWithinOneStep() {
    NotificationCenter notifications;
    ProcessTracker tracker(m_processes, notifications, m_clock);
    int told = 0;
    notifications.addObserver(ProcessTracker::HugeProcessTerminatedNotificationName(), this,
                              [&told](const QVariant&) { ++told; });
    const auto program = startTrackedProgram(tracker, 300ULL << 20);
    QVERIFY(program);
    program->end();
    tracker.startTrackingHugeProcesses();
    // The next step, five seconds at most and a coarse timer's twentieth of them later.
    QTRY_COMPARE_WITH_TIMEOUT(told, 1, 5'500);
  }

  void aLargeProgramThatQuitsIsToldAfterAMinute() {
    NotificationCenter notifications;
    ProcessTracker tracker(m_processes, notifications, m_clock);
    int told = 0;
    notifications.addObserver(ProcessTracker::HugeProcessTerminatedNotificationName(), this,
                              [&told](const QVariant&) { ++told; });
    const auto program = startTrackedProgram(tracker, 100ULL << 20);
    QVERIFY(program);
    program->end();
    QElapsedTimer elapsed;
    elapsed.start();
    tracker.startTrackingHugeProcesses();
    QTRY_COMPARE_WITH_TIMEOUT(told, 1, 75'000);
    // Coarse timers are at most a twentieth early.
    QVERIFY(elapsed.elapsed() >= 57'000);
    QCOMPARE(told, 1);
  }
};

QTEST_GUILESS_MAIN(TestRealApplications)
#include "test_real_applications.moc"
