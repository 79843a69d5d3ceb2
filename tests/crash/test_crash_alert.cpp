#include <QElapsedTimer>
#include <QStandardPaths>
#include <QTest>

#include "crash/crashing_child.h"
#include "support/virtual_display.h"

using namespace halvard::test;

namespace {

void writeFile(const QString& path, const QByteArray& content, bool executable = false) {
  QDir().mkpath(path.section(QLatin1Char('/'), 0, -2));
  QFile file(path);
  if (!file.open(QIODevice::WriteOnly)) qFatal("cannot write a file of the test");
  file.write(content);
  if (executable) file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

/// A mail program that keeps the address it is opened with.
void installMailProgram(const CrashingChild& child) {
  const QString program = child.homePath() + QStringLiteral("/mailer");
  writeFile(program, "#!/bin/sh\nprintf %s \"$1\" > \"$HOME/mail.new\"\nmv \"$HOME/mail.new\" \"$HOME/mail\"\n", true);
  writeFile(child.homePath() + QStringLiteral("/data/applications/mailer.desktop"),
            "[Desktop Entry]\nType=Application\nName=Mailer\nMimeType=x-scheme-handler/mailto;\nExec=" +
                program.toUtf8() + " %u\n");
  writeFile(child.homePath() + QStringLiteral("/config/mimeapps.list"),
            "[Default Applications]\nx-scheme-handler/mailto=mailer.desktop\n");
}

}  // namespace

/// Real programs that really die, with somebody at the display.
class TestCrashAlert : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<VirtualDisplay> m_display;
  std::unique_ptr<CrashingChild> m_child;

  /// What xdotool prints.
  QString xdotool(const QStringList& arguments) const {
    QProcess tool;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(m_display->name()));
    tool.setProcessEnvironment(environment);
    tool.start(QStringLiteral("xdotool"), arguments);
    tool.waitForFinished(10'000);
    return QString::fromUtf8(tool.readAllStandardOutput());
  }

  /// The visible windows with the alert's title.
  QStringList alerts() const {
    return xdotool({QStringLiteral("search"), QStringLiteral("--onlyvisible"), QStringLiteral("--name"),
                    QStringLiteral("^Halvard$")})
        .split(QLatin1Char('\n'), Qt::SkipEmptyParts);
  }

  void start(const QString& kind, const QString& silence = QStringLiteral("20000")) {
    m_child->start({kind, QStringLiteral(HALVARD_BIN_DIR "/halvard-crash-reporter"), silence});
    QTRY_COMPARE_WITH_TIMEOUT(alerts().size(), 1, 20'000);
  }

  /// Waits for the alert and gives it these keys.
  void answer(const QStringList& keys) {
    const QString window = alerts().value(0);
    xdotool({QStringLiteral("windowfocus"), QStringLiteral("--sync"), window});
    xdotool(QStringList{QStringLiteral("key")} + keys);
  }

  void endsInOrder() {
    const CrashingChild::End end = m_child->waitForEnd();
    QVERIFY2(end.exited && end.code == 0, end.errorOutput);
    QTRY_VERIFY(m_child->processesLeft().empty());
    QCOMPARE(m_child->crashesCount(), 1);
    QCOMPARE(m_child->reports().size(), 1);
  }

 private Q_SLOTS:
  void initTestCase() {
    m_display = std::make_unique<VirtualDisplay>();
    if (!m_display->isRunning() || QStandardPaths::findExecutable(QStringLiteral("xdotool")).isEmpty())
      QSKIP("Xvfb and xdotool are needed to see and answer the alert");
  }

  void init() {
    m_child = std::make_unique<CrashingChild>();
    m_child->environment.insert(QStringLiteral("DISPLAY"), QString::fromLatin1(m_display->name()));
    installMailProgram(*m_child);
  }

  void cleanup() { m_child.reset(); }

  void answersAreFollowed_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QStringList>("keys");
    const QString null = QStringLiteral("null");
    const QString tab = QStringLiteral("Tab");
    const QString space = QStringLiteral("space");
    const QStringList escape{QStringLiteral("Escape")};
    QTest::newRow("Relaunch") << null << QStringList{QStringLiteral("Return")};
    QTest::newRow("Report Us...") << null << QStringList{tab, space};
    QTest::newRow("Ignore") << null << QStringList{tab, tab, space};
    QTest::newRow("one alert of two threads") << QStringLiteral("two-threads") << escape;
    QTest::newRow("in spite of a grab") << QStringLiteral("grab") << escape;
  }

  void answersAreFollowed() {
    QFETCH(QString, kind);
    QFETCH(QStringList, keys);
    const QByteArray answered = QTest::currentDataTag();
    start(kind);
    QVERIFY(m_child->isRunning());
    QCOMPARE(m_child->crashesCount(), 1);
    answer(keys);
    endsInOrder();
    const QFile relaunched(m_child->reportFolder() + QStringLiteral("/relaunched"));
    if (answered == "Relaunch") QTRY_VERIFY(relaunched.exists());
    QCOMPARE(relaunched.exists(), answered == "Relaunch");
    QFile mail(m_child->homePath() + QStringLiteral("/mail"));
    if (answered == "Report Us...") QTRY_VERIFY(mail.exists());
    QCOMPARE(mail.open(QIODevice::ReadOnly), answered == "Report Us...");
    if (!mail.isOpen()) return;
    const QByteArray address = mail.readAll();
    QVERIFY2(address.startsWith("mailto:?SUBJECT=Halvard%20Crash%20Report&BODY="), address);
    QVERIFY2(address.contains("dereferenceNull"), address);
  }

  void alertMayStayLongerThanTheSilenceLimit() {
    start(QStringLiteral("abort"), QStringLiteral("2500"));
    QElapsedTimer open;
    open.start();
    QTRY_VERIFY_WITH_TIMEOUT(open.hasExpired(4000), 10'000);
    QVERIFY(m_child->isRunning());
    QCOMPARE(alerts().size(), 1);
    answer({QStringLiteral("Escape")});
    endsInOrder();
  }

  void displayThatQtCannotOpenCostsOnlyTheAlert() {
    m_child->environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("nonsense"));
    const CrashingChild::End end = m_child->run({QStringLiteral("null")});
    QCOMPARE(end.errorOutput.count("quit unexpectedly (signal 11); the report is in "), 1);
    endsInOrder();
    QVERIFY(m_child->reports().constFirst().contains(QStringLiteral("dereferenceNull")));
  }

  void reporterLeavesWithTheProcessItReports() {
    start(QStringLiteral("null"));
    kill(static_cast<pid_t>(m_child->processId()), SIGTERM);
    QCOMPARE(m_child->waitForEnd().code, SIGTERM);
    QTRY_VERIFY(m_child->processesLeft().empty());
  }
};

QTEST_GUILESS_MAIN(TestCrashAlert)
#include "test_crash_alert.moc"
