// The real program, without a display: started, asked, cleaned, and killed in the middle of things.
#include <sched.h>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include <csignal>

#include "files_searcher/disk_tree.h"
#include "platform/linux/control/dbus_control_client.h"
#include "platform/linux/files/linux_folder_access.h"
#include "platform/linux/sqlite/sqlite_defaults_store.h"
#include "preferences/stored_keys.h"
#include "support/private_bus.h"

using namespace halvard;
using halvard::test::PrivateBus;

namespace {

const QString kBin = QStringLiteral(HALVARD_BIN_DIR "/");

/// Pids of the running purge workers whose parent is `parent`.
QList<qint64> workersOf(qint64 parent) {
  QProcess pgrep;
  pgrep.start(QStringLiteral("pgrep"), {QStringLiteral("-P"), QString::number(parent), QStringLiteral("-f"),
                                        QStringLiteral("halvard-(purge|pageout)-worker")});
  pgrep.waitForFinished();
  QList<qint64> pids;
  for (const QByteArray& line : pgrep.readAllStandardOutput().split('\n')) {
    if (!line.isEmpty()) pids << line.toLongLong();
  }
  return pids;
}

bool isAlive(qint64 pid) {
  return ::kill(static_cast<pid_t>(pid), 0) == 0;
}

struct Session {
  Session() {
    environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    for (const char* name :
         {"XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_DATA_HOME", "XDG_STATE_HOME", "XDG_RUNTIME_DIR"}) {
      const QString folder = home.filePath(QString::fromLatin1(name));
      QDir().mkpath(folder);
      QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
      environment.insert(QString::fromLatin1(name), folder);
    }
  }

  void start(QProcess& program) {
    program.setProcessEnvironment(environment);
    program.setProcessChannelMode(QProcess::ForwardedErrorChannel);
    program.start(kBin + QStringLiteral("halvard"), QStringList());
    QVERIFY(program.waitForStarted());
  }

  QProcess* ctl(const QStringList& arguments, QObject* owner) {
    auto* process = new QProcess(owner);
    process->setProcessEnvironment(environment);
    process->start(kBin + QStringLiteral("halvardctl"), arguments);
    return process;
  }

  PrivateBus bus;
  QTemporaryDir home;
  QProcessEnvironment environment;
};

QJsonObject json(QProcess& process) {
  return QJsonDocument::fromJson(process.readAllStandardOutput()).object();
}

#define WAIT_FOR(process) QTRY_COMPARE_WITH_TIMEOUT((process)->state(), QProcess::NotRunning, 60000)

}  // namespace

class TestProgram : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void initTestCase() {
    if (!PrivateBus().isRunning()) QSKIP("no dbus-daemon on this machine");
  }

  void commandLineAsksTheProgramAndOnlyOneCleaningRuns() {
    Session session;
    QProcess program;
    session.start(program);
    DBusControlClient client(session.bus.connect());
    QTRY_VERIFY_WITH_TIMEOUT(client.isProgramRunning(), 20000);
    QTRY_VERIFY(client.status().value().value(QStringLiteral("usedPages")).toInteger() > 0);
    QProcess* status = session.ctl({QStringLiteral("status"), QStringLiteral("--json")}, this);
    WAIT_FOR(status);
    QVERIFY(json(*status).value(QStringLiteral("usedPages")).toInteger() > 0);

    QProcess* first = session.ctl({QStringLiteral("clean"), QStringLiteral("--json")}, this);
    QTRY_VERIFY(client.status().value().value(QStringLiteral("purging")).toBool());
    QProcess* second = session.ctl({QStringLiteral("clean")}, this);
    WAIT_FOR(second);
    QCOMPARE(second->exitCode(), 1);
    QCOMPARE(second->readAllStandardError(), QByteArray("halvardctl: a cleaning is running already\n"));
    QVERIFY(workersOf(program.processId()).size() <= 1);
    WAIT_FOR(first);
    QCOMPARE(first->exitCode(), 0);
    const QJsonObject record = json(*first);
    QProcess* history = session.ctl({QStringLiteral("history"), QStringLiteral("--json")}, this);
    WAIT_FOR(history);
    QCOMPARE(QJsonDocument::fromJson(history->readAllStandardOutput()).array(), QJsonArray{record});
    QCOMPARE(record.value(QStringLiteral("freedBytes")).toInteger(),
             std::max<qint64>(0, record.value(QStringLiteral("usedBefore")).toInteger() -
                                     record.value(QStringLiteral("usedAfter")).toInteger()));
    program.terminate();
    WAIT_FOR(&program);
    QCOMPARE(program.exitStatus(), QProcess::NormalExit);
    QCOMPARE(program.exitCode(), 0);
  }

  void killedWorkerEndsTheCleaningNormally() {
    Session session;
    QProcess program;
    session.start(program);
    DBusControlClient client(session.bus.connect());
    QTRY_VERIFY_WITH_TIMEOUT(client.isProgramRunning(), 20000);
    QSignalSpy finished(&client, &ControlClient::finished);
    QVERIFY(client.startCleaning().value());
    QTRY_COMPARE(workersOf(program.processId()).size(), 1);
    ::kill(static_cast<pid_t>(workersOf(program.processId()).constFirst()), SIGKILL);
    QTRY_COMPARE_WITH_TIMEOUT(finished.size(), 1, 60000);
    QCOMPARE(workersOf(program.processId()).size(), 0);
    QVERIFY(!client.status().value().value(QStringLiteral("purging")).toBool());
    program.kill();
    WAIT_FOR(&program);
  }

  void sizeTakesPathsOfAnyBytes() {
    Session session;
    DiskTree tree;
    tree.addFolder("not text \xff\n");
    tree.addFile("not text \xff\n/file", 5000);
    QProcess shell;
    shell.setProcessEnvironment(session.environment);
    shell.setWorkingDirectory(QFile::decodeName(tree.path()));
    shell.start(QStringLiteral("sh"), {QStringLiteral("-c"), QStringLiteral("exec \"$0\" size \"$PWD\"/not*"),
                                       kBin + QStringLiteral("halvardctl")});
    WAIT_FOR(&shell);
    QCOMPARE(shell.readAllStandardOutput().trimmed().toULongLong(), sizeByDu(tree.path()));
    QProcess* missing = session.ctl({QStringLiteral("size"), QStringLiteral("/no/such/folder")}, this);
    WAIT_FOR(missing);
    QCOMPARE(missing->exitCode(), 1);
  }

  void quittingEndsARunningSearchAtOnce() {
    Session session;
    const QString folder =
        session.environment.value(QStringLiteral("XDG_CONFIG_HOME")) + QStringLiteral("/com.tessmar.Halvard");
    QDir().mkpath(folder);
    {
      // With a granted disk the program searches it from its start on.
      SqliteDefaultsStore store(folder + QStringLiteral("/defaults.db"), QStringLiteral("com.tessmar.Halvard"));
      store.setObject(stored_keys::diskAccessData, {*LinuxFolderAccess().createBookmark("/")});
      QVERIFY(store.synchronize());
    }
    QProcess program;
    session.start(program);
    const auto searches = [&] {
      const QDir threads(QStringLiteral("/proc/%1/task").arg(program.processId()));
      for (const QString& thread : threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
        if (::sched_getscheduler(thread.toInt()) == SCHED_IDLE) return true;
      }
      return false;
    };
    QTRY_VERIFY_WITH_TIMEOUT(searches(), 20000);
    QElapsedTimer sinceAsked;
    sinceAsked.start();
    program.terminate();
    WAIT_FOR(&program);
    QCOMPARE(program.exitCode(), 0);
    // The walk stops within 0.2 s where it gets the processor; on a busy machine everybody else comes first.
    QVERIFY2(sinceAsked.elapsed() < 2000, qPrintable(QString::number(sinceAsked.elapsed())));
  }

  void killedProgramLeavesNoWorker() {
    Session session;
    QProcess program;
    session.start(program);
    DBusControlClient client(session.bus.connect());
    QTRY_VERIFY_WITH_TIMEOUT(client.isProgramRunning(), 20000);
    QProcess* waiting = session.ctl({QStringLiteral("clean")}, this);
    QTRY_COMPARE(workersOf(program.processId()).size(), 1);
    const qint64 worker = workersOf(program.processId()).constFirst();
    program.kill();
    WAIT_FOR(&program);
    QTRY_VERIFY(!isAlive(worker));
    // The command that waited for it says so instead of waiting for ever.
    WAIT_FOR(waiting);
    QCOMPARE(waiting->exitCode(), 1);
    QCOMPARE(waiting->readAllStandardError(), QByteArray("halvardctl: the program ended before the cleaning did\n"));
  }

  void programRunsOnWithoutASessionBus() {
    Session session;
    session.environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=/nonexistent"));
    QProcess program;
    program.setProcessChannelMode(QProcess::SeparateChannels);
    program.setProcessEnvironment(session.environment);
    program.start(kBin + QStringLiteral("halvard"), QStringList());
    // After three seconds without a tray it says so, and stays.
    QByteArray errors;
    connect(&program, &QProcess::readyReadStandardError, this, [&] { errors += program.readAllStandardError(); });
    QTRY_VERIFY_WITH_TIMEOUT(errors.contains("no tray shows the icon"), 20000);
    QCOMPARE(program.state(), QProcess::Running);
    QProcess* status = session.ctl({QStringLiteral("status"), QStringLiteral("--json")}, this);
    WAIT_FOR(status);
    QCOMPARE(status->exitCode(), 0);
    program.terminate();
    WAIT_FOR(&program);
    QCOMPARE(program.exitCode(), 0);
  }
};

QTEST_GUILESS_MAIN(TestProgram)
#include "test_program.moc"
