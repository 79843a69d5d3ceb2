#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>

#include "cli/application_commands.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_process_table.h"
#include "platform/fake/fake_running_applications.h"
#include "process_manager/processes_manager.h"
#include "support/captured_output.h"

using namespace halvard;
using halvard::test::CapturedOutput;
using Verb = ApplicationCommands::Verb;

namespace {

struct Machine {
  Machine() {
    table.add(10, 1, QStringLiteral("mail"), 2048);
    table.add(20, 1, QStringLiteral("web"), 1 << 20);
    table.add(21, 20, QStringLiteral("web-helper"), 1 << 20);
    table.add(30, 1, QStringLiteral("mail"), 1024);
  }
  FakeProcessTable table;
  FakeRunningApplications applications;
  FakeClock clock;
  std::shared_ptr<FakeRunningApplication> mail = applications.add(10, QStringLiteral("Mail"));
  std::shared_ptr<FakeRunningApplication> web = applications.add(20, QStringLiteral("Web"));
  ProcessesManager processes{table, applications, clock};
};

}  // namespace

class TestApplicationCommands : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void topListsTheLargestFirstWithTheirHelpers() {
    Machine machine;
    CapturedOutput captured;
    ApplicationCommands commands(machine.processes, captured.output());
    QCOMPARE(commands.runTop({QStringLiteral("--json"), QStringLiteral("-n"), QStringLiteral("1")}), 0);
    const QJsonArray records = QJsonDocument::fromJson(captured.out().toUtf8()).array();
    QCOMPARE(records.size(), 1);
    const QJsonObject first = records[0].toObject();
    QCOMPARE(first.value(QStringLiteral("pid")).toInt(), 20);
    QCOMPARE(first.value(QStringLiteral("name")).toString(), QStringLiteral("Web"));
    QCOMPARE(first.value(QStringLiteral("bytes")).toInt(), 2 << 20);
    QCOMPARE(first.value(QStringLiteral("helpers")).toArray(), QJsonArray{21});
    QVERIFY(first.contains(QStringLiteral("url")));
    CapturedOutput plain;
    ApplicationCommands people(machine.processes, plain.output());
    QCOMPARE(people.runTop({}), 0);
    QCOMPARE(plain.out(), QStringLiteral("      20    2.00 MB  Web  +1\n      10    2.00 KB  Mail\n"));
    // The program itself is not listed.
    Machine own;
    own.web->url = QUrl::fromLocalFile(QStringLiteral("/usr/share/applications/com.tessmar.Halvard.desktop"));
    CapturedOutput alone;
    QCOMPARE(ApplicationCommands(own.processes, alone.output()).runTop({}), 0);
    QCOMPARE(alone.out(), QStringLiteral("      10    2.00 KB  Mail\n"));
  }

  void verbsReachTheApplicationByPidOrName() {
    Machine machine;
    CapturedOutput captured;
    ApplicationCommands commands(machine.processes, captured.output());
    QCOMPARE(commands.runVerb(Verb::Activate, {QStringLiteral("20")}), 0);
    QCOMPARE(machine.web->activations, 1);
    QCOMPARE(commands.runVerb(Verb::Quit, {QStringLiteral("mAIL")}), 0);
    QCOMPARE(machine.mail->terminateRequests, 1);
    QCOMPARE(commands.runVerb(Verb::Kill, {QStringLiteral("mail")}), 0);
    QCOMPARE(machine.mail->forceTerminateRequests, 1);
    QCOMPARE(captured.err(), QString());
  }

  void mistakesTouchNobody() {
    Machine machine;
    const auto twin = machine.applications.add(30, QStringLiteral("Mail"));
    CapturedOutput captured;
    ApplicationCommands commands(machine.processes, captured.output());
    QCOMPARE(commands.runVerb(Verb::Kill, {QStringLiteral("mail")}), 1);
    QCOMPARE(commands.runVerb(Verb::Kill, {QStringLiteral("21")}), 1);  // a helper is no application
    QCOMPARE(commands.runVerb(Verb::Kill, {QStringLiteral("nobody")}), 1);
    QCOMPARE(commands.runVerb(Verb::Kill, {}), 2);
    QCOMPARE(captured.err(),
             QStringLiteral("halvardctl: 'mail' is the name of several applications: give one of the pids 10, 30\n"
                            "halvardctl: no application '21' is running; 'top' lists them\n"
                            "halvardctl: no application 'nobody' is running; 'top' lists them\n"
                            "halvardctl: usage: activate|quit|kill PID|NAME\n"));
    for (const char* words : {"-n", "-n x", "-n -1", "--xml", "5"}) {
      QCOMPARE(commands.runTop(QString::fromLatin1(words).split(u' ')), 2);
    }
    QCOMPARE(machine.mail->forceTerminateRequests + twin->forceTerminateRequests + machine.web->forceTerminateRequests,
             0);
  }
};

QTEST_GUILESS_MAIN(TestApplicationCommands)
#include "test_application_commands.moc"
