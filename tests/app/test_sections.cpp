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
#include "process_manager/processes_manager.h"
#include "promo/promo_fixture.h"
#include "promo/ui/fake_page_window.h"
#include "promo/ui/rate_dialog_view.h"
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

struct PromoProgram : PromoFixture {
  FakeHttpBeacon beacon;
  FakeMountedVolumes volumes;
  FakePageWindow::Record record;
  FakePageWindow* window = nullptr;

  std::unique_ptr<Promotion> promotion() {
    const PromotionPlatform platform{workspace, fetcher, beacon, unpacker, volumes, support.path()};
    return std::make_unique<Promotion>(
        PromotionServices{platform, clock, defaults, notifications, userNotifications, branding},
        [this](PageWindow::Look) { return std::make_unique<FakePageWindow>(record, window); });
  }
};

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
    f.clock.advance(0ms);
    QVERIFY(f.record.isOpen && promotion->hasPageOpen());
    Q_EMIT f.window->linkActivated(QUrl(text("app://startusingapp")));
    QVERIFY(!promotion->hasPageOpen());
    QCOMPARE(mainWindow.size(), 1);
    QTRY_COMPARE(f.beacon.requests().size(), 1);
    QVERIFY(f.beacon.requests().constFirst().contains("&ec=Halvard&ea=Close%5Fuser&"));
    promotion->toolOffered(SiblingApp::None);
    promotion->toolOffered(SiblingApp::DiskAnalyzer);
    QTRY_COMPARE(f.beacon.requests().size(), 2);
    promotion->showOptimizationTools();
    f.clock.advance(0ms);
    QVERIFY(f.record.isOpen);
  }

  void theNewsOpenBesideTheSettingsButton() {
    const QRect screen(100, 0, 1000, 800);
    const QSize news(382, 337);
    const int last = 1100 - 28 - 382;
    QCOMPARE(Promotion::newsPosition({last, 40, 26, 24}, screen, news), QPoint(last + 26, 40 + 337));
    QCOMPARE(Promotion::newsPosition({last + 1, 40, 26, 24}, screen, news), QPoint(last + 27 - 382 - 30, 40 + 337));
    PromoProgram f;
    const auto promotion = f.promotion();
    promotion->newsButtonPressed({200, 40, 26, 24}, screen);
    QVERIFY(promotion->hasPageOpen() && !promotion->manager().isHasFreshNews());
    QCOMPARE(f.record.corner, QPoint(226 - 15, 40 + 337 + 15));
    promotion->hideNews();
    f.clock.advance(100ms);
    QVERIFY(!promotion->hasPageOpen());
  }

  void theRateDialogComesOnlyWhereEveryStarLeadsSomewhere() {
    for (const bool hasAddresses : {false, true}) {
      PromoProgram f;
      if (hasAddresses) f.giveAddresses();
      const auto promotion = f.promotion();
      f.defaults.setCleanedSize(524'288'000);
      for (const bool isTime : {false, true}) {
        promotion->showRateDialogAutomaticallyIfNeeded();
        f.clock.advance(0ms);
        QCOMPARE(promotion->rateDialog().window() != nullptr, hasAddresses && isTime);
        f.clock.advance(14 * 24h);
      }
    }
  }

  void aClickOnTheWarningAsksForTheDiskSection() {
    PromoProgram f;
    f.volumes.add(text("/data"), {64'000'000'000, 1});
    const auto promotion = f.promotion();
    QSignalSpy diskUsage(promotion.get(), &Promotion::diskUsageRequested);
    QVERIFY(f.userNotifications.delivered.empty());
    promotion->start();
    QCOMPARE(f.userNotifications.delivered.size(), std::size_t{1});
    f.userNotifications.click(0);
    QCOMPARE(diskUsage.size(), 1);
  }
};

QTEST_MAIN(TestSections)
#include "test_sections.moc"
