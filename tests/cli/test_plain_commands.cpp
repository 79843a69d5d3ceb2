#include <QtTest>

#include "cli/application_commands.h"
#include "cli/cleaning_text.h"
#include "cli/defaults_command.h"
#include "cli/exclude_command.h"
#include "cli/format_command.h"
#include "cli/history_command.h"
#include "cli/status_text.h"
#include "memory/purge_history.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_process_table.h"
#include "platform/fake/fake_running_applications.h"
#include "process_manager/processes_manager.h"
#include "support/captured_output.h"

using namespace halvard;
using namespace halvard::test;

namespace {

using Verb = ApplicationCommands::Verb;

struct Machine {
  Machine() {
    table.add(10, 1, text("mail"), 2048);
    table.add(20, 1, text("web"), 1 << 20);
    table.add(21, 20, text("web-helper"), 1 << 20);
    table.add(30, 1, text("mail"), 1024);
  }
  QString top(const char* line) {
    return ran([&](auto& output) { return ApplicationCommands(processes, output, program).runTop(words(line)); });
  }
  QString run(Verb verb, const char* line) {
    return ran([&](auto& output) { return ApplicationCommands(processes, output).runVerb(verb, words(line)); });
  }
  std::int32_t program = 0;
  FakeProcessTable table;
  FakeRunningApplications applications;
  FakeClock clock;
  std::shared_ptr<FakeRunningApplication> mail = applications.add(10, text("Mail"));
  std::shared_ptr<FakeRunningApplication> web = applications.add(20, text("Web"));
  ProcessesManager processes{table, applications, clock};
};

/// Settings, and the commands that work on them.
struct Store : FakeDefaultsStore {
  using Command = int (*)(const QStringList&, DefaultsStore&, const CommandOutput&);
  QString run(Command command, const char* line) {
    return ran([&](auto& output) { return command(words(line), *this, output); });
  }
  QString defaults(const char* line) { return run(runDefaultsCommand, line); }
  QString history(const char* line) { return run(runHistoryCommand, line); }
};

}  // namespace

class TestPlainCommands : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void excludeChangesTheListOrSaysWhyNot() {
    const std::pair<const char*, const char*> lines[] = {
        {"list", "gimp\n0"},
        {"add mail", "0"},
        {"remove GIMP", "0"},
        {"add Gimp", "halvardctl: 'Gimp' is excluded already\n1"},
        {"remove mail", "halvardctl: 'mail' is not excluded\n1"},
        {"add a,b", "halvardctl: a name is one line with something in it and no comma\n1"},
    };
    for (const auto& [line, answer] : lines) {
      Store store;
      store.run(runExcludeCommand, "add gimp");
      QCOMPARE(store.run(runExcludeCommand, line), text(answer));
      QVERIFY2(!store.hasUnsavedChanges(), line);
    }
    Store store;
    for (const char* line : {"", "add", "add two names", "list all", "drop gimp"})
      QCOMPARE(store.run(runExcludeCommand, line), text("halvardctl: usage: exclude list | add APP | remove APP\n2"));
    QCOMPARE(store.writes(), 0);
  }

  void historyShowsTheLatest() {
    Store store;
    QCOMPARE(store.history(""), text("No cleaning has been recorded yet.\n0"));
    PurgeHistory history(store);
    for (const char* json : {R"({"time":"2026-01-02T03:04:05.000Z","gainedBytes":1,"method":"fill"})",
                             R"({"time":"2026-01-02T12:04:05.000Z","gainedBytes":-1572864,"compressedBytes":5242880,
                               "method":"page-out"})"})
      history.put(QJsonDocument::fromJson(json).object());
    const QByteArray json = store.history("--json -n 1").chopped(1).toUtf8();
    QCOMPARE(QJsonDocument::fromJson(json).array(), QJsonArray{history.records().last()});
    const QString row = store.history("-n 1").section(u'\n', 1, 1).simplified();
    QCOMPARE(row.section(u' ', 2), text("-1.50 MB 5.00 MB - - - - - page-out"));
    QCOMPARE(store.history("-n"), text("halvardctl: usage: history [-n N] [--json]\n2"));
  }

  void valuesAreWrittenReadAndDeleted() {
    Store store;
    QCOMPARE(store.defaults("write UsageLimit -float 0.7"), text("0"));
    QVERIFY(!store.hasUnsavedChanges());
    QCOMPARE(store.defaults("read UsageLimit"), text("0.7\n0"));
    QCOMPARE(store.defaults("write /home/somebody -string grant"), text("0"));
    QCOMPARE(store.defaults("read"), text("/home/somebody -string grant\nUsageLimit -float 0.7\n0"));
    QCOMPARE(store.defaults("delete UsageLimit"), text("0"));
    QCOMPARE(store.defaults("read UsageLimit"),
             text("halvardctl: 'UsageLimit' is not set; the program uses its default\n1"));
    // A key of an older program can be removed.
    store.setObject(text("Forgotten"), StoredValue{true});
    QCOMPARE(store.defaults("delete Forgotten"), text("0"));
    QCOMPARE(store.keys(), QStringList{text("/home/somebody")});
  }

  void mistakesWriteNothingAndSayWhatWouldBeRight() {
    Store store;
    QCOMPARE(store.defaults("write usagelimit -float 1"),
             text("halvardctl: unknown key 'usagelimit': did you mean 'UsageLimit'?\n2"));
    QCOMPARE(store.defaults("read xyzzy"), text("halvardctl: unknown key 'xyzzy': 'defaults keys' lists the keys\n2"));
    for (const char* line : {"write AutoFree -maybe 1", "write AutoFree -bool perhaps"})
      QVERIFY2(store.defaults(line).endsWith(text("\n2")), line);
    for (const char* line : {"", "write", "write AutoFree", "write AutoFree -bool", "delete", "read a b", "erase x"})
      QVERIFY2(store.defaults(line).startsWith(text("halvardctl: usage: defaults read")), line);
    QCOMPARE(store.writes(), 0);
    store.failSynchronize(true);
    const QString failed = text("halvardctl: the settings could not be written\n1");
    QCOMPARE(store.defaults("write AutoFree -bool yes"), failed);
    QCOMPARE(store.run(runExcludeCommand, "add gimp"), failed);
  }

  void formatPrintsWithTheNamedFormatter() {
    const std::pair<const char*, const char*> lines[] = {
        {"stringFromSize -5", "-5 bytes\n0"},
        {"formatMemoryStringDot0NSnum 15500000", "16 MB\n0"},
        {"formatMemoryStringDot1 18446744073709551615", "18.4\n0"},
        {"formatMemoryStringDot1 -1", "halvardctl: BYTES must be a whole number from 0 on, not '-1'\n2"},
        {"stringFromSize 1.5", "halvardctl: BYTES must be a whole number, not '1.5'\n2"},
        {"stringFromSize", "halvardctl: usage: format NAME BYTES\n2"},
        {"nope 1",
         "halvardctl: unknown formatter 'nope': stringFromSize, formatMemoryStringDot0, formatMemoryStringDot1, "
         "formatMemoryStringDot1With3DigitsExactly, convertToStringFromFileSize, convertToStringFromFileSizeSpecial, "
         "convertToStringFromFileSizeOnlyMB, formatMemoryStringDot0NSnum, formatMemoryStringDot1NSnum\n2"},
    };
    for (const auto& [line, answer] : lines)
      QCOMPARE(ran([&](auto& output) { return runFormatCommand(words(line), output); }), text(answer));
  }

  void barIsFullOnlyAtTheEnd() {
    QCOMPARE(status_text::bar(0, 10), text("[          ]   0%"));
    QCOMPARE(status_text::bar(0.5, 10), text("[#####     ]  50%"));
    QCOMPARE(status_text::bar(1, 10), text("[##########] 100%"));
  }

  void purgeTextTellsWhereTheMemoryWent() {
    const std::pair<const char*, const char*> purges[] = {
        {R"({"gainedBytes":1073741824,"usedBefore":4294967296,"usedAfter":3221225472,"compressedBytes":2147483648,
             "compressedIntoBytes":536870912,"swappedToDiskBytes":1048576,"givenBackBytes":-2097152,"seconds":2.25,
             "recheckSeconds":60,"stillFreeBytes":-1048576,"cameBackBytes":4096,"strategy":"By page-out: so."})",
         "Freed 1.00 GB in 2.3 s: used memory went from 4.00 GB to 3.00 GB.\n"
         "2.00 GB more lies compressed in memory, in 512 MB of it.\n"
         "1.00 MB was moved to the disk: not given back.\n"
         "Applications took 2.00 MB more meanwhile.\n"
         "After 60 s still free: -1.00 MB of 1.00 GB; 4.00 KB came back from swap.\n"
         "By page-out: so."},
        {R"({"gainedBytes":1048576,"usedBefore":2097152,"usedAfter":1048576,"seconds":1,"recheckSeconds":60,
             "stillFreeBytes":1572864})",
         "Freed 1.00 MB in 1.0 s: used memory went from 2.00 MB to 1.00 MB.\n"
         "After 60 s still free: all of 1.00 MB."},
        {R"({"gainedBytes":0,"usedBefore":1048576,"usedAfter":1048576,"givenBackBytes":1048575})",
         "Nothing could be freed: 1.00 MB of memory in use before and after."},
        {R"({"gainedBytes":-1048576,"usedBefore":1048576,"usedAfter":2097152,"givenBackBytes":1048576})",
         "Nothing could be freed: the gain is -1.00 MB, used memory went from 1.00 MB to 2.00 MB.\n"
         "Applications gave back 1.00 MB by themselves meanwhile."},
    };
    for (const auto& [record, meaning] : purges)
      QCOMPARE(cleaning_text::purge(QJsonDocument::fromJson(record).object()), text(meaning));
  }

  void topListsTheLargestFirstWithTheirHelpers() {
    Machine machine;
    const QByteArray json = machine.top("--json -n 1").chopped(1).toUtf8();
    const QJsonArray records = QJsonDocument::fromJson(json).array();
    QCOMPARE(records.size(), 1);
    QJsonObject first = records[0].toObject();
    QVERIFY(!first.take(u"url").isUndefined());
    QCOMPARE(first.take(u"helpers").toArray(), QJsonArray{21});
    QCOMPARE(first[u"pid"].toInt(), 20);
    QCOMPARE(first[u"name"].toString(), text("Web"));
    QCOMPARE(first[u"bytes"].toInt(), 2 << 20);
    QCOMPARE(machine.top(""), text("      20    2.00 MB  Web  +1\n      10    2.00 KB  Mail\n0"));
    for (const char* line : {"-n", "-n x", "-n -1", "--xml", "5"})
      QVERIFY2(machine.top(line).endsWith(u'2'), line);
    // The program itself is not listed.
    Machine own;
    own.web->url = QUrl::fromLocalFile(text("/usr/share/applications/com.tessmar.Halvard.desktop"));
    QCOMPARE(own.top(""), text("      10    2.00 KB  Mail\n0"));
    own.program = 10;
    QCOMPARE(own.top(""), text("0"));
  }

  void verbsReachTheApplicationByPidOrName() {
    Machine machine;
    QCOMPARE(machine.run(Verb::Activate, "20"), text("0"));
    QCOMPARE(machine.web->activations, 1);
    QCOMPARE(machine.run(Verb::Quit, "mAIL"), text("0"));
    QCOMPARE(machine.mail->terminateRequests, 1);
    QCOMPARE(machine.run(Verb::Kill, "mail"), text("0"));
    QCOMPARE(machine.mail->forceTerminateRequests, 1);

    QCOMPARE(machine.run(Verb::Quit, "10"), text("halvardctl: '10' has ended already\n1"));
    machine.web->takesSignals = false;
    QCOMPARE(machine.run(Verb::Quit, "Web"), text("halvardctl: 'Web' may not be ended by this user\n1"));

    // Mistakes touch nobody; a helper is no application.
    const auto twin = machine.applications.add(30, text("Mail"));
    const std::pair<const char*, const char*> mistakes[] = {
        {"mail", "halvardctl: 'mail' is the name of several applications: give one of the pids 10, 30\n1"},
        {"21", "halvardctl: no application '21' is running; 'top' lists them\n1"},
        {"nobody", "halvardctl: no application 'nobody' is running; 'top' lists them\n1"},
        {"", "halvardctl: usage: activate|quit|kill PID|NAME\n2"},
    };
    for (const auto& [line, answer] : mistakes)
      QCOMPARE(machine.run(Verb::Kill, line), text(answer));
    QCOMPARE(machine.mail->forceTerminateRequests, 1);
    QCOMPARE(twin->forceTerminateRequests + machine.web->forceTerminateRequests, 0);
  }
};

QTEST_GUILESS_MAIN(TestPlainCommands)
#include "test_plain_commands.moc"
