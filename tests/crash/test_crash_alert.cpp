#include <QtTest>

#include "crash/crashing_child.h"
#include "support/virtual_display.h"

using namespace halvard;
using namespace halvard::test;

namespace {

/// A mail program that keeps the address it is opened with.
void installMailProgram(const TestFolder& home) {
  const QString program =
      home.write("mailer", "#!/bin/sh\nprintf %s \"$1\" > \"$HOME/mail.new\"\nmv \"$HOME/mail.new\" \"$HOME/mail\"\n");
  home.write("data/applications/mailer.desktop",
             "[Desktop Entry]\nType=Application\nName=Mailer\nMimeType=x-scheme-handler/mailto;\nExec=" +
                 program.toUtf8() + " %u\n");
  home.write("config/mimeapps.list", "[Default Applications]\nx-scheme-handler/mailto=mailer.desktop\n");
}

}  // namespace

/// Real programs that really die, with somebody at the display.
class TestCrashAlert : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<VirtualDisplay> m_display;
  std::unique_ptr<CrashingChild> m_child;

  /// What xdotool prints.
  QString xdotool(const QString& line) const {
    OwnedProcess* const tool = m_display->start(text("xdotool"), line.split(u' '));
    tool->waitForFinished(10'000);
    const QString printed = QString::fromUtf8(tool->readAllStandardOutput());
    m_display->end(tool);
    return printed;
  }

  /// The visible windows with the alert's title.
  QStringList alerts() const {
    return xdotool(text("search --onlyvisible --name ^Halvard$")).split(u'\n', Qt::SkipEmptyParts);
  }

  void start(const QString& kind, const QString& silence = text("20000")) {
    m_child->start({kind, text(HALVARD_BIN_DIR "/halvard-crash-reporter"), silence});
    QTRY_COMPARE_WITH_TIMEOUT(alerts().size(), 1, 20'000);
  }

  /// Waits for the alert and gives it these keys.
  void answer(const QString& keys) {
    xdotool(text("windowfocus --sync ") + alerts().value(0));
    xdotool(text("key ") + keys);
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
    if (!m_display->isRunning() || QStandardPaths::findExecutable(text("xdotool")).isEmpty())
      QSKIP("Xvfb and xdotool are needed to see and answer the alert");
  }

  void init() {
    m_child = std::make_unique<CrashingChild>();
    m_child->environment.insert(text("DISPLAY"), QString::fromLatin1(m_display->name()));
    installMailProgram(m_child->home);
  }

  void answersAreFollowed_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("keys");
    QTest::newRow("Relaunch") << text("null") << text("Return");
    QTest::newRow("Report Us...") << text("null") << text("Tab space");
    QTest::newRow("Ignore") << text("null") << text("Tab Tab space");
    QTest::newRow("one alert of two threads") << text("two-threads") << text("Escape");
    QTest::newRow("in spite of a grab") << text("grab") << text("Escape");
  }

  void answersAreFollowed() {
    QFETCH(QString, kind);
    QFETCH(QString, keys);
    const QByteArray answered = QTest::currentDataTag();
    start(kind);
    QVERIFY(m_child->isRunning());
    QCOMPARE(m_child->crashesCount(), 1);
    answer(keys);
    endsInOrder();
    const QFile relaunched(m_child->reportFolder() + text("/relaunched"));
    if (answered == "Relaunch") QTRY_VERIFY(relaunched.exists());
    QCOMPARE(relaunched.exists(), answered == "Relaunch");
    const QFile mail(m_child->home.path("mail"));
    if (answered == "Report Us...") QTRY_VERIFY(mail.exists());
    QCOMPARE(mail.exists(), answered == "Report Us...");
    const QByteArray address = m_child->home.read("mail");
    QCOMPARE(address.startsWith("mailto:?SUBJECT=Halvard%20Crash%20Report&BODY="), mail.exists());
    QCOMPARE(address.contains("dereferenceNull"), mail.exists());
  }

  void alertMayStayLongerThanTheSilenceLimit() {
    start(text("abort"), text("2500"));
    QElapsedTimer open;
    open.start();
    QTRY_VERIFY_WITH_TIMEOUT(open.hasExpired(4000), 10'000);
    QVERIFY(m_child->isRunning());
    QCOMPARE(alerts().size(), 1);
    answer(text("Escape"));
    endsInOrder();
  }

  void displayThatQtCannotOpenCostsOnlyTheAlert() {
    m_child->environment.insert(text("QT_QPA_PLATFORM"), text("nonsense"));
    const CrashingChild::End end = m_child->run({text("null")});
    QCOMPARE(end.errorOutput.count("quit unexpectedly (signal 11); the report is in "), 1);
    endsInOrder();
    QVERIFY(m_child->reports().constFirst().contains(text("dereferenceNull")));
  }

  void reporterLeavesWithTheProcessItReports() {
    start(text("null"));
    kill(static_cast<pid_t>(m_child->processId()), SIGTERM);
    QCOMPARE(m_child->waitForEnd().code, SIGTERM);
    QTRY_VERIFY(m_child->processesLeft().empty());
  }
};

QTEST_GUILESS_MAIN(TestCrashAlert)
#include "test_crash_alert.moc"
