#include <QtTest>
#include <csignal>

#include "crash/crashing_child.h"

using namespace halvard;
using test::CrashingChild;

namespace {

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kHasAddressSanitizer = true;
#else
constexpr bool kHasAddressSanitizer = false;
#endif

QString onlyReport(const CrashingChild& child) {
  const QStringList reports = child.reports();
  return reports.size() == 1 ? reports.front() : text("%1 reports").arg(reports.size());
}

}  // namespace

/// Real programs that really die, without a display.
class TestCrashes : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void crashIsCountedAndReportedAndTheProgramLeaves_data() {
    QTest::addColumn<int>("number");
    QTest::addColumn<QString>("function");
    QTest::newRow("null") << SIGSEGV << text("dereferenceNull");
    QTest::newRow("null-call") << SIGSEGV << text("callNullFunction");
    QTest::newRow("abort") << SIGABRT << text("callAbort");
    QTest::newRow("division") << SIGFPE << text("divideByZero");
    QTest::newRow("illegal") << SIGILL << text("runIllegalInstruction");
    QTest::newRow("overflow") << SIGSEGV << text("overflowStack");
    QTest::newRow("thread-overflow") << SIGSEGV << text("overflowStack");
    QTest::newRow("heap") << SIGABRT << text("corruptHeap");
    QTest::newRow("pipe") << SIGPIPE << text("writeToBrokenPipe");
    QTest::newRow("alarm") << SIGALRM << text("waitForAlarm");
    QTest::newRow("two-threads") << SIGSEGV << text("dereferenceNull");
    QTest::newRow("settings") << SIGSEGV << text("crashWhileSettingsAreWritten");
    QTest::newRow("exception") << 0 << text("throwUncaught");
  }

  void crashIsCountedAndReportedAndTheProgramLeaves() {
    QFETCH(int, number);
    QFETCH(QString, function);
    const QString kind = text(QTest::currentDataTag());
    if (kHasAddressSanitizer && kind == text("heap"))
      QSKIP("AddressSanitizer replaces the allocator whose data this kind corrupts");
    CrashingChild child;
    const CrashingChild::End end = child.run({kind});
    QVERIFY2(end.exited && end.code == 0, end.errorOutput);
    QTRY_VERIFY(child.processesLeft().empty());
    QCOMPARE(child.crashesCount(), 1);
    QCOMPARE(end.errorOutput.count("quit unexpectedly"), 1);
    const QString report = onlyReport(child);
    for (const QString& part : {function, text("\nCrashes Count: 1\n"),
                                number > 0 ? text(", signo %1, ").arg(number)
                                           : text("Exception Reason: std::runtime_error: thrown on purpose\n\n")})
      QVERIFY2(report.contains(part), qPrintable(report));
    QVERIFY(report.contains(text("Exception Reason: ")) != report.contains(text("Signal error. Code ")));
  }

  void exceptionOffTheMainThreadTakesItsDefaultEnd() {
    CrashingChild child;
    child.environment.insert(text("HANDLER_LOGS"), text("1"));
    const CrashingChild::End end = child.run({text("thread-exception")});
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
      child.environment.insert(text("EARLIER_HANDLERS"), text("1"));
      const CrashingChild::End end = child.run({text("code:%1").arg(code)});
      QVERIFY2(end.exited && end.code == 0, end.errorOutput);
      QCOMPARE(end.errorOutput.count("earlier action of signal 3\n"), calls);
      const QString line = text("Signal error. Code %1, errno 0, signo 11").arg(code);
      QVERIFY2(onlyReport(child).contains(line), qPrintable(onlyReport(child)));
    }
    CrashingChild child;
    child.environment.insert(text("EARLIER_HANDLERS"), text("1"));
    const CrashingChild::End end = child.run({text("exception")});
    QVERIFY2(end.exited && end.code == 0, end.errorOutput);
    QVERIFY(end.errorOutput.startsWith("earlier handler of exceptions\n"));
    QCOMPARE(child.crashesCount(), 1);
    // That it aborts is part of the exception and not a crash of its own.
    QVERIFY(onlyReport(child).contains(text("Exception Reason: std::runtime_error: thrown on purpose")));
  }

  void crashWithoutWorkingReporterIsReportedInBareForm() {
    // It is missing, ends at once, or hangs and says nothing.
    for (const char* script : {"", "#!/bin/sh\nexit 0\n", "#!/bin/sh\nexec sleep 60\n"}) {
      CrashingChild child;
      if (*script) child.home.write("reporter", script);
      for (const char* kind : {"null", "exception"}) {
        const CrashingChild::End end = child.run({text(kind), child.home.path("reporter"), text("300")});
        QVERIFY2(end.exited && end.code == 0, end.errorOutput);
        QCOMPARE(end.errorOutput.count("quit unexpectedly"), 1);
        QTRY_VERIFY(child.processesLeft().empty());
      }
      const QString reports = child.reports().join(QString());
      for (const char* line : {"Signal error. Code 1, errno 0, signo 11, status 0",
                               "Exception Reason: St13runtime_error: thrown on purpose"})
        QVERIFY2(reports.contains(text(line)), qPrintable(reports));
    }
  }

  void crashNobodyCountedIsCountedAtTheNextStart() {
    CrashingChild child;
    for (int crash = 0; crash < 2; ++crash)
      child.run({text("null"), text("/nonexistent")});
    QCOMPARE(child.crashesCount(), 1);  // the second start has counted the first crash
    for (int start = 0; start < 2; ++start)
      QCOMPARE(child.run({text("quiet")}).code, 0);
    QCOMPARE(child.crashesCount(), 2);
    QCOMPARE(child.reports().size(), 2);
  }

  void stateFolderThatCannotBeWrittenIsSaid() {
    CrashingChild child;
    child.environment.insert(text("XDG_STATE_HOME"), text("/proc/nowhere"));
    const CrashingChild::End end = child.run({text("null")});
    QVERIFY2(end.exited && end.code == 0, end.errorOutput);
    QVERIFY2(end.errorOutput.contains("the report cannot be written to /proc/nowhere/"), end.errorOutput);
    QCOMPARE(child.crashesCount(), 1);
  }

  void noMoreThanTwentyReportsAreKept() {
    CrashingChild child;
    for (int number = 10; number < 40; ++number) {
      // The last ones were written before the clock was set back.
      const QString time = number < 35 ? text("10000000%1") : text("99999999%1");
      child.home.write(text("state/halvard/crashes/crash-%1-1.txt").arg(time.arg(number)), "earlier");
    }
    for (const QString& reporter : {text("/nonexistent"), text(HALVARD_BIN_DIR "/halvard-crash-reporter")}) {
      QCOMPARE(child.run({text("null"), reporter}).code, 0);
      QCOMPARE(child.reports().size(), 20);
      QVERIFY(child.reports().constLast().contains(text("Signal error.")));
    }
  }

  void reporterRefusesToBeStartedByHand() {
    QProcess reporter;
    reporter.start(text(HALVARD_BIN_DIR "/halvard-crash-reporter"), {text("/bin/true")});
    QVERIFY(reporter.waitForFinished());
    QCOMPARE(reporter.exitCode(), 2);
  }
};

QTEST_GUILESS_MAIN(TestCrashes)
#include "test_crashes.moc"
