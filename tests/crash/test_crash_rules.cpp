#include <QTemporaryDir>
#include <QTest>
#include <QUrlQuery>
#include <algorithm>

#include "crash/alert_generator.h"
#include "crash/crash_report_files.h"
#include "crash/handler/crash_handler.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_workspace.h"
#include "platform/linux/crash/isolated_thread_stacks.h"
#include "preferences/stored_keys.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

struct ScriptedAlert : CrashAlert {
  std::optional<AlertAnswer> runModal(const Alert& shown) override {
    contents.push_back(shown);
    return answer;
  }
  std::optional<AlertAnswer> answer = AlertAnswer{2, false};
  std::vector<Alert> contents;
};

ThreadStack stackOf(std::int32_t thread, int frames = 1) {
  ThreadStack stack{thread, ThreadStack::State::read, {}};
  for (int number = 0; number < frames; ++number)
    stack.frames.push_back(
        {0x1000u + static_cast<unsigned>(number), QStringLiteral("halvard"), QStringLiteral("work"), 4});
  return stack;
}

/// The services of one crash, with a name that has a space.
struct Crash {
  explicit Crash(ThreadStacks stacks = std::vector{stackOf(7), stackOf(8)})
      : backtraces(std::move(stacks), 7, 8),
        email({cache, clock, backtraces, workspace},
              {{QStringLiteral("com.tessmar.Halvard"), QStringLiteral("Hal Vard"), QStringLiteral("4.2"),
                QStringLiteral("4.2.1")},
               QStringLiteral("6.1, Debian"),
               99s,
               QStringLiteral("/home/ann"),
               QStringLiteral("/home/ann/state/crash-1-2.txt"),
               QStringLiteral("help@maker.example")}),
        alert({cache, email, window, clock, [this] { steps << QStringLiteral("counted"); },
               [this] { steps << QStringLiteral("relaunch"); }, [this] { steps << QStringLiteral("exit"); }},
              QStringLiteral("Hal Vard")) {}

  FakeDefaultsStore store;
  FakeClock clock;
  CacheManager cache{store};
  FakeWorkspace workspace;
  ScriptedAlert window;
  BSBacktraceLogger backtraces;
  EmailGenerator email;
  QStringList steps;
  AlertGenerator alert;
};

const SignalInformation kSegmentationFault{1, 2, 11, 3};

QString bodyOf(const QUrl& url) {
  return QUrlQuery(url).queryItemValue(QStringLiteral("BODY"), QUrl::FullyDecoded);
}

}  // namespace

class TestCrashRules : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void alertCountsAsksOnceAndLeavesLater_data();
  void alertCountsAsksOnceAndLeavesLater();
  void withoutDisplayTheProgramLeavesAtOnce();
  void suppressionIsOfferedOnlyWhileReportsAreDisabled();
  void signalRecordHasItsLinesInOrder();
  void exceptionRecordShowsItsStackAndTheOthers();
  void mailIsEscapedWhole();
  void mailThatIsTooLongNamesTheFile();
  void homeFolderIsAbbreviated_data();
  void homeFolderIsAbbreviated();
  void backtracesShowFiftyFramesAndEveryFailure();
  void handlerFramesAreRemoved();
  void stacksSurviveTheWayBetweenProcesses();
  void slotIsChosenByTheSignalCode();
  void countOfStrangeKindStartsAgain();
};

void TestCrashRules::alertCountsAsksOnceAndLeavesLater_data() {
  QTest::addColumn<int>("button");
  QTest::addColumn<QStringList>("steps");
  QTest::addColumn<int>("mails");
  const QString counted = QStringLiteral("counted");
  const QString exit = QStringLiteral("exit");
  QTest::newRow("Relaunch") << 0 << QStringList{counted, QStringLiteral("relaunch"), exit} << 0;
  QTest::newRow("Report Us...") << 1 << QStringList{counted, exit} << 1;
  QTest::newRow("Ignore") << 2 << QStringList{counted, exit} << 0;
}

void TestCrashRules::alertCountsAsksOnceAndLeavesLater() {
  QFETCH(int, button);
  QFETCH(QStringList, steps);
  QFETCH(int, mails);
  Crash crash;
  crash.window.answer = AlertAnswer{button, false};
  for (int call = 0; call < 2; ++call)
    crash.alert.showAlertWith(std::nullopt, kSegmentationFault);
  QCOMPARE(crash.window.contents.size(), 1u);
  const Alert& content = crash.window.contents.front();
  QCOMPARE(content.message, QStringLiteral("The application Hal Vard quit unexpectedly."));
  const QStringList buttons{QStringLiteral("Relaunch"), QStringLiteral("Report Us..."), QStringLiteral("Ignore")};
  QCOMPARE(content.buttons, buttons);
  QVERIFY(!content.suppression);
  QCOMPARE(crash.cache.crashesCount(), 1u);
  QCOMPARE(crash.workspace.opened.size(), mails);
  crash.clock.advance(199ms);
  QCOMPARE(crash.steps, steps.mid(0, steps.size() - 1));
  crash.clock.advance(1ms);
  QCOMPARE(crash.steps, steps);
  QVERIFY(!crash.store.hasUnsavedChanges());
}

void TestCrashRules::withoutDisplayTheProgramLeavesAtOnce() {
  Crash crash;
  crash.window.answer.reset();
  crash.alert.showAlertWith(std::nullopt, kSegmentationFault);
  const QStringList steps{QStringLiteral("counted"), QStringLiteral("exit")};
  QCOMPARE(crash.steps, steps);
  QVERIFY(!crash.store.objectForKey(stored_keys::sendCrashReportsDisabled));
}

void TestCrashRules::suppressionIsOfferedOnlyWhileReportsAreDisabled() {
  for (const bool isOn : {false, true}) {
    Crash crash;
    crash.cache.setSendCrashReportsDisabled(true);
    crash.window.answer = AlertAnswer{2, isOn};
    crash.alert.showAlertWith(std::nullopt, kSegmentationFault);
    QCOMPARE(crash.window.contents.front().suppression, QStringLiteral("Send Crash Reports to Tessmar automatically"));
    QCOMPARE(crash.cache.sendCrashReportsDisabled(), !isOn);
  }
  Crash crash;
  crash.window.answer = AlertAnswer{2, false};
  crash.alert.showAlertWith(std::nullopt, kSegmentationFault);
  QCOMPARE(crash.store.objectForKey(stored_keys::sendCrashReportsDisabled), StoredValue{false});
}

void TestCrashRules::signalRecordHasItsLinesInOrder() {
  Crash crash;
  crash.cache.incrementCrashesCount();
  crash.email.setCrash(std::nullopt, kSegmentationFault);
  const QString date =
      QDateTime(QDate(2024, 1, 15), QTime(12, 0), Qt::UTC).toLocalTime().toString(QStringLiteral("dd-MM-yyyy HH:mm"));
  QCOMPARE(crash.email.getErrorRecordString(), QStringLiteral("Bundle Identifier: com.tessmar.Halvard\n"
                                                              "App Version: 4.2 (4.2.1)\n"
                                                              "Crashes Count: 1\n"
                                                              "Date: %1\n"
                                                              "System Uptime(s): 99\n"
                                                              "Class Name: NSProcessInfo\n"
                                                              "Thread: <Thread 7>{number = 1, name = main}\n\n"
                                                              "Signal error. Code 1, errno 2, signo 11, status 3"
                                                              "\n\nThreads: \n\n"
                                                              "Call Backtrace of 2 threads:\n"
                                                              "Backtrace of Thread 8:\n"
                                                              "halvard                        0x00001000 work + 4\n\n"
                                                              "Backtrace of Thread 7:\n"
                                                              "halvard                        0x00001000 work + 4\n\n")
                                                   .arg(date));
}

void TestCrashRules::exceptionRecordShowsItsStackAndTheOthers() {
  Crash crash(std::vector{stackOf(8, 2)});
  crash.email.setCrash(CrashException{QStringLiteral("no such file: /home/ann/list")}, std::nullopt);
  const QString record = crash.email.getErrorRecordString();
  const QString expected = QStringLiteral(
      "\n\nException Reason: no such file: ~/list\n\n"
      "halvard                        0x00001000 work + 4\n"
      "halvard                        0x00001001 work + 4"
      "\n\nOther threads: \n\nCall Backtrace of 1 threads:\nBacktrace of Thread 8:\n");
  QVERIFY2(record.contains(expected), qPrintable(record));
  QVERIFY(!record.contains(QStringLiteral("Signal error.")));
}

void TestCrashRules::mailIsEscapedWhole() {
  QCOMPARE(EmailGenerator::encodedString(QStringLiteral("a-b._~ !*'();:@&=+$,/?%#[]\n\"\u00e4")),
           QByteArray("a-b._~%20%21%2A%27%28%29%3B%3A%40%26%3D%2B%24%2C%2F%3F%25%23%5B%5D%0A%22%C3%A4"));
  Crash crash;
  QVERIFY(crash.email.generateEmailWith(std::nullopt, kSegmentationFault));
  const QUrl url = crash.workspace.opened.front();
  const QByteArray address = url.toEncoded();
  QVERIFY2(
      address.startsWith("mailto:help@maker.example?SUBJECT=Hal%20Vard%20Crash%20Report&BODY=Bundle%20Identifier%3A"),
      address);
  QCOMPARE(bodyOf(url),
           crash.email.getErrorRecordString() + QStringLiteral("\n\nSent from:\nHal Vard v4.2\nOS X 6.1, Debian\n"));
}

void TestCrashRules::mailThatIsTooLongNamesTheFile() {
  Crash crash(std::vector{stackOf(7), stackOf(8, 50), stackOf(9, 50), stackOf(10, 50)});
  QVERIFY(crash.email.generateEmailWith(std::nullopt, kSegmentationFault));
  const QUrl url = crash.workspace.opened.front();
  QVERIFY(url.toEncoded().size() <= EmailGenerator::kLongestAddress);
  const QString body = bodyOf(url);
  QVERIFY(body.contains(QStringLiteral("Signal error. Code 1")));
  QVERIFY(body.contains(QStringLiteral("Backtrace of Thread 8:\n")));
  QVERIFY2(body.contains(QStringLiteral("please attach it:\n~/state/crash-1-2.txt\n")), qPrintable(body));
  QVERIFY(body.endsWith(QStringLiteral("Sent from:\nHal Vard v4.2\nOS X 6.1, Debian\n")));
}

void TestCrashRules::homeFolderIsAbbreviated_data() {
  QTest::addColumn<QString>("text");
  QTest::addColumn<QString>("home");
  QTest::addColumn<QString>("result");
  const auto row = [](const char* name, const char* text, const char* home, const char* result) {
    QTest::newRow(name) << QString::fromUtf8(text) << QString::fromUtf8(home) << QString::fromUtf8(result);
  };
  row("paths", "/home/ann/a \"/home/ann\" /home/ann.", "/home/ann", "~/a \"~\" ~.");
  row("another user", "/home/anna/a /home/ann-x /home/ann.old", "/home/ann", "/home/anna/a /home/ann-x /home/ann.old");
  row("a letter beyond ASCII", "/home/annä/a", "/home/ann", "/home/annä/a");
  row("pattern characters", "/home/a+b/c", "/home/a+b", "~/c");
  row("home is the root", "/usr/lib", "/", "/usr/lib");
  row("unknown home", "/usr/lib", "", "/usr/lib");
}

void TestCrashRules::homeFolderIsAbbreviated() {
  QFETCH(QString, text);
  QFETCH(QString, home);
  QTEST(withoutHomeFolder(text, home), "result");
}

void TestCrashRules::backtracesShowFiftyFramesAndEveryFailure() {
  ThreadStack strange{9, ThreadStack::State::read, {}};
  strange.frames = {{0x7f0000001234, QStringLiteral("libstripped.so"), {}, 0x234}, {0x10, {}, {}, 0}};
  const BSBacktraceLogger logger(std::vector{stackOf(7, 60), ThreadStack{10, ThreadStack::State::noInformation, {}},
                                             ThreadStack{11, ThreadStack::State::noInstructionAddress, {}},
                                             ThreadStack{12, ThreadStack::State::noFramePointer, {}}, strange},
                                 7, 9);
  QCOMPARE(logger.bs_backtraceOfMainThread().count(QStringLiteral("work")), 50);
  QCOMPARE(logger.bs_backtraceOfCurrentThread(),
           QStringLiteral("Backtrace of Thread 9:\n"
                          "libstripped.so                 0x7f0000001234 0x7f0000001000 + 564\n"
                          "???                            0x00000010 ??? + 0\n\n"));
  QCOMPARE(logger.bs_backtraceOfNSThread(10), QStringLiteral("Fail to get information about thread: 10"));
  QCOMPARE(logger.bs_backtraceOfNSThread(11), QStringLiteral("Fail to get instruction address"));
  QCOMPARE(logger.bs_backtraceOfNSThread(12), QStringLiteral("Fail to get frame pointer"));
  QCOMPARE(logger.bs_backtraceOfNSThread(99), QStringLiteral("Fail to get information about thread: 99"));
  QVERIFY(logger.bs_backtraceOfAllThread().startsWith(
      QStringLiteral("Call Backtrace of 5 threads:\nBacktrace of Thread 9:\n")));
  QCOMPARE(BSBacktraceLogger(std::nullopt, 7, 7).bs_backtraceOfAllThread(),
           QStringLiteral("Fail to get information of all threads"));
}

void TestCrashRules::handlerFramesAreRemoved() {
  const auto frame = [](std::uint64_t address, const char* symbol) {
    return StackFrame{address, {}, QString::fromUtf8(symbol), 0};
  };
  const ThreadStack signal{
      1, ThreadStack::State::read, {frame(1, "poll"), frame(2, "__restore_rt"), frame(3, "boom"), frame(4, "main")}};
  ThreadStack stack = signal;
  removeHandlerFrames(stack, 3);
  QCOMPARE(stack.frames.front(), frame(3, "boom"));
  stack = signal;
  removeHandlerFrames(stack, 77);
  QVERIFY(stack == signal);
  stack.frames = {frame(1, "poll"), frame(2, "std::terminate()"), frame(3, "__cxa_throw"), frame(4, "boom")};
  removeHandlerFrames(stack, 0);
  QCOMPARE(stack.frames.size(), 1u);
  stack = signal;
  removeHandlerFrames(stack, 0);
  QVERIFY(stack == signal);
}

void TestCrashRules::stacksSurviveTheWayBetweenProcesses() {
  const ThreadStacks stacks = std::vector{stackOf(7, 3), ThreadStack{8, ThreadStack::State::noInformation, {}}};
  const QByteArray bytes = encodeThreadStacks(stacks);
  QVERIFY(decodeThreadStacks(bytes) == stacks);
  QVERIFY(!decodeThreadStacks(encodeThreadStacks(std::nullopt)));
  for (qsizetype size = 0; size < bytes.size(); ++size)
    QVERIFY(!decodeThreadStacks(bytes.left(size)));
}

void TestCrashRules::slotIsChosenByTheSignalCode() {
  QCOMPARE(crash_handler::previousActionSlot(0), 0);
  QCOMPARE(crash_handler::previousActionSlot(31), 31);
  QCOMPARE(crash_handler::previousActionSlot(32), -1);
  QCOMPARE(crash_handler::previousActionSlot(-6), -1);
}

void TestCrashRules::countOfStrangeKindStartsAgain() {
  FakeDefaultsStore store;
  CacheManager cache(store);
  store.setObject(stored_keys::crashesCount, {QStringLiteral("many")});
  QCOMPARE(cache.crashesCount(), 0u);
  cache.incrementCrashesCount();
  QCOMPARE(store.objectForKey(stored_keys::crashesCount), StoredValue{std::int64_t{1}});
  QVERIFY(!store.hasUnsavedChanges());
}

QTEST_GUILESS_MAIN(TestCrashRules)
#include "test_crash_rules.moc"
