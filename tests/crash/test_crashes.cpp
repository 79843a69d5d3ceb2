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
  void crashIsCountedAndReportedAndTheProgramLeaves_data();
  void crashIsCountedAndReportedAndTheProgramLeaves();
};

void TestCrashes::crashIsCountedAndReportedAndTheProgramLeaves_data() {
  QTest::addColumn<QString>("line");
  QTest::addColumn<QString>("function");
  const auto signalRow = [](const char* kind, int number, const char* function) {
    QTest::newRow(kind) << QStringLiteral(", signo %1, ").arg(number) << QString::fromLatin1(function);
  };
  signalRow("null", SIGSEGV, "dereferenceNull");
  signalRow("abort", SIGABRT, "callAbort");
  signalRow("division", SIGFPE, "divideByZero");
  signalRow("illegal", SIGILL, "runIllegalInstruction");
  signalRow("overflow", SIGSEGV, "overflowStack");
  signalRow("heap", SIGABRT, "corruptHeap");
  signalRow("pipe", SIGPIPE, "writeToBrokenPipe");
  signalRow("alarm", SIGALRM, "waitForAlarm");
  signalRow("two-threads", SIGSEGV, "dereferenceNull");
  signalRow("purge", SIGSEGV, "crashDuringPurge");
  signalRow("settings", SIGSEGV, "crashWhileSettingsAreWritten");
  QTest::newRow("exception") << QStringLiteral("Exception Reason: std::runtime_error: thrown on purpose\n\n")
                             << QStringLiteral("throwUncaught");
}

void TestCrashes::crashIsCountedAndReportedAndTheProgramLeaves() {
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

QTEST_GUILESS_MAIN(TestCrashes)
#include "test_crashes.moc"
