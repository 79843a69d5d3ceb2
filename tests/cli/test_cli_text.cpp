#include <QtTest>

#include "cli/format_command.h"
#include "cli/status_text.h"
#include "support/captured_output.h"

using namespace halvard;
using halvard::test::CapturedOutput;

class TestCliText : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void formatPrintsWithTheNamedFormatter_data() {
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("err");
    const auto row = [](const char* arguments, int code, const char* out, const char* err) {
      QTest::newRow(arguments) << QString::fromLatin1(arguments).split(u' ', Qt::SkipEmptyParts) << code
                               << QString::fromLatin1(out) << QString::fromLatin1(err);
    };
    row("stringFromSize -5", 0, "-5 bytes\n", "");
    row("formatMemoryStringDot0NSnum 15500000", 0, "16 MB\n", "");
    row("formatMemoryStringDot1 18446744073709551615", 0, "18.4\n", "");
    row("formatMemoryStringDot1 -1", 2, "", "halvardctl: BYTES must be a whole number from 0 on, not '-1'\n");
    row("stringFromSize 1.5", 2, "", "halvardctl: BYTES must be a whole number, not '1.5'\n");
    row("stringFromSize", 2, "", "halvardctl: usage: format NAME BYTES\n");
    row("nope 1", 2, "",
        "halvardctl: unknown formatter 'nope': stringFromSize, formatMemoryStringDot0, formatMemoryStringDot1, "
        "formatMemoryStringDot1With3DigitsExactly, convertToStringFromFileSize, convertToStringFromFileSizeSpecial, "
        "convertToStringFromFileSizeOnlyMB, formatMemoryStringDot0NSnum, formatMemoryStringDot1NSnum\n");
  }
  void formatPrintsWithTheNamedFormatter() {
    QFETCH(QStringList, arguments);
    CapturedOutput captured;
    const int exitCode = runFormatCommand(arguments, captured.output());
    QTEST(exitCode, "exitCode");
    QTEST(captured.out(), "out");
    QTEST(captured.err(), "err");
  }

  void barIsFullOnlyAtTheEnd() {
    QCOMPARE(status_text::bar(0, 10), QStringLiteral("[          ]   0%"));
    QCOMPARE(status_text::bar(0.5, 10), QStringLiteral("[#####     ]  50%"));
    QCOMPARE(status_text::bar(1, 10), QStringLiteral("[##########] 100%"));
  }
};

QTEST_GUILESS_MAIN(TestCliText)
#include "test_cli_text.moc"
