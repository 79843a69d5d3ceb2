#include <QtTest>
#include <limits>

#include "memory/controller_parts.h"

using namespace halvard;
using namespace std::chrono_literals;
using Sender = ZPPurgeController::Sender;

namespace {

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
  void onPurgedMemory() override { steps << "purged"; }
  void showRateDialogAutomaticallyIfNeeded() override { ++rateInvitations; }
  void showAutostartPopupWindow(ByteCount size) override { autostartOffers.push_back(size); }

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

}  // namespace

class TestZPPurgeController : public QObject {
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
             QStringLiteral("at ") +
                 QLocale().toString(QDateTime::fromSecsSinceEpoch(1705320000).time(), QLocale::ShortFormat));
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
    QCOMPARE(program.userNotifications.delivered[0].title, QStringLiteral("Halvard"));
    QCOMPARE(program.userNotifications.delivered[0].informativeText,
             QStringLiteral("600 MB of RAM have been cleaned just now."));
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
};

QTEST_GUILESS_MAIN(TestZPPurgeController)
#include "test_zp_purge_controller.moc"
