// The real program, and what it does to the network: nothing as shipped, and the worked example of docs/publishing.md.
#include <QProcess>
#include <QRegularExpression>
#include <QTemporaryDir>
#include <QtTest>

#include "support/private_bus.h"
#include "support/zip_builder.h"

using namespace halvard;

namespace {

const QString kProgram = QStringLiteral(HALVARD_BIN_DIR "/halvard");

QByteArray content(const QString& path) {
  QFile file(path);
  return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

int run(const QString& program, const QStringList& arguments) {
  QProcess process;
  process.setStandardErrorFile(QProcess::nullDevice());
  process.start(program, arguments);
  return process.waitForFinished() ? process.exitCode() : -1;
}

int publish(const QStringList& arguments) {
  return run(QStringLiteral(PUBLISHING "/publish"), arguments);
}

/// A user who starts the program for the first time.
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
  bool waitForWords(const char* words) {
    QByteArray errors;
    return QTest::qWaitFor([&] { return (errors += program.readAllStandardError()).contains(words); }, 30000);
  }
  QByteArray page(const char* name) const {
    return content(home.filePath(QStringLiteral("DATA_HOME/Halvard/") + QString::fromLatin1(name)));
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
    if (run(QStringLiteral("strace"), trace + QStringList(QStringLiteral("true"))) != 0) QSKIP("needs strace");
    account.program.start(QStringLiteral("strace"), trace + QStringList(kProgram));
    QVERIFY(account.waitForWords("no tray shows the icon"));
    // The showcase of the first start.
    const auto hasViewer = [&log] { return content(log).contains("/halvard-page-viewer\""); };
    if (QFile::exists(QStringLiteral(HALVARD_BIN_DIR "/halvard-page-viewer")))
      QTRY_VERIFY_WITH_TIMEOUT(hasViewer(), 30000);
    QVERIFY(run(QStringLiteral("pkill"),
                {QStringLiteral("-TERM"), QStringLiteral("-P"), QString::number(account.program.processId())}) == 0);
    QTRY_COMPARE_WITH_TIMEOUT(account.program.state(), QProcess::NotRunning, 30000);
    QCOMPARE(account.program.exitCode(), 0);
    int connections = 0;
    for (const QByteArray& line : content(log).split('\n')) {
      const bool connects = line.contains(" connect(");
      connections += connects ? 1 : 0;
      QVERIFY2(!connects || line.contains("AF_UNIX"), line.constData());
      QVERIFY2(!line.contains("AF_INET"), line.constData());
    }
    QVERIFY2(connections > 0, "the session bus");
  }

  void whatIsPublishedReachesTheUser() {
    const QTemporaryDir feeds;
    QProcess server;
    server.setStandardErrorFile(QProcess::nullDevice());
    server.start(QStringLiteral("python3"),
                 {QStringLiteral("-u"), QStringLiteral("-m"), QStringLiteral("http.server"), QStringLiteral("--bind"),
                  QStringLiteral("127.0.0.1"), QStringLiteral("--directory"), feeds.path(), QStringLiteral("0")});
    if (!server.waitForReadyRead()) QSKIP("needs python3");
    const auto address = QRegularExpression(QStringLiteral("http://127.0.0.1:[0-9]+/"))
                             .match(QString::fromUtf8(server.readAllStandardOutput()));
    QVERIFY(address.hasMatch());
    const QString example = QStringLiteral(PUBLISHING "/example/");
    QCOMPARE(publish({QStringLiteral("news"), QStringLiteral("1"), example + QStringLiteral("news"), feeds.path(),
                      QStringLiteral("420"), QStringLiteral("360")}),
             0);
    QCOMPARE(publish({QStringLiteral("tools"), QStringLiteral("1"), example + QStringLiteral("tools"), feeds.path()}),
             0);

    Account account;
    QDir(account.home.path()).mkpath(QStringLiteral("CONFIG_DIRS/halvard"));
    QVERIFY(writeFile(account.home.filePath(QStringLiteral("CONFIG_DIRS/halvard/branding.ini")),
                      "[Maker]\nFeedFolder=" + address.captured().toUtf8() + "\n"));
    account.program.start(kProgram, QStringList());
    QTRY_VERIFY_WITH_TIMEOUT(account.page("News2_v1/news.html").contains("An example of news"), 30000);
    QTRY_VERIFY(account.page("Showcase_v1/showcase.html").contains("An example of a showcase"));
    QVERIFY(!account.page("News2_v1/page.css").isEmpty());
    const auto stored = [&](const char* key) {
      QProcess control;
      control.setProcessEnvironment(account.program.processEnvironment());
      control.start(QStringLiteral(HALVARD_BIN_DIR "/halvardctl"),
                    {QStringLiteral("defaults"), QStringLiteral("read"), QString::fromLatin1(key)});
      control.waitForFinished();
      return control.readAllStandardOutput().trimmed();
    };
    QTRY_COMPARE(stored("PROMO_MANAGER:news:version"), QByteArray("1"));
    QCOMPARE(stored("PROMO_MANAGER:news:window_width"), QByteArray("420"));
    QTRY_COMPARE(stored("PROMO_MANAGER:show_case:window_width"), QByteArray("713"));
    server.kill();
    server.waitForFinished();
  }
};

QTEST_GUILESS_MAIN(TestPublishing)
#include "test_publishing.moc"
