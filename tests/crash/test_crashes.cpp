#include <QDir>
#include <QProcess>
#include <QTest>

#include <signal.h>

#include "crash/crashing_child.h"

using halvard::test::CrashingChild;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kHasAddressSanitizer = true;
#else
constexpr bool kHasAddressSanitizer = false;
#endif

QString onlyReport(const CrashingChild& child) {
  const QStringList reports = child.reports();
  return reports.size() == 1 ? reports.front() : QStringLiteral("%1 reports").arg(reports.size());
}

}  // namespace

/// Real programs that really die, without a display.
class TestCrashes : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void crashIsCountedAndReportedAndTheProgramLeaves_data() {
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("function");
    const auto signalRow = [](const char* kind, int number, const char* function) {
      QTest::newRow(kind) << QStringLiteral(", signo %1, ").arg(number) << QString::fromLatin1(function);
    };
    signalRow("null", SIGSEGV, "dereferenceNull");
    signalRow("null-call", SIGSEGV, "callNullFunction");
    signalRow("abort", SIGABRT, "callAbort");
    signalRow("division", SIGFPE, "divideByZero");
    signalRow("illegal", SIGILL, "runIllegalInstruction");
    signalRow("overflow", SIGSEGV, "overflowStack");
    signalRow("thread-overflow", SIGSEGV, "overflowStack");
    signalRow("heap", SIGABRT, "corruptHeap");
    signalRow("pipe", SIGPIPE, "writeToBrokenPipe");
    signalRow("alarm", SIGALRM, "waitForAlarm");
    signalRow("two-threads", SIGSEGV, "dereferenceNull");
    signalRow("purge", SIGSEGV, "crashDuringPurge");
    signalRow("settings", SIGSEGV, "crashWhileSettingsAreWritten");
    QTest::newRow("exception") << QStringLiteral("Exception Reason: std::runtime_error: thrown on purpose\n\n")
                               << QStringLiteral("throwUncaught");
  }

  void crashIsCountedAndReportedAndTheProgramLeaves() {
    QFETCH(QString, line);
    QFETCH(QString, function);
    const QString kind = QString::fromLatin1(QTest::currentDataTag());
    if (kHasAddressSanitizer && kind == QLatin1String("heap"))
      QSKIP("AddressSanitizer replaces the allocator whose data this kind corrupts");
    CrashingChild child;
    const CrashingChild::End end = child.run({kind});
    QVERIFY2(end.exited, end.errorOutput);
    QCOMPARE(end.code, 0);
    QTRY_VERIFY(child.processesLeft().empty());
    QCOMPARE(child.crashesCount(), 1);
    QCOMPARE(end.errorOutput.count("quit unexpectedly"), 1);
    const QString report = onlyReport(child);
    QVERIFY2(report.contains(line), qPrintable(report));
    QVERIFY2(report.contains(function), qPrintable(report));
    QCOMPARE(report.contains(QStringLiteral("Exception Reason: ")), kind == QLatin1String("exception"));
    QCOMPARE(report.contains(QStringLiteral("Signal error. Code ")), kind != QLatin1String("exception"));
    QVERIFY(report.contains(QStringLiteral("\nCrashes Count: 1\n")));
  }

  void exceptionOffTheMainThreadTakesItsDefaultEnd() {
    CrashingChild child;
    child.environment.insert(QStringLiteral("HANDLER_LOGS"), QStringLiteral("1"));
    const CrashingChild::End end = child.run({QStringLiteral("thread-exception")});
    QVERIFY(!end.exited);
    QCOMPARE(end.code, SIGABRT);
    QVERIFY2(end.errorOutput.contains("prev is nil:1\n"), end.errorOutput);
    QVERIFY2(end.errorOutput.contains("[Tessmar Fall Manager] Loaded.\n"), end.errorOutput);
    QVERIFY2(end.errorOutput.contains("Exception occured NOT on main thread\n"), end.errorOutput);
    QVERIFY2(end.errorOutput.contains("thrown on purpose"), end.errorOutput);
    QTRY_VERIFY(child.processesLeft().empty());
    QCOMPARE(child.crashesCount(), 0);
    QVERIFY(child.reports().isEmpty());
  }

  void signalCodeChoosesTheEarlierAction_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<int>("calls");
    QTest::newRow("the slot of the code") << QStringLiteral("code:3") << 1;
    QTest::newRow("an empty slot") << QStringLiteral("code:11") << 0;
    QTest::newRow("above the slots") << QStringLiteral("code:32") << 0;
    QTest::newRow("negative") << QStringLiteral("code:-6") << 0;
  }

  void signalCodeChoosesTheEarlierAction() {
    QFETCH(QString, kind);
    QFETCH(int, calls);
    CrashingChild child;
    child.environment.insert(QStringLiteral("EARLIER_HANDLERS"), QStringLiteral("1"));
    const CrashingChild::End end = child.run({kind});
    QVERIFY(end.exited);
    QCOMPARE(end.code, 0);
    QCOMPARE(end.errorOutput.count("earlier action of signal 3\n"), calls);
    QCOMPARE(child.crashesCount(), 1);
    const QString line = QStringLiteral("Signal error. Code %1, errno 0, signo 11").arg(kind.mid(5));
    QVERIFY2(onlyReport(child).contains(line), qPrintable(onlyReport(child)));
  }

  void earlierExceptionHandlerRunsFirst() {
    CrashingChild child;
    child.environment.insert(QStringLiteral("EARLIER_HANDLERS"), QStringLiteral("1"));
    const CrashingChild::End end = child.run({QStringLiteral("exception")});
    QVERIFY(end.exited);
    QCOMPARE(end.code, 0);
    QVERIFY(end.errorOutput.startsWith("earlier handler of exceptions\n"));
    QCOMPARE(child.crashesCount(), 1);
    // That it aborts is part of the exception and not a crash of its own.
    QVERIFY(onlyReport(child).contains(QStringLiteral("Exception Reason: std::runtime_error: thrown on purpose")));
  }

  void crashWithoutWorkingReporterIsReportedInBareForm_data() {
    QTest::addColumn<QByteArray>("script");
    QTest::newRow("missing") << QByteArray();
    QTest::newRow("ends at once") << QByteArray("exit 0");
    QTest::newRow("hangs and says nothing") << QByteArray("exec sleep 60");
  }

  void crashWithoutWorkingReporterIsReportedInBareForm() {
    QFETCH(QByteArray, script);
    CrashingChild child;
    const QString reporter = child.homePath() + QStringLiteral("/reporter");
    if (!script.isEmpty()) {
      QFile file(reporter);
      QVERIFY(file.open(QIODevice::WriteOnly));
      file.write("#!/bin/sh\n" + script + '\n');
      file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    }
    for (const QString& kind : {QStringLiteral("null"), QStringLiteral("exception")}) {
      const CrashingChild::End end = child.run({kind, reporter, QStringLiteral("300")});
      QVERIFY(end.exited);
      QCOMPARE(end.code, 0);
      QCOMPARE(end.errorOutput.count("quit unexpectedly"), 1);
      QTRY_VERIFY(child.processesLeft().empty());
    }
    const QString reports = child.reports().join(QString());
    QVERIFY2(reports.contains(QStringLiteral("Signal error. Code 1, errno 0, signo 11, status 0")),
             qPrintable(reports));
    QVERIFY2(reports.contains(QStringLiteral("Exception Reason: St13runtime_error: thrown on purpose")),
             qPrintable(reports));
  }

  void crashNobodyCountedIsCountedAtTheNextStart() {
    CrashingChild child;
    for (int crash = 0; crash < 2; ++crash)
      child.run({QStringLiteral("null"), QStringLiteral("/nonexistent")});
    QCOMPARE(child.crashesCount(), 1);  // the second start has counted the first crash
    for (int start = 0; start < 2; ++start)
      QCOMPARE(child.run({QStringLiteral("quiet")}).code, 0);
    QCOMPARE(child.crashesCount(), 2);
    QCOMPARE(child.reports().size(), 2);
  }

  void stateFolderThatCannotBeWrittenIsSaid() {
    CrashingChild child;
    child.environment.insert(QStringLiteral("XDG_STATE_HOME"), QStringLiteral("/proc/nowhere"));
    const CrashingChild::End end = child.run({QStringLiteral("null")});
    QVERIFY(end.exited);
    QCOMPARE(end.code, 0);
    QVERIFY2(end.errorOutput.contains("the report cannot be written to /proc/nowhere/"), end.errorOutput);
    QCOMPARE(child.crashesCount(), 1);
  }

  void noMoreThanTwentyReportsAreKept() {
    CrashingChild child;
    QDir().mkpath(child.reportFolder());
    for (int number = 10; number < 40; ++number) {
      QFile file(child.reportFolder() + QStringLiteral("/crash-10000000%1-1.txt").arg(number));
      QVERIFY(file.open(QIODevice::WriteOnly));
      file.write("earlier");
    }
    for (const QString& reporter :
         {QStringLiteral("/nonexistent"), QStringLiteral(HALVARD_BIN_DIR "/halvard-crash-reporter")}) {
      QCOMPARE(child.run({QStringLiteral("null"), reporter}).code, 0);
      QCOMPARE(child.reports().size(), 20);
      QVERIFY(child.reports().constLast().contains(QStringLiteral("Signal error.")));
    }
  }

  void reporterRefusesToBeStartedByHand() {
    QProcess reporter;
    reporter.start(QStringLiteral(HALVARD_BIN_DIR "/halvard-crash-reporter"), {QStringLiteral("/bin/true")});
    QVERIFY(reporter.waitForFinished());
    QCOMPARE(reporter.exitCode(), 2);
  }
};

QTEST_GUILESS_MAIN(TestCrashes)
#include "test_crashes.moc"
