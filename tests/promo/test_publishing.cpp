// The real program as shipped, and what it does to the network: nothing.
#include <QDir>
#include <QProcess>
#include <QTemporaryDir>
#include <QtTest>

#include "support/private_bus.h"

using namespace halvard;

namespace {

QByteArray content(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The program, started for the first time by a user with a home of its own.
struct Account {
  QTemporaryDir home;
  test::PrivateBus bus;
  QProcess program;

  Account() {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), bus.address());
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0"));  // not while it is traced
    for (const char* name : {"CONFIG_HOME", "CACHE_HOME", "DATA_HOME", "STATE_HOME", "RUNTIME_DIR", "CONFIG_DIRS"}) {
      const QString folder = home.filePath(QString::fromLatin1(name));
      QDir().mkpath(folder);
      QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
      environment.insert(QStringLiteral("XDG_") + QString::fromLatin1(name), folder);
    }
    program.setProcessEnvironment(environment);
  }
  ~Account() {
    if (program.state() == QProcess::NotRunning) return;
    program.kill();
    program.waitForFinished();
  }
};

}  // namespace

class TestPublishing : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void asShippedAWholeRunConnectsToUnixSocketsAlone() {
    Account account;
    const QString log = account.home.filePath(QStringLiteral("trace"));
    const QStringList trace{QStringLiteral("-f"), QStringLiteral("-e"), QStringLiteral("trace=connect,sendto,execve"),
                            QStringLiteral("-o"), log};
    if (QProcess::execute(QStringLiteral("strace"), trace + QStringList(QStringLiteral("true"))) != 0)
      QSKIP("needs strace");
    account.program.start(QStringLiteral("strace"), trace + QStringList(QStringLiteral(HALVARD_BIN_DIR "/halvard")));
    QByteArray errors;
    QTRY_VERIFY_WITH_TIMEOUT((errors += account.program.readAllStandardError()).contains("no tray shows the icon"),
                             30000);
    // The showcase of the first start.
    if (QFile::exists(QStringLiteral(HALVARD_BIN_DIR "/halvard-page-viewer")))
      QTRY_VERIFY_WITH_TIMEOUT(content(log).contains("/halvard-page-viewer\""), 30000);
    const QString parent = QString::number(account.program.processId());
    QCOMPARE(QProcess::execute(QStringLiteral("pkill"), {QStringLiteral("-TERM"), QStringLiteral("-P"), parent}), 0);
    QTRY_COMPARE_WITH_TIMEOUT(account.program.state(), QProcess::NotRunning, 30000);
    QCOMPARE(account.program.exitCode(), 0);
    QVERIFY2(content(log).contains(" connect("), "the session bus");
    for (const QByteArray& line : content(log).split('\n')) {
      QVERIFY2(!line.contains(" connect(") || line.contains("AF_UNIX"), line.constData());
      QVERIFY2(!line.contains("AF_INET"), line.constData());
    }
  }
};

QTEST_GUILESS_MAIN(TestPublishing)
#include "test_publishing.moc"
