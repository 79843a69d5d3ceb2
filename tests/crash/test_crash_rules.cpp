#include <QUrlQuery>
#include <QtTest>

#include "crash/alert_generator.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_workspace.h"
#include "platform/linux/crash/isolated_thread_stacks.h"
#include "support/texts.h"

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
    stack.frames.push_back({0x1000u + static_cast<unsigned>(number), text("halvard"), text("work"), 4});
  return stack;
}

/// The services of one crash, with a name that has a space.
struct Crash {
  explicit Crash(ThreadStacks stacks = std::vector{stackOf(7), stackOf(8)})
      : backtraces(std::move(stacks), 7, 8),
        email({cache, clock, backtraces, workspace},
              {{text("com.tessmar.Halvard"), text("Hal Vard"), text("4.2"), text("4.2.1")},
               text("6.1, Debian"),
               99s,
               text("/home/ann"),
               text("/home/ann/state/crash-1-2.txt"),
               text("help@maker.example")}),
        alert({cache, email, window, clock, [this] { steps << text("counted"); }, [this] { steps << text("relaunch"); },
               [this] { steps << text("not mailed"); }, [this] { steps << text("exit"); }},
              text("Hal Vard")) {}

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
  return QUrlQuery(url).queryItemValue(text("BODY"), QUrl::FullyDecoded);
}

}  // namespace

class TestCrashRules : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void alertCountsAsksOnceAndLeavesLater() {
    for (int button = 0; button < 3; ++button) {
      Crash crash;
      crash.window.answer = AlertAnswer{button, false};
      for (int call = 0; call < 2; ++call)
        crash.alert.showAlertWith(std::nullopt, kSegmentationFault);
      QCOMPARE(crash.window.contents.size(), 1u);
      QCOMPARE(crash.cache.crashesCount(), 1u);
      QCOMPARE(crash.workspace.opened.size(), button == 1 ? 1 : 0);
      const QString steps = text(button == 0 ? "counted relaunch" : "counted");
      crash.clock.advance(199ms);
      QCOMPARE(crash.steps.join(u' '), steps);
      crash.clock.advance(1ms);
      QCOMPARE(crash.steps.join(u' '), steps + text(" exit"));
      QVERIFY(!crash.store.hasUnsavedChanges());
    }
  }

  void suppressionIsOfferedOnlyWhileReportsAreDisabled() {
    for (const auto& [disabled, isOn] : {std::pair(false, false), {false, true}, {true, false}, {true, true}}) {
      Crash crash;
      crash.cache.setSendCrashReportsDisabled(disabled);
      crash.window.answer = AlertAnswer{2, isOn};
      crash.alert.showAlertWith(std::nullopt, kSegmentationFault);
      QCOMPARE(crash.window.contents.front().suppression.has_value(), disabled);
      QCOMPARE(crash.cache.sendCrashReportsDisabled(), disabled && !isOn);
    }
  }

  void signalRecordHasItsLinesInOrder() {
    Crash crash;
    crash.cache.incrementCrashesCount();
    crash.email.setCrash(std::nullopt, kSegmentationFault);
    const QString date =
        QDateTime(QDate(2024, 1, 15), QTime(12, 0), Qt::UTC).toLocalTime().toString(text("dd-MM-yyyy HH:mm"));
    QCOMPARE(crash.email.getErrorRecordString(), text("Bundle Identifier: com.tessmar.Halvard\n"
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

  void mailIsEscapedWhole() {
    QCOMPARE(EmailGenerator::encodedString(text("a-b._~ !*'();:@&=+$,/?%#[]\n\"\u00e4")),
             QByteArray("a-b._~%20%21%2A%27%28%29%3B%3A%40%26%3D%2B%24%2C%2F%3F%25%23%5B%5D%0A%22%C3%A4"));
    Crash crash;
    QVERIFY(crash.email.generateEmailWith(std::nullopt, kSegmentationFault));
    const QUrl url = crash.workspace.opened.front();
    const QByteArray address = url.toEncoded();
    QVERIFY2(
        address.startsWith("mailto:help@maker.example?SUBJECT=Hal%20Vard%20Crash%20Report&BODY=Bundle%20Identifier%3A"),
        address);
    QCOMPARE(bodyOf(url),
             crash.email.getErrorRecordString() + text("\n\nSent from:\nHal Vard v4.2\nOS X 6.1, Debian\n"));
  }

  void mailThatIsTooLongNamesTheFile() {
    Crash crash(std::vector{stackOf(7), stackOf(8, 50), stackOf(9, 50), stackOf(10, 50)});
    QVERIFY(crash.email.generateEmailWith(std::nullopt, kSegmentationFault));
    const QUrl url = crash.workspace.opened.front();
    QVERIFY(url.toEncoded().size() <= EmailGenerator::kLongestAddress);
    const QString body = bodyOf(url);
    QVERIFY(body.contains(text("Signal error. Code 1")));
    QVERIFY(body.contains(text("Backtrace of Thread 8:\n")));
    QVERIFY2(body.contains(text("please attach it:\n~/state/crash-1-2.txt\n")), qPrintable(body));
    QVERIFY(body.endsWith(text("Sent from:\nHal Vard v4.2\nOS X 6.1, Debian\n")));
  }

  void homeFolderIsAbbreviated() {
    const char* const cases[][3] = {
        {"/home/ann/a \"/home/ann\" /home/ann.", "/home/ann", "~/a \"~\" ~."},
        {"/home/anna/a /home/ann-x /home/ann.old", "/home/ann", "/home/anna/a /home/ann-x /home/ann.old"},
        {"/home/annä/a", "/home/ann", "/home/annä/a"},
        {"/home/a+b/c", "/home/a+b", "~/c"},
        {"/usr/lib", "/", "/usr/lib"},
        {"/usr/lib", "", "/usr/lib"},
    };
    for (const auto& [before, home, after] : cases)
      QCOMPARE(withoutHomeFolder(text(before), text(home)), text(after));
  }

  void backtracesShowFiftyFramesAndEveryFailure() {
    ThreadStack strange{9, ThreadStack::State::read, {}};
    strange.frames = {{0x7f0000001234, text("libstripped.so"), {}, 0x234}, {0x10, {}, {}, 0}};
    const BSBacktraceLogger logger(
        std::vector{stackOf(7, 60), ThreadStack{10, ThreadStack::State::noFramePointer, {}}, strange}, 7, 9);
    QCOMPARE(logger.bs_backtraceOfMainThread().count(text("work")), 50);
    QCOMPARE(logger.bs_backtraceOfCurrentThread(),
             text("Backtrace of Thread 9:\n"
                  "libstripped.so                 0x7f0000001234 0x7f0000001000 + 564\n"
                  "???                            0x00000010 ??? + 0\n\n"));
    QCOMPARE(logger.bs_backtraceOfNSThread(10), text("Fail to get frame pointer"));
    QCOMPARE(logger.bs_backtraceOfNSThread(99), text("Fail to get information about thread: 99"));
    QVERIFY(
        logger.bs_backtraceOfAllThread().startsWith(text("Call Backtrace of 3 threads:\nBacktrace of Thread 9:\n")));
    QCOMPARE(BSBacktraceLogger(std::nullopt, 7, 7).bs_backtraceOfAllThread(),
             text("Fail to get information of all threads"));
  }

  void handlerFramesAreRemoved() {
    const auto left = [](std::initializer_list<const char*> symbols, std::uint64_t instruction) {
      ThreadStack stack{1, ThreadStack::State::read, {}};
      for (const char* symbol : symbols)
        stack.frames.push_back({stack.frames.size() + 1, {}, text(symbol), 0});
      removeHandlerFrames(stack, instruction);
      return stack.frames.front().symbol + QString::number(stack.frames.size());
    };
    QCOMPARE(left({"poll", "__restore_rt", "boom", "main"}, 3), text("boom2"));
    QCOMPARE(left({"poll", "__restore_rt", "boom", "main"}, 77), text("poll4"));
    QCOMPARE(left({"poll", "std::terminate()", "__cxa_throw", "boom"}, 0), text("boom1"));
    QCOMPARE(left({"poll", "boom"}, 0), text("poll2"));
  }

  void stacksSurviveTheWayBetweenProcesses() {
    const ThreadStacks stacks = std::vector{stackOf(7, 3), ThreadStack{8, ThreadStack::State::noInformation, {}}};
    const QByteArray bytes = encodeThreadStacks(stacks);
    QVERIFY(decodeThreadStacks(bytes) == stacks);
    QVERIFY(!decodeThreadStacks(encodeThreadStacks(std::nullopt)));
    for (qsizetype size = 0; size < bytes.size(); ++size)
      QVERIFY(!decodeThreadStacks(bytes.left(size)));
  }
};

QTEST_GUILESS_MAIN(TestCrashRules)
#include "test_crash_rules.moc"
