// The real program, without a display: started once or several times, asked, cleaned, and killed in the middle of
// things.
#include <sched.h>
#include <QtTest>
#include <csignal>

#include "files_searcher/disk_tree.h"
#include "platform/linux/control/dbus_control_client.h"
#include "platform/linux/files/linux_folder_access.h"
#include "platform/linux/sqlite/sqlite_defaults_store.h"
#include "preferences/stored_keys.h"
#include "support/private_bus.h"
#include "support/process_files.h"
#include "support/texts.h"

using namespace halvard;
using namespace halvard::test;

namespace {

constexpr int kPatience = 60'000;
#define WAIT_FOR(process) QTRY_COMPARE_WITH_TIMEOUT((process).state(), QProcess::NotRunning, kPatience)

/// A session of its own for the programs: a bus, folders, and no display.
struct Session {
  Session() {
    environment.insert(text("DBUS_SESSION_BUS_ADDRESS"), bus.address());
    environment.insert(text("QT_QPA_PLATFORM"), text("offscreen"));
    for (const char* name : {"CONFIG_HOME", "CACHE_HOME", "DATA_HOME", "STATE_HOME", "RUNTIME_DIR", "CONFIG_DIRS"}) {
      const QString folder = home.filePath(text(name));
      QDir().mkpath(folder);
      QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
      environment.insert(text("XDG_") + text(name), folder);
    }
  }
  void loseBus() { environment.insert(text("DBUS_SESSION_BUS_ADDRESS"), text("unix:path=/nonexistent")); }

  /// "halvard", or "halvardctl" with its words.
  void start(QProcess& process, const char* commandLine) const {
    process.setProcessEnvironment(environment);
    process.startCommand(text(HALVARD_BIN_DIR "/") + text(commandLine));
  }
  void startProgram() {
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    start(program, "halvard");
    QTRY_VERIFY_WITH_TIMEOUT(client.isProgramRunning(), kPatience);
  }
  bool isPurging() { return client.status().value().value(u"purging").toBool(); }

  /// Pids of the program's purge workers.
  QList<int> workers() const {
    QProcess pgrep;
    pgrep.start(text("pgrep"),
                {text("-P"), QString::number(program.processId()), text("-f"), text("halvard-(purge|pageout)-worker")});
    pgrep.waitForFinished();
    QList<int> pids;
    for (const QByteArray& line : pgrep.readAllStandardOutput().simplified().split(' ')) {
      if (!line.isEmpty()) pids << line.toInt();
    }
    return pids;
  }

  PrivateBus bus;
  QTemporaryDir home;
  QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
  DBusControlClient client{bus.connect()};
  QProcess program;
};

QJsonDocument json(QProcess& process) {
  return QJsonDocument::fromJson(process.readAllStandardOutput());
}

}  // namespace

class TestProgram : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void initTestCase() {
    if (!PrivateBus().isRunning()) QSKIP("no dbus-daemon on this machine");
  }

  void commandLineAsksTheProgramAndOnlyOneCleaningRuns() {
    Session session;
    session.startProgram();
    QTRY_VERIFY(session.client.status().value().value(u"usedPages").toInteger() > 0);
    QProcess status, first, second, history;
    session.start(status, "halvardctl status --json");
    WAIT_FOR(status);
    QVERIFY(json(status)[u"usedPages"].toInteger() > 0);

    session.start(first, "halvardctl clean --json");
    QTRY_VERIFY(session.isPurging());
    session.start(second, "halvardctl clean");
    WAIT_FOR(second);
    QCOMPARE(second.exitCode(), 1);
    QCOMPARE(second.readAllStandardError(), QByteArray("halvardctl: a cleaning is running already\n"));
    QVERIFY(session.workers().size() <= 1);
    WAIT_FOR(first);
    QCOMPARE(first.exitCode(), 0);
    const QJsonObject record = json(first).object();
    session.start(history, "halvardctl history --json");
    WAIT_FOR(history);
    QCOMPARE(json(history).array(), QJsonArray{record});
    const qint64 gained = record[u"usedBefore"].toInteger() - record[u"usedAfter"].toInteger();
    QCOMPARE(record[u"freedBytes"].toInteger(), std::max<qint64>(0, gained));
    session.program.terminate();
    WAIT_FOR(session.program);
    QCOMPARE(session.program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(session.program.exitCode(), 0);
  }

  void deathOfTheWorkerOrTheProgramEndsTheCleaning() {
    Session session;
    session.startProgram();
    QSignalSpy finished(&session.client, &ControlClient::finished);
    QVERIFY(session.client.startCleaning().value());
    QTRY_COMPARE(session.workers().size(), 1);
    ::kill(session.workers().constFirst(), SIGKILL);
    QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, kPatience);
    QVERIFY(session.workers().isEmpty() && !session.isPurging());

    // A killed program leaves no worker, and the command that waits for it says so instead of waiting for ever.
    QProcess waiting;
    session.start(waiting, "halvardctl clean");
    QTRY_COMPARE(session.workers().size(), 1);
    const int worker = session.workers().constFirst();
    session.program.kill();
    WAIT_FOR(session.program);
    QTRY_VERIFY(::kill(worker, 0) != 0);
    WAIT_FOR(waiting);
    QCOMPARE(waiting.exitCode(), 1);
    QCOMPARE(waiting.readAllStandardError(), QByteArray("halvardctl: the program ended before the cleaning did\n"));
  }

  void sizeTakesPathsOfAnyBytes() {
    const Session session;
    DiskTree tree;
    tree.addFolder("not text \xff\n");
    tree.addFile("not text \xff\n/file", 5000);
    QProcess shell;
    shell.setProcessEnvironment(session.environment);
    shell.setWorkingDirectory(QFile::decodeName(tree.path()));
    shell.start(text("sh"), {text("-c"), text("exec " HALVARD_BIN_DIR "/halvardctl size \"$PWD\"/not*")});
    WAIT_FOR(shell);
    QCOMPARE(shell.readAllStandardOutput().trimmed().toULongLong(), sizeByDu(tree.path()));
  }

  void quittingEndsARunningSearchAtOnce() {
    Session session;
    const QString folder = session.environment.value(text("XDG_CONFIG_HOME")) + text("/com.tessmar.Halvard");
    QDir().mkpath(folder);
    {
      // With a granted disk the program searches it from its start on.
      SqliteDefaultsStore store(folder + text("/defaults.db"), text("com.tessmar.Halvard"));
      store.setObject(stored_keys::diskAccessData, {*LinuxFolderAccess().createBookmark("/")});
      QVERIFY(store.synchronize());
    }
    session.startProgram();
    const auto searches = [&] {
      const QDir threads(text("/proc/%1/task").arg(session.program.processId()));
      return std::ranges::any_of(threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot), [](const QString& thread) {
        return ::sched_getscheduler(thread.toInt()) == SCHED_IDLE;
      });
    };
    QTRY_VERIFY_WITH_TIMEOUT(searches(), kPatience);
    QElapsedTimer sinceAsked;
    sinceAsked.start();
    session.program.terminate();
    WAIT_FOR(session.program);
    QCOMPARE(session.program.exitCode(), 0);
    // The walk stops within 0.2 s where it gets the processor; on a busy machine everybody else comes first.
    QVERIFY2(sinceAsked.elapsed() < 2000, qPrintable(QString::number(sinceAsked.elapsed())));
  }

  void asShippedAWholeRunConnectsToUnixSocketsAlone() {
    Session session;
    // Not while it is traced.
    session.environment.insert(text("ASAN_OPTIONS"), text("detect_leaks=0"));
    const QString log = session.home.filePath(text("trace"));
    const QStringList trace = words("-f -e trace=connect,sendto,execve -o") + QStringList{log};
    if (QProcess::execute(text("strace"), trace + words("true")) != 0) QSKIP("needs strace");
    QProcess& program = session.program;
    program.setProcessEnvironment(session.environment);
    program.start(text("strace"), trace + words(HALVARD_BIN_DIR "/halvard"));
    QByteArray errors;
    QTRY_VERIFY_WITH_TIMEOUT((errors += program.readAllStandardError()).contains("no tray shows the icon"), kPatience);
    const auto traced = [&] { return fileText(QFile::encodeName(log)); };
    // The showcase of the first start.
    if (QFile::exists(text(HALVARD_BIN_DIR "/halvard-page-viewer")))
      QTRY_VERIFY_WITH_TIMEOUT(traced().contains("/halvard-page-viewer\""), kPatience);
    const QString parent = QString::number(program.processId());
    QCOMPARE(QProcess::execute(text("pkill"), words("-TERM -P") + QStringList{parent}), 0);
    WAIT_FOR(program);
    QCOMPARE(program.exitCode(), 0);
    QVERIFY2(traced().contains(" connect("), "the session bus");
    for (const QByteArray& line : traced().split('\n')) {
      QVERIFY2(!line.contains(" connect(") || line.contains("AF_UNIX"), line.constData());
      QVERIFY2(!line.contains("AF_INET"), line.constData());
    }
  }

  void ofSeveralStartedAtOnceExactlyOneStays() {
    for (int round = 0; round < 16; ++round) {
      Session session;
      if (round % 2 == 1) session.loseBus();
      std::array<QProcess, 5> copies;
      for (QProcess& copy : copies)
        session.start(copy, "halvard");
      const auto left = [&] { return std::ranges::count(copies, QProcess::NotRunning, &QProcess::state); };
      QTRY_COMPARE_WITH_TIMEOUT(left(), 4, kPatience);
      // It really stays.
      QProcess late;
      session.start(late, "halvard");
      WAIT_FOR(late);
      QCOMPARE(left(), 4);
      for (QProcess& copy : copies) {
        copy.terminate();
        WAIT_FOR(copy);
        // One that leaves by itself does so with 0; one that is told to before it listens ends by the signal.
        QCOMPARE(copy.exitCode(), copy.exitStatus() == QProcess::NormalExit ? 0 : SIGTERM);
      }
    }
  }
};

QTEST_GUILESS_MAIN(TestProgram)
#include "test_program.moc"
