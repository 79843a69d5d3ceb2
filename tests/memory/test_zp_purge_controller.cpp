#include <QtTest>
#include <limits>

#include "memory/controller_parts.h"

using namespace halvard;
using namespace std::chrono_literals;
using Sender = ZPPurgeController::Sender;

namespace {

constexpr ByteCount kMiB = 1024 * 1024;
constexpr PageCount kTotalPages = PageCount{1} << 20;

struct RecordingView : PurgeControllerView {
  void beginProgressUpdate() override { steps << QStringLiteral("begin"); }
  void endProgressUpdate() override { steps << QStringLiteral("end"); }
  void setCleanButtonEnabled(bool enabled) override {
    steps << (enabled ? QStringLiteral("enable") : QStringLiteral("disable"));
  }
  void setCleanButtonTitle(const QString& title) override { steps << title; }
  void showCleaningIcon() override { steps << QStringLiteral("icon_clear"); }
  void updateStatusItem(const MemorySnapshot& snapshot) override {
    steps << QStringLiteral("item");
    shownPages = snapshot.calculateUsedPages();
  }
  void fillInfoPanel(const MemorySnapshot&) override { steps << QStringLiteral("panel"); }
  void fillLastCleanedLabelWithSize(std::int64_t size, const QString& description) override {
    cleanedSize = size;
    cleanedDescription = description;
  }
  void onPurgedMemory() override { steps << QStringLiteral("purged"); }
  void showRateDialogAutomaticallyIfNeeded() override { ++rateInvitations; }
  void showAutostartPopupWindow(ByteCount size) override { autostartOffers.push_back(size); }

  QStringList steps;
  PageCount shownPages = 0;
  std::int64_t cleanedSize = -2;
  QString cleanedDescription;
  int rateInvitations = 0;
  std::vector<ByteCount> autostartOffers;
};

struct Program : ControllerParts {
  explicit Program(std::optional<QString> osVersion = std::nullopt) : ControllerParts(std::move(osVersion)) {
    managerHost.setPhysicalMemory(2 * PurgeManager::kAllocationBlockSize);
    setUsedPages(kTotalPages / 2);
    QObject::connect(&controller, &ZPPurgeController::purgeFinished,
                     [this](const PurgeReport& report) { reports.push_back(report); });
    controller.initValues();
  }

  void setUsedPages(PageCount pages) {
    VmStatistics64 counters;
    counters.internal_page_count = pages;
    host.setStatistics64(counters);
  }

  /// Runs a purge that gains `bytes` (whole pages) and waits for its end.
  void purgeGaining(std::int64_t bytes, Sender sender) {
    const PageCount before = kTotalPages / 2;
    setUsedPages(before);
    const std::size_t finished = reports.size();
    controller.onFreeMemory(sender);
    setUsedPages(static_cast<PageCount>(static_cast<std::int64_t>(before) - bytes / pageBytes));
    QTRY_COMPARE(reports.size(), finished + 1);
  }

  /// For byte-exact gains: pages of one byte.
  void usePagesOfOneByte() {
    host.setPageSize(1);
    pageBytes = 1;
    host.setPhysicalMemory(kTotalPages * 4096);
    controller.initValues();
  }
  void purgeGainingExactly(ByteCount bytes, Sender sender) {
    setUsedPages(ByteCount{3} << 30);
    const std::size_t finished = reports.size();
    controller.onFreeMemory(sender);
    setUsedPages((ByteCount{3} << 30) - bytes);
    QTRY_COMPARE(reports.size(), finished + 1);
  }

  std::int64_t pageBytes = 4096;
  RecordingView view;
  std::vector<PurgeReport> reports;
  ZPPurgeController controller{
      {host, manager, preferences, defaults, clock, notifications, userNotifications, cpu, watch, script, version,
       QStringLiteral("Halvard"), QStringLiteral("/resources/purge.sh")},
      view};
};

}  // namespace

class TestZPPurgeController : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void initTestCase() { QLocale::setDefault(QLocale::c()); }

  void purgeShowsItsCourseInOrder() {
    Program program;
    program.view.steps.clear();
    program.purgeGaining(16 * 4096, Sender::CleanButton);
    QCOMPARE(program.view.steps.mid(0, 4), (QStringList{QStringLiteral("begin"), QStringLiteral("disable"),
                                                        QStringLiteral("Cleaning..."), QStringLiteral("icon_clear")}));
    QCOMPARE(program.view.steps.mid(4),
             (QStringList{QStringLiteral("enable"), QStringLiteral("Cleanup"), QStringLiteral("end"),
                          QStringLiteral("purged"), QStringLiteral("panel"), QStringLiteral("item")}));
    QVERIFY(!program.controller.isPurging());
    QCOMPARE(program.controller.lastPurgedSize(), 16u * 4096u);
    QCOMPARE(program.defaults.cleanedSize(), 16u * 4096u);
    QCOMPARE(program.view.cleanedSize, 16 * 4096);
    QCOMPARE(program.view.cleanedDescription,
             QStringLiteral("at ") +
                 QLocale().toString(QDateTime::fromSecsSinceEpoch(1705320000).time(), QLocale::ShortFormat));
  }

  void reportEqualsTheDifferenceOfTheSnapshots() {
    Program program;
    program.host.setSwapUsage(SwapUsage{100, 1000});
    program.controller.onFreeMemory(Sender::None);
    program.host.setSwapUsage(SwapUsage{600, 900});
    program.setUsedPages(kTotalPages / 2 - 10);
    QTRY_COMPARE(program.reports.size(), 1u);
    const PurgeReport& report = program.reports.front();
    QCOMPARE(report.freedBytes, 10u * 4096u);
    QCOMPARE(report.usedBefore - report.usedAfter, report.freedBytes);
    QCOMPARE(report.swap->compressedBytes, 500);
    QCOMPARE(report.swap->swappedToDiskBytes, -100);
  }

  void purgeWithoutGainChangesNothing() {
    Program program;
    program.clock.advance(0ms);
    program.controller.startRefreshChain();
    program.clock.advance(3s);
    const std::int64_t ticks = program.controller.ticksFromLastFree();
    QVERIFY(ticks > 0);
    for (const std::int64_t gain : {0, -4096}) {
      program.purgeGaining(gain, Sender::CleanButton);
      QCOMPARE(program.reports.back().freedBytes, 0u);
    }
    QCOMPARE(program.controller.ticksFromLastFree(), ticks);
    QCOMPARE(program.defaults.cleanedSize(), 0u);
    QCOMPARE(program.controller.lastPurgedSize(), 0u);
    QVERIFY(program.userNotifications.delivered.empty());
    QVERIFY(!program.view.steps.contains(QStringLiteral("purged")));
    // The press is still owed: the next purge that gains counts as started by hand.
    program.purgeGaining(static_cast<std::int64_t>(200 * kMiB), Sender::Controller);
    QCOMPARE(program.view.autostartOffers.size(), 1u);
    program.purgeGaining(static_cast<std::int64_t>(200 * kMiB), Sender::Controller);
    QCOMPARE(program.view.autostartOffers.size(), 1u);
  }

  void thresholdsAreStrict_data() {
    QTest::addColumn<quint64>("gain");
    QTest::addColumn<bool>("rates");
    QTest::addColumn<bool>("notifies");
    QTest::addColumn<bool>("offers");
    QTest::newRow("100 MiB") << quint64{104'857'600} << false << false << false;
    QTest::newRow("100 MiB and one") << quint64{104'857'601} << false << false << true;
    QTest::newRow("500 MB") << quint64{500'000'000} << false << false << true;
    QTest::newRow("500 MB and one") << quint64{500'000'001} << false << true << true;
    QTest::newRow("500 MiB") << quint64{524'288'000} << false << true << true;
    QTest::newRow("500 MiB and one") << quint64{524'288'001} << true << true << true;
  }
  void thresholdsAreStrict() {
    QFETCH(quint64, gain);
    Program program;
    program.usePagesOfOneByte();
    program.purgeGainingExactly(gain, Sender::CleanButton);
    QCOMPARE(program.view.rateInvitations, 0);
    program.clock.advance(999ms);
    QCOMPARE(program.view.rateInvitations, 0);
    program.clock.advance(1ms);
    QTEST(program.view.rateInvitations == 1, "rates");
    QTEST(program.userNotifications.delivered.size() == 1, "notifies");
    QTEST(program.view.autostartOffers == std::vector<ByteCount>{gain}, "offers");
  }

  void notificationNamesTheGainAndObeysThePreference() {
    Program program;
    program.purgeGaining(static_cast<std::int64_t>(600 * kMiB), Sender::Controller);
    QCOMPARE(program.userNotifications.delivered.size(), 1u);
    QCOMPARE(program.userNotifications.delivered[0].title, QStringLiteral("Halvard"));
    QCOMPARE(program.userNotifications.delivered[0].informativeText,
             QStringLiteral("600 MB of RAM have been cleaned just now."));
    QVERIFY(program.view.autostartOffers.empty());
    program.preferences.showNotificationAfreFreeUp().setValue(false);
    program.purgeGaining(static_cast<std::int64_t>(600 * kMiB), Sender::Controller);
    QCOMPARE(program.userNotifications.delivered.size(), 1u);
    QCOMPARE(program.defaults.cleanedSize(), 1200 * kMiB);
    program.defaults.setShowAutostartPopupAfterPurge(false);
    program.purgeGaining(static_cast<std::int64_t>(600 * kMiB), Sender::CleanButton);
    QVERIFY(program.view.autostartOffers.empty());
  }

  void nothingStartsASecondPurge() {
    Program program;
    std::atomic<bool> hold = true;
    program.clock.onSleep = [&](std::chrono::milliseconds) {
      while (hold)
        std::this_thread::yield();
    };
    program.controller.onFreeMemory(Sender::CleanButton);
    QTRY_COMPARE(program.memory.sessionsOpened(), 1);
    program.controller.onFreeMemory(Sender::CleanButton);
    program.controller.onFreeMemory(Sender::None);
    program.notifications.post(ZPPurgeController::kHugeProcessTerminated);
    hold = false;
    QTRY_COMPARE(program.reports.size(), 1u);
    QCOMPARE(program.view.steps.count(QStringLiteral("begin")), 1);
    QCOMPARE(program.memory.sessionsOpened(), 1);
  }

  void largeApplicationQuitStartsAPurgeWithoutOffer() {
    Program program;
    program.controller.startLargeApplicationRule();
    QVERIFY(program.watch.running);
    program.preferences.shouldCleanupMemoryIfLargeAppQuits().setValue(false);
    QVERIFY(!program.watch.running);
    program.preferences.shouldCleanupMemoryIfLargeAppQuits().setValue(true);
    QVERIFY(program.watch.running);
    program.notifications.post(ZPPurgeController::kHugeProcessTerminated);
    QVERIFY(program.controller.isPurging());
    program.setUsedPages(0);
    QTRY_COMPARE(program.reports.size(), 1u);
    QVERIFY(program.view.autostartOffers.empty());
  }

  void refreshChainRunsEverySecondAndFreezesDuringAPurge() {
    Program program;
    program.controller.startRefreshChain();
    QCOMPARE(program.view.shownPages, 0u);
    program.clock.advance(0ms);
    QCOMPARE(program.view.shownPages, kTotalPages / 2);
    QCOMPARE(program.controller.ticksFromLastFree(), 1);
    std::atomic<bool> hold = true;
    program.clock.onSleep = [&](std::chrono::milliseconds) {
      while (hold)
        std::this_thread::yield();
    };
    program.controller.onFreeMemory(Sender::Controller);
    program.setUsedPages(kTotalPages / 4);
    program.clock.advance(5s);
    QCOMPARE(program.view.shownPages, kTotalPages / 2);
    QCOMPARE(program.controller.ticksFromLastFree(), 6);
    hold = false;
    QTRY_COMPARE(program.reports.size(), 1u);
    QCOMPARE(program.view.shownPages, kTotalPages / 4);
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

  void lastCleaningIsNamedOnlyOnItsDay() {
    Program program;
    program.controller.startRefreshChain();
    program.clock.advance(0ms);
    program.purgeGaining(4096, Sender::Controller);
    QVERIFY(!program.view.cleanedDescription.isEmpty());
    program.clock.setNow(program.clock.now() + 24h);
    program.clock.advance(1s);
    QVERIFY(program.view.cleanedDescription.isEmpty());
  }

  void automaticRule_data() {
    QTest::addColumn<bool>("enabled");
    QTest::addColumn<double>("frequency");
    QTest::addColumn<PageCount>("freePages");
    QTest::addColumn<float>("cpu");
    QTest::addColumn<bool>("purges");
    const PageCount low = kTotalPages / 10;
    QTest::newRow("all conditions hold") << true << 5.0 << low << 0.1F << true;
    QTest::newRow("switched off") << false << 5.0 << low << 0.1F << false;
    QTest::newRow("frequency 0") << true << 0.0 << low << 0.1F << false;
    QTest::newRow("negative frequency") << true << -1.0 << low << 0.1F << false;
    QTest::newRow("too early") << true << 7.0 << low << 0.1F << false;
    QTest::newRow("free exactly at the limit") << true << 5.0 << kTotalPages / 4 << 0.1F << false;
    QTest::newRow("free one page below it") << true << 5.0 << kTotalPages / 4 - 1 << 0.1F << true;
    QTest::newRow("processors exactly at the limit") << true << 5.0 << low << 0.25F << false;
    QTest::newRow("processors busy") << true << 5.0 << low << 0.3F << false;
    QTest::newRow("processor use unknown") << true << 5.0 << low << std::numeric_limits<float>::quiet_NaN() << false;
  }
  void automaticRule() {
    QFETCH(bool, enabled);
    QFETCH(double, frequency);
    QFETCH(PageCount, freePages);
    QFETCH(float, cpu);
    Program program;
    program.preferences.memoryUsageLimitToAutofree().setValue(0.75);
    program.preferences.cpuUsageLimitToAutofree().setValue(0.25);
    program.preferences.autoFreeUpMemory().setValue(enabled);
    program.preferences.frequencyForToAutofree().setValue(frequency);
    program.setUsedPages(kTotalPages - freePages);
    program.cpu.usage = cpu;
    program.controller.startRefreshChain();
    program.clock.advance(4s);
    QVERIFY(!program.controller.isPurging());
    program.clock.advance(1s);
    QTEST(program.controller.isPurging(), "purges");
    if (program.controller.isPurging()) QTRY_COMPARE(program.reports.size(), 1u);
  }

  void fruitlessAutomaticPurgeIsTriedAgainTheNextRound() {
    Program program;
    program.preferences.autoFreeUpMemory().setValue(true);
    program.preferences.frequencyForToAutofree().setValue(1);
    program.setUsedPages(kTotalPages - 1);
    program.controller.startRefreshChain();
    program.clock.advance(1s);
    QTRY_COMPARE(program.reports.size(), 1u);
    program.clock.advance(1s);
    QTRY_COMPARE(program.reports.size(), 2u);
  }

  void versionsBefore109RunTheScript() {
    Program program(QStringLiteral("10.8"));
    program.view.steps.clear();
    program.controller.onFreeMemory(Sender::CleanButton);
    QTRY_COMPARE(program.reports.size(), 1u);
    QCOMPARE(program.script.ranPath, QStringLiteral("/resources/purge.sh"));
    QCOMPARE(program.memory.sessionsOpened(), 0);
    QVERIFY(program.reports[0].success);
    program.script.result = false;
    const int readings = program.host.readings();
    program.controller.onFreeMemory(Sender::CleanButton);
    QTRY_COMPARE(program.reports.size(), 2u);
    QVERIFY(!program.reports[1].success);
    QCOMPARE(program.host.readings(), readings + 2);  // before the purge, and the refresh round after it
    QVERIFY(program.view.steps.endsWith(QStringLiteral("item")));
  }
};

QTEST_GUILESS_MAIN(TestZPPurgeController)
#include "test_zp_purge_controller.moc"
