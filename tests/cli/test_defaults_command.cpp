#include <QtTest>

#include "cli/defaults_command.h"
#include "platform/fake/fake_defaults_store.h"
#include "preferences/known_keys.h"
#include "support/captured_output.h"

using namespace halvard;
using halvard::test::CapturedOutput;

class TestDefaultsCommand : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void valuesAreWrittenReadAndDeleted() {
    FakeDefaultsStore store;
    QCOMPARE(run(store, "write UsageLimit -float 0.7"), QStringLiteral("0"));
    QVERIFY(!store.hasUnsavedChanges());
    QCOMPARE(run(store, "read UsageLimit"), QStringLiteral("0.7\n0"));
    QCOMPARE(run(store, "write ga:user_id -string abc"), QStringLiteral("0"));
    QCOMPARE(run(store, "write /home/somebody -string grant"), QStringLiteral("0"));
    QCOMPARE(run(store, "read"),
             QStringLiteral("/home/somebody -string grant\nUsageLimit -float 0.7\nga:user_id -string abc\n0"));
    QCOMPARE(run(store, "delete UsageLimit"), QStringLiteral("0"));
    QVERIFY(!store.objectForKey(QStringLiteral("UsageLimit")));
    QCOMPARE(run(store, "read UsageLimit"),
             QStringLiteral("halvardctl: 'UsageLimit' is not set; the program uses its default\n1"));
  }

  void mistakesWriteNothingAndSayWhatWouldBeRight() {
    FakeDefaultsStore store;
    QCOMPARE(run(store, "write usagelimit -float 1"),
             QStringLiteral("halvardctl: unknown key 'usagelimit': did you mean 'UsageLimit'?\n2"));
    QCOMPARE(run(store, "read xyzzy"),
             QStringLiteral("halvardctl: unknown key 'xyzzy': 'defaults keys' lists the keys\n2"));
    QVERIFY(run(store, "write AutoFree -maybe 1").endsWith(QStringLiteral("\n2")));
    QVERIFY(run(store, "write AutoFree -bool perhaps").endsWith(QStringLiteral("\n2")));
    for (const char* words : {"", "write", "write AutoFree", "write AutoFree -bool", "delete", "read a b", "erase x"}) {
      QVERIFY2(run(store, words).startsWith(QStringLiteral("halvardctl: usage: defaults read")), words);
    }
    QCOMPARE(store.writes(), 0);
    store.failSynchronize(true);
    QCOMPARE(run(store, "write AutoFree -bool yes"),
             QStringLiteral("halvardctl: the settings could not be written\n1"));
  }

  void keysOfOlderProgramsCanBeRemoved() {
    FakeDefaultsStore store;
    store.setObject(QStringLiteral("Forgotten"), StoredValue{true});
    QCOMPARE(run(store, "delete Forgotten"), QStringLiteral("0"));
    QVERIFY(store.keys().isEmpty());
    QVERIFY(stored_keys::all().contains(QStringLiteral("RATE_DIALOG_DATA:next_show_date")));
  }

 private:
  /// Both streams and the exit code.
  static QString run(FakeDefaultsStore& store, const char* words) {
    CapturedOutput captured;
    const QStringList arguments = QString::fromLatin1(words).split(u' ', Qt::SkipEmptyParts);
    const int exitCode = runDefaultsCommand(arguments, store, captured.output());
    return captured.out() + captured.err() + QString::number(exitCode);
  }
};

QTEST_GUILESS_MAIN(TestDefaultsCommand)
#include "test_defaults_command.moc"
