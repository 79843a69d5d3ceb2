#include <QtTest>

#include "app/disk_section.h"
#include "app/promotion.h"
#include "files_searcher/ui/disk_usage_fixture.h"
#include "menubar/panel_window.h"
#include "platform/fake/fake_http_beacon.h"
#include "platform/fake/fake_mounted_volumes.h"
#include "platform/fake/fake_process_table.h"
#include "platform/fake/fake_running_applications.h"
#include "platform/fake/fake_status_bar_item.h"
#include "platform/ports/window_hints.h"
#include "preferences/preferences_model.h"
#include "preferences/stored_keys.h"
#include "process_manager/processes_manager.h"
#include "promo/promo_fixture.h"
#include "promo/ui/rate_dialog_view.h"
#include "promo/ui/rate_star_button.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

struct Switch : StartAtLoginSwitch {
  void setIsEnabledForHelperApp(bool, const std::function<void()>&) override {}
};

struct Hints : WindowHints {
  bool blendsWindows() const override { return true; }
  void setPlace(std::uint64_t, Desktops, WindowList) override {}
};

struct Parts : PanelParts {
  explicit Parts(DiskSection& owner) : disk(owner) {}
  std::unique_ptr<PanelProcessList> makeProcessList(QWidget*) override { return nullptr; }
  std::unique_ptr<PanelDiskUsage> makeDiskUsage(QWidget* parent) override { return disk.makeDiskUsage(parent); }
  bool isCanShowAds() const override { return true; }
  bool startsWithDiskUsage() const override { return disk.startsWithDiskUsage(); }
  DiskSection& disk;
};

/// The section and its panel, as the program joins them.
struct DiskProgram : DiskUsageParts {
  explicit DiskProgram(bool granted) {
    grants.readable = {"/"};
    if (granted) section.access().saveAccessToDisk();
    panel.emplace(clock, defaults, notifications, item, parts, hints);
    section.join(*panel);
    panel->awakeFromNib();
  }
  auto running() const {
    return std::ranges::count_if(queries.asked, [](const auto& query) { return !query.alive.expired(); });
  }

  Switch startAtLogin;
  PreferencesModel preferences{store, startAtLogin};
  FakeProcessTable table;
  FakeRunningApplications applications;
  ProcessesManager processes{table, applications, clock};
  DiskPlatform platform{reader, catalog, dates, priority, folders, grants, queries, workspace};
  DiskSection section{
      {platform, clock, defaults, preferences, notifications, distributed, processes, branding, text("Halvard"), {}}};
  Parts parts{section};
  FakeStatusBarItem item;
  Hints hints;
  std::optional<PanelWindow> panel;
};

/// Page windows that only remember; the test clicks and closes.
struct FakePages {
  struct Window : PageWindow {
    explicit Window(FakePages& owner) : pages(owner) { pages.window = this; }
    void load(const std::optional<QUrl>& page, QSize size) override { pages.loads.emplace_back(page, size); }
    void show(const std::optional<QPoint>& where) override {
      pages.corner = where;
      ++pages.shows;
      pages.isOpen = true;
    }
    void close() override {
      if (std::exchange(pages.isOpen, false)) Q_EMIT closed();
    }
    FakePages& pages;
  };

  /// The latest of them; null while there is none.
  QPointer<PageWindow> window;
  std::vector<std::pair<std::optional<QUrl>, QSize>> loads;
  std::optional<QPoint> corner;
  int shows = 0;
  bool isOpen = false;
};

struct PromoProgram : PromoFixture {
  FakeHttpBeacon beacon;
  FakeMountedVolumes volumes;
  FakePages pages;

  std::unique_ptr<Promotion> promotion() {
    const PromotionPlatform platform{workspace, fetcher, beacon, unpacker, volumes, support.path()};
    return std::make_unique<Promotion>(
        PromotionServices{platform, clock, defaults, notifications, userNotifications, branding},
        [this](PageWindow::Look) { return std::make_unique<FakePages::Window>(pages); });
  }
};

const QUrl kWebPage(text("https://a.example/"));

}  // namespace

class TestSections : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void startsWithAScanWhenGrantedAndWanted() {
    DiskProgram ungranted(false);
    QVERIFY(!ungranted.panel->isWindowWithDetailedAd());
    QCOMPARE(ungranted.queries.asked.size(), 0U);
    DiskProgram granted(true);
    QVERIFY(granted.panel->isWindowWithDetailedAd());
    QCOMPARE(granted.running(), 3);
    granted.preferences.scanDiskUsageAtAppStartUp().setValue(false);
    QVERIFY(!granted.section.startsWithDiskUsage());
  }

  void theSectionsWishReachesThePanel() {
    DiskProgram program(false);
    program.panel->processActionOfStatusItem(false);
    QCOMPARE(program.panel->height(), 220 + 100);
    program.section.access().saveAccessToDisk();
    program.section.controller()->showDetailedDiskUsagePressedBlueButton();
    QTRY_VERIFY(program.section.controller()->isScanning());
    QCOMPARE(program.panel->height(), 220 + 250);
    QCOMPARE(program.section.controller()->view()->y(), 220);
  }

  void closingThePanelEndsTheSearchAndOpeningGoesOn() {
    DiskProgram program(true);
    program.panel->processActionOfStatusItem(false);
    program.queries.answer(1, {});
    program.panel->close();
    QCOMPARE(program.running(), 0);
    program.panel->processActionOfStatusItem(false);
    QVERIFY(program.section.controller()->isScanning());
    QTRY_VERIFY(program.running() >= 2);
  }

  void aRunningToolIsActivated() {
    DiskProgram program(true);
    program.table.add(70, 1, text("baobab"), ByteCount{1} << 20);
    const auto tool = program.applications.add(70, text("Baobab"));
    tool->url = QUrl::fromLocalFile(text("/usr/share/applications/org.gnome.baobab.desktop"));
    RunningTools tools(program.processes);
    QTRY_VERIFY(tools.find(text("org.gnome.baobab")));
    QVERIFY(tools.find(text("org.gnome.baobab.desktop")));
    QVERIFY(!tools.find(text("baobab")));
    tool->terminated = true;
    QVERIFY(!tools.find(text("org.gnome.baobab")));
  }

  void theShowcaseOfTheFirstStartLeadsToThePanelAndItsClosingIsCounted() {
    PromoProgram f;
    f.branding.analyticsEndpoint = QUrl(text("https://events.example/collect"));
    f.branding.analyticsTrackingId = text("UA-10000000-1");
    const auto promotion = f.promotion();
    QSignalSpy mainWindow(promotion.get(), &Promotion::mainWindowRequested);
    f.clock.advance(0ms);
    QVERIFY2(!promotion->hasPageOpen(), "not before the interface stands");
    promotion->start();
    QVERIFY2(!promotion->hasPageOpen(), "after the current event");
    f.clock.advance(0ms);
    QVERIFY(f.pages.isOpen && promotion->hasPageOpen() && !f.pages.corner);
    QCOMPARE(f.pages.loads.at(0).second, QSize(713, 356));
    f.notifications.post(ShowcaseDialogWC::ShowcaseHtmlChangedNotificationName());
    QCOMPARE(f.pages.loads.size(), 2U);
    promotion->showOptimizationTools();
    f.clock.advance(0ms);
    QCOMPARE(f.pages.shows, 2);
    Q_EMIT f.pages.window->linkActivated(kWebPage);
    QCOMPARE(f.workspace.opened, QList<QUrl>{kWebPage});
    Q_EMIT f.pages.window->linkActivated(QUrl(text("app://startusingapp")));
    QVERIFY(!promotion->hasPageOpen());
    QCOMPARE(mainWindow.size(), 1);
    QTRY_COMPARE(f.beacon.requests().size(), 1);
    QVERIFY(f.beacon.requests().constFirst().contains("&ec=Halvard&ea=Close%5Fuser&"));
    promotion->toolOffered(SiblingApp::None);
    promotion->toolOffered(SiblingApp::DiskAnalyzer);
    QTRY_COMPARE(f.beacon.requests().size(), 2);
    QVERIFY2(!f.beacon.requests().constLast().contains("Close"), "the first window was replaced, not closed");
  }

  void theNewsOpenOnceBesideTheSettingsButtonAndGoWithTheFocus() {
    const QRect screen(100, 0, 1000, 800);
    const QSize news(382, 337);
    const int last = 1100 - 28 - 382;
    QCOMPARE(Promotion::newsPosition({last, 40, 26, 24}, screen, news), QPoint(last + 26, 40 + 337));
    QCOMPARE(Promotion::newsPosition({last + 1, 40, 26, 24}, screen, news), QPoint(last + 27 - 382 - 30, 40 + 337));
    PromoProgram f;
    const auto promotion = f.promotion();
    const auto press = [&](int x) { promotion->newsButtonPressed({x, 40, 26, 24}, screen); };
    press(200);
    QVERIFY(promotion->hasPageOpen() && !promotion->manager().isHasFreshNews());
    QCOMPARE(f.pages.corner, QPoint(226 - 15, 40 + 337 + 15));
    QCOMPARE(f.pages.loads.at(0).second, news);
    press(100);
    QCOMPARE(f.pages.shows, 1);
    f.notifications.post(NewsDialogWC::NewsHtmlChangedNotificationName());
    QCOMPARE(f.pages.loads.size(), 2U);
    Q_EMIT f.pages.window->linkActivated(kWebPage);
    QCOMPARE(f.workspace.opened, QList<QUrl>{kWebPage});
    QVERIFY2(f.pages.isOpen && f.pages.loads.size() == 2, "web links leave the window alone");
    Q_EMIT f.pages.window->resignedKey();
    QVERIFY(!f.pages.isOpen);
    f.clock.advance(99ms);
    press(200);
    QVERIFY2(promotion->hasPageOpen() && !f.pages.isOpen, "the click that closed it does not open it");
    f.clock.advance(1ms);
    QVERIFY(!promotion->hasPageOpen());
    press(200);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    Q_EMIT f.pages.window->linkActivated(QUrl(text("app://close")));
    QVERIFY(!f.pages.isOpen);
    f.clock.advance(100ms);
    press(200);
    promotion->hideNews();
    QVERIFY(!f.pages.isOpen);
    f.notifications.post(NewsDialogWC::NewsHtmlChangedNotificationName());
    QCOMPARE(f.pages.loads.size(), 4U);
  }

  void theRateDialogComesWhereEveryStarLeadsSomewhereAndEachLeadsThere() {
    // 0: without addresses none does.
    for (int star = 0; star <= RateDialogView::kStars; ++star) {
      PromoProgram f;
      if (star > 0) f.giveAddresses();
      const auto promotion = f.promotion();
      RateDialgoWC& rate = promotion->rateDialog();
      f.defaults.setCleanedSize(524'288'000);
      for (const bool isTime : {false, true}) {
        promotion->showRateDialogAutomaticallyIfNeeded();
        QVERIFY2(!rate.window(), "after the current event");
        f.clock.advance(0ms);
        QCOMPARE(rate.window() && rate.window()->isVisible(), star > 0 && isTime);
        f.clock.advance(14 * 24h);
      }
      QVERIFY(!f.defaults.isUserAlreadyСlickedOnStar());
      if (star == 0) continue;
      rate.view()->starButton(star).click();
      QCOMPARE(f.workspace.opened.size(), 1);
      QCOMPARE(f.workspace.opened.constFirst().scheme(), star < 4 ? text("mailto") : text("https"));
      QVERIFY(f.defaults.isUserAlreadyСlickedOnStar() && !rate.window());
    }
  }

  void theWarningComesOnceAnIntervalInRotatingTextsAndLeadsToTheDiskSection() {
    PromoProgram f;
    f.store.setObject(stored_keys::testTimeBetweenRealDiskChecks, {59.9});
    QCOMPARE(f.promotion()->manager().settings().TIME_BETWEEN_REAL_DISK_CHECKS, 59s);
    f.store.removeObject(stored_keys::testTimeBetweenRealDiskChecks);
    f.volumes.add(text("/data"), {64'000'000'000, 1'500'000'000});
    const auto promotion = f.promotion();
    const auto& delivered = f.userNotifications.delivered;
    QVERIFY(delivered.empty());
    promotion->start();
    f.clock.advance(432000s - 1s);
    QCOMPARE(delivered.size(), 1U);
    QVERIFY2(f.volumes.listings == 1, "no disk is looked at before its time");
    f.clock.advance(24h * 10 + 1s);
    QCOMPARE(delivered.size(), 4U);
    QSet<QString> messages;
    for (const UserNotification& notification : delivered) {
      const QString& message = notification.informativeText;
      messages << message;
      QVERIFY2(message.contains(text("1.5 GB")) && message.contains(text("/data")), qPrintable(message));
    }
    QCOMPARE(messages.size(), FreeSpaceWarning::kTextCount);
    QSignalSpy diskUsage(promotion.get(), &Promotion::diskUsageRequested);
    for (std::size_t number = 0; number < delivered.size(); ++number)
      f.userNotifications.click(number);
    QCOMPARE(diskUsage.size(), 4);
  }
};

QTEST_MAIN(TestSections)
#include "test_sections.moc"
