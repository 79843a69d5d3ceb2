#include <QJsonDocument>
#include <QtTest>

#include "cli/cleaning_text.h"
#include "cli/exclude_command.h"
#include "cli/history_command.h"
#include "memory/purge_history.h"
#include "platform/fake/fake_defaults_store.h"
#include "support/captured_output.h"

using namespace halvard;
using halvard::test::CapturedOutput;

namespace {

QStringList words(const char* line) {
  return QString::fromLatin1(line).split(u' ', Qt::SkipEmptyParts);
}

QJsonObject record(const char* json) {
  return QJsonDocument::fromJson(json).object();
}

}  // namespace

class TestCleaningCommands : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void excludeChangesTheListOrSaysWhyNot_data() {
    QTest::addColumn<QString>("line");
    QTest::addColumn<int>("exitCode");
    QTest::addColumn<QString>("out");
    QTest::addColumn<QString>("err");
    const auto row = [](const char* line, int code, const char* out, const char* err) {
      QTest::newRow(line) << QString::fromLatin1(line) << code << QString::fromLatin1(out) << QString::fromLatin1(err);
    };
    const char* const usage = "halvardctl: usage: exclude list | add APP | remove APP\n";
    row("list", 0, "gimp\n", "");
    row("add mail", 0, "", "");
    row("remove GIMP", 0, "", "");
    row("add Gimp", 1, "", "halvardctl: 'Gimp' is excluded already\n");
    row("remove mail", 1, "", "halvardctl: 'mail' is not excluded\n");
    row("", 2, "", usage);
    row("add", 2, "", usage);
    row("add two names", 2, "", usage);
    row("list all", 2, "", usage);
    row("drop gimp", 2, "", usage);
  }
  void excludeChangesTheListOrSaysWhyNot() {
    QFETCH(QString, line);
    FakeDefaultsStore store;
    CapturedOutput captured;
    runExcludeCommand(words("add gimp"), store, captured.output());
    const int exitCode = runExcludeCommand(words(line.toLatin1()), store, captured.output());
    QTEST(exitCode, "exitCode");
    QTEST(captured.out(), "out");
    QTEST(captured.err(), "err");
    QVERIFY(!store.hasUnsavedChanges());
  }

  void excludeSaysThatItCouldNotBeStored() {
    FakeDefaultsStore store;
    store.failSynchronize(true);
    CapturedOutput captured;
    QCOMPARE(runExcludeCommand(words("add gimp"), store, captured.output()), 1);
    QCOMPARE(captured.err(), QStringLiteral("halvardctl: the settings could not be written\n"));
  }

  void historyShowsTheLatest() {
    FakeDefaultsStore store;
    CapturedOutput nothing;
    QCOMPARE(runHistoryCommand({}, store, nothing.output()), 0);
    QCOMPARE(nothing.out(), QStringLiteral("No cleaning has been recorded yet.\n"));
    PurgeHistory history(store);
    history.put(record(R"({"time":"2026-01-02T03:04:05.000Z","gainedBytes":1,"method":"fill"})"));
    history.put(record(R"({"time":"2026-01-02T12:04:05.000Z","gainedBytes":-1572864,"compressedBytes":5242880,
      "method":"page-out"})"));
    CapturedOutput json;
    QCOMPARE(runHistoryCommand(words("--json -n 1"), store, json.output()), 0);
    QCOMPARE(QJsonDocument::fromJson(json.out().toUtf8()).array(), QJsonArray{history.records().last()});
    CapturedOutput table;
    QCOMPARE(runHistoryCommand(words("-n 1"), store, table.output()), 0);
    const QStringList lines = table.out().split(u'\n');
    QCOMPARE(lines[1].simplified().section(u' ', 2), QStringLiteral("-1.50 MB 5.00 MB - - - - - page-out"));
    CapturedOutput wrong;
    QCOMPARE(runHistoryCommand(words("-n"), store, wrong.output()), 2);
    QCOMPARE(wrong.err(), QStringLiteral("halvardctl: usage: history [-n N] [--json]\n"));
  }

  void purgeTextTellsWhereTheMemoryWent_data() {
    QTest::addColumn<QJsonObject>("purge");
    QTest::addColumn<QString>("text");
    QTest::newRow("gained") << record(R"({"gainedBytes":1073741824,"usedBefore":4294967296,"usedAfter":3221225472,
      "compressedBytes":2147483648,"compressedIntoBytes":536870912,"swappedToDiskBytes":1048576,
      "givenBackBytes":-2097152,"seconds":2.25,"recheckSeconds":60,"stillFreeBytes":-1048576,"cameBackBytes":4096,
      "strategy":"By page-out: so."})")
                            << QStringLiteral(
                                   "Freed 1.00 GB in 2.3 s: used memory went from 4.00 GB to 3.00 GB.\n"
                                   "2.00 GB more lies compressed in memory, in 512 MB of it.\n"
                                   "1.00 MB was moved to the disk: not given back.\n"
                                   "Applications took 2.00 MB more meanwhile.\n"
                                   "After 60 s still free: -1.00 MB of 1.00 GB; 4.00 KB came back from swap.\n"
                                   "By page-out: so.");
    QTest::newRow("others ended") << record(R"({"gainedBytes":1048576,"usedBefore":2097152,"usedAfter":1048576,
      "seconds":1,"recheckSeconds":60,"stillFreeBytes":1572864})")
                                  << QStringLiteral(
                                         "Freed 1.00 MB in 1.0 s: used memory went from 2.00 MB to 1.00 MB.\n"
                                         "After 60 s still free: all of 1.00 MB.");
    QTest::newRow("nothing") << record(R"({"gainedBytes":0,"usedBefore":1048576,"usedAfter":1048576,
      "givenBackBytes":1048575})")
                             << QStringLiteral("Nothing could be freed: 1.00 MB of memory in use before and after.");
    QTest::newRow("a loss") << record(R"({"gainedBytes":-1048576,"usedBefore":1048576,"usedAfter":2097152,
      "givenBackBytes":1048576})")
                            << QStringLiteral(
                                   "Nothing could be freed: the gain is -1.00 MB, used memory went from 1.00 MB to "
                                   "2.00 MB.\nApplications gave back 1.00 MB by themselves meanwhile.");
  }
  void purgeTextTellsWhereTheMemoryWent() {
    QFETCH(QJsonObject, purge);
    QTEST(cleaning_text::purge(purge), "text");
  }
};

QTEST_GUILESS_MAIN(TestCleaningCommands)
#include "test_cleaning_commands.moc"
