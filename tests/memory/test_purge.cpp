#include <QtTest>
#include <limits>

#include <pthread.h>

#include "memory/controller_parts.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;
using Sender = ZPPurgeController::Sender;

namespace {

constexpr ByteCount kBlock = PurgeManager::kAllocationBlockSize;
constexpr std::int64_t kMiB = 1024 * 1024;
constexpr ByteCount kTotal = ByteCount{4} << 30;
constexpr ByteCount kHalf = kTotal / 2;

struct RecordingView : PurgeControllerView {
  void beginProgressUpdate() override { steps << "begin"; }
  void endProgressUpdate() override { steps << "end"; }
  void setCleanButtonEnabled(bool enabled) override { steps << (enabled ? "enable" : "disable"); }
  void setCleanButtonTitle(const QString& title) override { steps << title.toUtf8(); }
  void showCleaningIcon() override { steps << "icon_clear"; }
  void updateStatusItem(const MemorySnapshot& snapshot) override {
    steps << "item";
    shownBytes = snapshot.calculateUsedSize();
  }
  void fillInfoPanel(const MemorySnapshot&) override { steps << "panel"; }
  void fillLastCleanedLabelWithSize(std::int64_t size, const QString& description) override {
    cleanedSize = size;
    cleanedDescription = description;
  }
  bool isWatched() const override { return watched; }
  void onPurgedMemory() override { steps << "purged"; }
  void showRateDialogAutomaticallyIfNeeded() override { ++rateInvitations; }
  void showAutostartPopupWindow(ByteCount size) override { autostartOffers.push_back(size); }

  bool watched = false;
  QByteArrayList steps;
  ByteCount shownBytes = 0;
  std::int64_t cleanedSize = -2;
  QString cleanedDescription;
  int rateInvitations = 0;
  std::vector<ByteCount> autostartOffers;
};

/// A machine with pages of one byte, for gains to the byte. Half of it is used.
struct Program : ControllerParts {
  Program() {
    host.setPageSize(1);
    setUsed(kHalf);
    QObject::connect(&controller, &ZPPurgeController::purgeFinished,
                     [this](const PurgeReport& report) { reports.push_back(report); });
    controller.initValues();
  }
  /// Runs a purge to its end.
  void purgeGaining(std::int64_t bytes, Sender sender) {
    setUsed(kHalf);
    const std::size_t finished = reports.size();
    controller.onFreeMemory(sender);
    setUsed(kHalf - static_cast<ByteCount>(bytes));
    QTRY_COMPARE(reports.size(), finished + 1);
  }

  RecordingView view;
  std::vector<PurgeReport> reports;
  ZPPurgeController controller{services(), view};
};

struct Course : PurgeManagerDelegate {
  void onPurgeManagerStartPurge() override { events << text("start"); }
  void onPurgeManagerEndPurge() override { events << text("end"); }
  void onPurgeManagerPurgingProgress(float value) override { progress.push_back(value); }
  QStringList events;
  std::vector<float> progress;
};

/// A manager with memory for three steps and a half.
struct Purge : ControllerParts {
  Purge() {
    manager.setDelegate(&course);
    managerHost.setPhysicalMemory(3 * kBlock + kBlock / 2);
  }
  /// Runs one purge to its end.
  void run() {
    bool done = false;
    manager.purgeWithCompletion([&] { done = true; });
    QTRY_VERIFY(done);
  }
  Course course;
};

}  // namespace

class TestPurge : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void initTestCase() { QLocale::setDefault(QLocale::c()); }

  void purgeShowsItsCourseInOrderAndItsTimeOnThatDay() {
    Program program;
    program.purgeGaining(65536, Sender::CleanButton);
    QCOMPARE(program.view.steps, (QByteArrayList{"begin", "disable", "Cleaning...", "icon_clear", "enable", "Cleanup",
                                                 "end", "purged", "panel", "item"}));
    QVERIFY(!program.controller.isPurging());
    QCOMPARE(program.controller.lastPurgedSize(), 65536u);
    QCOMPARE(program.defaults.cleanedSize(), 65536u);
    QCOMPARE(program.view.cleanedSize, 65536);
    QCOMPARE(program.view.cleanedDescription,
             text("at ") + QLocale().toString(QDateTime::fromSecsSinceEpoch(1705320000).time(), QLocale::ShortFormat));
    program.clock.setNow(program.clock.now() + 24h);
    program.controller.startRefreshChain();
    program.clock.advance(0ms);
    QVERIFY(program.view.cleanedDescription.isEmpty());
  }

  void purgeWithoutGainChangesNothing() {
    Program program;
    program.controller.startRefreshChain();
    program.clock.advance(3s);
    for (const std::int64_t gain : {0, -4096}) {
      program.purgeGaining(gain, Sender::CleanButton);
      QCOMPARE(program.reports.back().freedBytes, 0u);
    }
    QCOMPARE(program.controller.ticksFromLastFree(), 4);
    QCOMPARE(program.defaults.cleanedSize(), 0u);
    QCOMPARE(program.controller.lastPurgedSize(), 0u);
    QVERIFY(program.userNotifications.delivered.empty());
    QVERIFY(!program.view.steps.contains("purged"));
    // The press is still owed: the next purge that gains counts as started by hand, the one after that does not.
    for (int purge = 0; purge < 2; ++purge) {
      program.purgeGaining(200 * kMiB, Sender::Controller);
      QCOMPARE(program.view.autostartOffers.size(), 1u);
    }
  }

  void thresholdsAreStrict() {
    const struct {
      std::int64_t gain;
      bool offers, notifies, rates;
    } cases[] = {{100 * kMiB, false, false, false}, {100 * kMiB + 1, true, false, false},
                 {500'000'000, true, false, false}, {500'000'001, true, true, false},
                 {500 * kMiB, true, true, false},   {500 * kMiB + 1, true, true, true}};
    for (const auto& [gain, offers, notifies, rates] : cases) {
      Program program;
      program.purgeGaining(gain, Sender::CleanButton);
      program.clock.advance(999ms);
      QCOMPARE(program.view.rateInvitations, 0);
      program.clock.advance(1ms);
      QCOMPARE(program.view.rateInvitations, rates ? 1 : 0);
      QCOMPARE(program.userNotifications.delivered.size(), notifies ? 1u : 0u);
      QCOMPARE(program.view.autostartOffers, std::vector(offers ? 1 : 0, static_cast<ByteCount>(gain)));
    }
  }

  void notificationNamesTheGainAndBothOffersObeyThePreferences() {
    Program program;
    program.purgeGaining(600 * kMiB, Sender::Controller);
    QVERIFY(program.view.autostartOffers.empty());
    program.preferences.showNotificationAfreFreeUp().setValue(false);
    program.defaults.setShowAutostartPopupAfterPurge(false);
    program.purgeGaining(600 * kMiB, Sender::CleanButton);
    QVERIFY(program.view.autostartOffers.empty());
    QCOMPARE(program.defaults.cleanedSize(), ByteCount{1200 * kMiB});
    QCOMPARE(program.userNotifications.delivered.size(), 1u);
    QCOMPARE(program.userNotifications.delivered[0].title, text("Halvard"));
    QCOMPARE(program.userNotifications.delivered[0].informativeText, text("600 MB of RAM have been cleaned just now."));
  }

  void largeApplicationQuitStartsAPurgeWithoutOffer() {
    Program program;
    program.controller.startLargeApplicationRule();
    QVERIFY(program.watch.running);
    for (const bool wanted : {false, true}) {
      program.preferences.shouldCleanupMemoryIfLargeAppQuits().setValue(wanted);
      QCOMPARE(program.watch.running, wanted);
    }
    program.notifications.post(ZPPurgeController::kHugeProcessTerminated);
    QVERIFY(program.controller.isPurging());
    program.setUsed(0);
    QTRY_COMPARE(program.reports.size(), 1u);
    QVERIFY(program.view.autostartOffers.empty());
  }

  void refreshChainRunsEverySecondAndAPurgeFreezesItAndOtherPurges() {
    Program program;
    program.controller.startRefreshChain();
    QCOMPARE(program.view.shownBytes, 0u);
    program.clock.advance(0ms);
    QCOMPARE(program.view.shownBytes, kHalf);
    QCOMPARE(program.controller.ticksFromLastFree(), 1);
    std::atomic<bool> hold = true;
    program.clock.onSleep = [&](std::chrono::milliseconds) {
      while (hold)
        std::this_thread::yield();
    };
    program.controller.onFreeMemory(Sender::Controller);
    program.setUsed(kTotal / 4);
    program.clock.advance(5s);
    QCOMPARE(program.view.shownBytes, kHalf);
    QCOMPARE(program.controller.ticksFromLastFree(), 6);
    program.controller.onFreeMemory(Sender::CleanButton);
    program.controller.onFreeMemory(Sender::None);
    program.notifications.post(ZPPurgeController::kHugeProcessTerminated);
    hold = false;
    QTRY_COMPARE(program.reports.size(), 1u);
    QCOMPARE(program.view.steps.count("begin"), 1);
    QCOMPARE(program.memory.sessionsOpened(), 1);
    QVERIFY2(program.view.autostartOffers.empty(), "a press that was not heard is not owed");
    QCOMPARE(program.view.shownBytes, kTotal / 4);
    QCOMPARE(program.controller.ticksFromLastFree(), 0);
    QCOMPARE(program.clock.pendingCalls(), 2u);  // the chain and the invitation to rate, no second chain
  }

  void roundsReadAnewUnlessNothingHasMoved() {
    Program program;
    program.host.setUnmoved(true);
    program.controller.startRefreshChain();
    program.clock.advance(0ms);
    QCOMPARE(program.host.readings(), 1);
    program.setUsed(kTotal / 4);
    program.clock.advance(3s);
    QCOMPARE(program.host.readings(), 1);
    QCOMPARE(program.view.steps.count("item"), 4);
    QCOMPARE(program.controller.ticksFromLastFree(), 4);
    program.controller.checkMemory(false);
    QCOMPARE(program.view.shownBytes, kTotal / 4);
    program.view.watched = true;
    program.clock.advance(1s);
    QCOMPARE(program.host.readings(), 3);
    program.view.watched = false;
    program.controller.readAnew();
    QCOMPARE(program.host.readings(), 4);
    program.clock.advance(1s);
    QCOMPARE(program.host.readings(), 4);
    program.host.setUnmoved(false);
    program.clock.advance(1s);
    QCOMPARE(program.host.readings(), 5);
  }

  void failedReadingEndsTheChain() {
    Program program;
    program.controller.startRefreshChain();
    program.clock.advance(2s);
    program.host.setKernelReturn(1);
    program.clock.advance(1s);
    program.host.setKernelReturn(0);
    program.clock.advance(10s);
    QCOMPARE(program.controller.ticksFromLastFree(), 3);
    QCOMPARE(program.clock.pendingCalls(), 0u);
  }

  void automaticRuleNeedsAllOfItsConditions() {
    constexpr ByteCount kLow = kTotal / 10;
    constexpr ByteCount kLimit = kTotal / 4;
    const struct {
      const char* name;
      bool enabled;
      double frequency;
      ByteCount free;
      float cpu;
      bool purges;
    } cases[] = {{"all hold, free just below the limit", true, 5, kLimit - 1, 0.1F, true},
                 {"switched off", false, 5, kLow, 0.1F, false},
                 {"frequency 0", true, 0, kLow, 0.1F, false},
                 {"negative frequency", true, -1, kLow, 0.1F, false},
                 {"too early", true, 7, kLow, 0.1F, false},
                 {"free exactly at the limit", true, 5, kLimit, 0.1F, false},
                 {"processors exactly at the limit", true, 5, kLow, 0.25F, false},
                 {"processor use unknown", true, 5, kLow, std::numeric_limits<float>::quiet_NaN(), false}};
    for (const auto& [name, enabled, frequency, free, cpu, purges] : cases) {
      Program program;
      program.preferences.memoryUsageLimitToAutofree().setValue(0.75);
      program.preferences.cpuUsageLimitToAutofree().setValue(0.25);
      program.preferences.autoFreeUpMemory().setValue(enabled);
      program.preferences.frequencyForToAutofree().setValue(frequency);
      program.setUsed(kTotal - free);
      program.cpu.usage = cpu;
      program.controller.startRefreshChain();
      program.clock.advance(4s);
      QVERIFY2(!program.controller.isPurging(), name);
      program.clock.advance(1s);
      QVERIFY2(program.controller.isPurging() == purges, name);
      QTRY_COMPARE(program.reports.size(), purges ? 1u : 0u);
    }
  }

  void fillsAllOfMemoryPausesThenReleasesInOrder() {
    Purge purge;
    std::vector<std::size_t> operationsAtPauses;
    purge.clock.onSleep = [&](std::chrono::milliseconds duration) {
      if (duration == 1000ms) operationsAtPauses.push_back(purge.memory.operations().size());
    };
    purge.run();
    const std::vector<std::string> expected{"make 0",    "begin 0", "zero 0",    "make 1", "begin 1",
                                            "zero 1",    "make 2",  "begin 2",   "zero 2", "end 0",
                                            "discard 0", "end 1",   "discard 1", "end 2",  "discard 2"};
    QCOMPARE(purge.memory.numberedOperations(), expected);
    QCOMPARE(operationsAtPauses, std::vector<std::size_t>{9});
    QCOMPARE(purge.memory.sizes(), std::vector<ByteCount>(3, 10 * 1024 * 1024));
    QCOMPARE(purge.memory.sessionsOpen(), 0);
    QCOMPARE(purge.course.events, texts({"start", "end"}));
    const std::vector<float> expectedProgress{0.0F, 0.5F / 3, 1.0F / 3, 0.5F, 0.5F / 3 + 0.5F, 1.0F / 3 + 0.5F, 1.0F};
    QCOMPARE(purge.course.progress, expectedProgress);
  }

  void smallProgressIsNotReported() {
    Purge purge;
    purge.managerHost.setPhysicalMemory(1000 * kBlock);
    purge.run();
    // Steps of 0.0005: a report each time the change exceeds 0.01, and the forced ones.
    const auto& progress = purge.course.progress;
    QVERIFY2(progress.size() > 90 && progress.size() < 105, qPrintable(QString::number(progress.size())));
    for (std::size_t index = 1; index + 1 < progress.size(); ++index) {
      const bool forced = progress[index] == 0.5F || progress[index] == 1.0F;
      QVERIFY(forced || progress[index] - progress[index - 1] > 0.01F);
    }
  }

  void waitsUntilFreeMemoryRisesAboveTheStartButNotForEver() {
    Purge purge;
    const auto waits = [&purge] { return std::ranges::count(purge.clock.sleeps(), 250ms); };
    // Reading 1 is the start; the purge reads again after the release, each time a quarter of a second apart.
    for (const PageCount pages : {1000u, 1000u, 1001u, 1000u, 999u, 0u})
      purge.managerHost.queueStatistics64({.active_count = pages});
    purge.run();
    QCOMPARE(purge.managerHost.readings(), 5);
    QCOMPARE(waits(), 3);
    purge.managerHost.setStatistics64({.active_count = 1000});
    purge.run();
    QCOMPARE(purge.managerHost.readings(), 5 + 21);
    QCOMPARE(waits(), 3 + 20);
  }

  void lostWorkerEndsThePurgeNormally() {
    for (const int steps : {0, 4}) {
      Purge purge;
      purge.memory.dieAfter(steps);
      purge.run();
      QCOMPARE(static_cast<int>(purge.memory.operations().size()), steps);
      QCOMPARE(purge.course.progress.back(), 1.0F);
      QCOMPARE(purge.course.events.last(), text("end"));
    }
  }

  void aPurgeThatGetsNoThreadEndsAtOnce() {
    pthread_attr_t usual, huge;
    ::pthread_getattr_default_np(&usual);
    ::pthread_getattr_default_np(&huge);
    ::pthread_attr_setstacksize(&huge, std::size_t{1} << 60);  // no address space has room for it
    Purge purge;
    Program program;
    ::pthread_setattr_default_np(&huge);
    purge.run();
    program.purgeGaining(0, Sender::CleanButton);
    ::pthread_setattr_default_np(&usual);
    QVERIFY(!program.controller.isPurging() && program.reports.at(0).outcome.explanation.startsWith(text("no thread")));
    QCOMPARE(program.memory.sessionsOpened(), 0);
    QVERIFY(purge.manager.lastOutcome().method == ReclaimMethod::None);
    QVERIFY(purge.manager.lastOutcome().explanation.startsWith(text("no thread can be started")));
    QCOMPARE(purge.memory.sessionsOpened(), 0);
    purge.run();
    QCOMPARE(purge.memory.sessionsOpened(), 1);
  }

  void secondPurgeCannotStartWhileOneRuns() {
    Purge purge;
    std::atomic<bool> hold = true;
    purge.clock.onSleep = [&](std::chrono::milliseconds duration) {
      while (duration == 1000ms && hold)
        std::this_thread::yield();
    };
    int completions = 0;
    purge.manager.purgeWithCompletion([&] {
      ++completions;
      // Still running as far as the manager is concerned: the completion is cleared after this call.
      purge.manager.purgeWithCompletion([&] { completions += 100; });
    });
    purge.manager.purgeWithCompletion([&] { completions += 10; });
    hold = false;
    QTRY_COMPARE(completions, 1);
    QCOMPARE(purge.memory.sessionsOpened(), 1);
    purge.run();
    QCOMPARE(purge.memory.sessionsOpened(), 2);
  }

  void destructionInTheMiddleDropsTheCompletion() {
    FakeHostStatistics host;
    FakePurgeableMemory memory;
    SystemClock clock;
    bool completed = false;
    {
      PurgeManager manager(host, memory, clock);
      manager.purgeWithCompletion([&] { completed = true; });
      QTRY_VERIFY(!memory.operations().empty());
    }
    QCoreApplication::processEvents();
    QVERIFY(!completed);
    QCOMPARE(memory.sessionsOpen(), 0);
  }
};

QTEST_GUILESS_MAIN(TestPurge)
#include "test_purge.moc"
