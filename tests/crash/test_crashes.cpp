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
    QVERIFY2(end.exited && end.code == 0, end.errorOutput);
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
    for (const char* line : {"prev is nil:1\n", "[Tessmar Fall Manager] Loaded.\n",
                             "Exception occured NOT on main thread\n", "thrown on purpose"})
      QVERIFY2(end.errorOutput.contains(line), end.errorOutput);
    QTRY_VERIFY(child.processesLeft().empty());
    QCOMPARE(child.crashesCount(), 0);
    QVERIFY(child.reports().isEmpty());
  }

  void earlierHandlersRunFirst() {
    // A signal's code chooses the slot of the earlier action.
    for (const auto& [code, calls] : {std::pair(3, 1), {11, 0}, {32, 0}, {-6, 0}}) {
      CrashingChild child;
      child.environment.insert(QStringLiteral("EARLIER_HANDLERS"), QStringLiteral("1"));
      const CrashingChild::End end = child.run({QStringLiteral("code:%1").arg(code)});
      QVERIFY2(end.exited && end.code == 0, end.errorOutput);
      QCOMPARE(end.errorOutput.count("earlier action of signal 3\n"), calls);
      const QString line = QStringLiteral("Signal error. Code %1, errno 0, signo 11").arg(code);
      QVERIFY2(onlyReport(child).contains(line), qPrintable(onlyReport(child)));
    }
    CrashingChild child;
    child.environment.insert(QStringLiteral("EARLIER_HANDLERS"), QStringLiteral("1"));
    const CrashingChild::End end = child.run({QStringLiteral("exception")});
    QVERIFY2(end.exited && end.code == 0, end.errorOutput);
    QVERIFY(end.errorOutput.startsWith("earlier handler of exceptions\n"));
    QCOMPARE(child.crashesCount(), 1);
    // That it aborts is part of the exception and not a crash of its own.
    QVERIFY(onlyReport(child).contains(QStringLiteral("Exception Reason: std::runtime_error: thrown on purpose")));
  }

  void crashWithoutWorkingReporterIsReportedInBareForm() {
    // It is missing, ends at once, or hangs and says nothing.
    for (const char* script : {"", "#!/bin/sh\nexit 0\n", "#!/bin/sh\nexec sleep 60\n"}) {
      CrashingChild child;
      QFile reporter(child.homePath() + QStringLiteral("/reporter"));
      if (*script) {
        QVERIFY(reporter.open(QIODevice::WriteOnly) && reporter.write(script) > 0);
        reporter.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        reporter.close();
      }
      for (const char* kind : {"null", "exception"}) {
        const CrashingChild::End end =
            child.run({QString::fromLatin1(kind), reporter.fileName(), QStringLiteral("300")});
        QVERIFY2(end.exited && end.code == 0, end.errorOutput);
        QCOMPARE(end.errorOutput.count("quit unexpectedly"), 1);
        QTRY_VERIFY(child.processesLeft().empty());
      }
      const QString reports = child.reports().join(QString());
      for (const char* line : {"Signal error. Code 1, errno 0, signo 11, status 0",
                               "Exception Reason: St13runtime_error: thrown on purpose"})
        QVERIFY2(reports.contains(QString::fromLatin1(line)), qPrintable(reports));
    }
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
    QVERIFY2(end.exited && end.code == 0, end.errorOutput);
    QVERIFY2(end.errorOutput.contains("the report cannot be written to /proc/nowhere/"), end.errorOutput);
    QCOMPARE(child.crashesCount(), 1);
  }

  void noMoreThanTwentyReportsAreKept() {
    CrashingChild child;
    QDir().mkpath(child.reportFolder());
    for (int number = 10; number < 40; ++number) {
      // The last ones were written before the clock was set back.
      const QString time = number < 35 ? QStringLiteral("10000000%1") : QStringLiteral("99999999%1");
      QFile file(child.reportFolder() + QStringLiteral("/crash-%1-1.txt").arg(time.arg(number)));
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
