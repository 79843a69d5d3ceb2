#include <QtTest>
#include <limits>
#include <map>

#include "core/macos_version.h"
#include "memory/memory_snapshot.h"
#include "menubar/eased_share.h"
#include "menubar/gauge_step.h"
#include "menubar/panel_placement.h"
#include "menubar/status_item_controller.h"
#include "menubar/status_item_text.h"
#include "platform/fake/fake_appearance.h"
#include "platform/fake/fake_host_statistics.h"
#include "platform/fake/fake_status_bar_item.h"
#include "support/login_desk.h"
#include "support/texts.h"

using namespace halvard;
using panel_placement::TriangleEdge;

namespace {

constexpr PageCount kTotalPages = PageCount{1} << 20;

struct Reading {
  explicit Reading(PageCount usedPages) {
    VmStatistics64 counters;
    counters.internal_page_count = usedPages;
    host.setStatistics64(counters);
    snapshot.updateMemoryStatictics();
  }
  FakeHostStatistics host;
  MacOSVersion version;
  MemorySnapshot snapshot{host, version};
};

struct FilledItem : test::LoginDesk {
  FakeStatusBarItem item;
  FakeAppearance appearance;
  StatusItemController controller{item, appearance, model, text("Halvard")};
};

}  // namespace

class TestMenubarRules : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void gaugeStepsAreFinerWhereItMatters() {
    const std::map<float, int> steps{{-1.0F, 5},   {0.03F, 5},   {0.08F, 10},  {0.474F, 45},  {0.49F, 50},
                                     {0.515F, 52}, {0.735F, 74}, {0.745F, 75}, {0.755F, 76},  {0.77F, 78},
                                     {0.895F, 90}, {0.905F, 91}, {0.95F, 95},  {0.999F, 100}, {1.2F, 100}};
    for (const auto& [fraction, step] : steps)
      QVERIFY2(gaugeStep(fraction) == step, qPrintable(QString::number(fraction)));
    QCOMPARE(gaugeStep(std::numeric_limits<float>::quiet_NaN()), 5);
  }

  void titleFollowsTheDisplayMode() {
    constexpr PageCount quarter = kTotalPages / 4;
    const std::tuple<PageCount, int, const char*> titles[] = {
        {quarter, 0, ""},
        {quarter, 1, " 25% "},
        {kTotalPages / 25, 1, "  4% "},
        {kTotalPages - 5300, 1, " 99% "},
        {kTotalPages - 5200, 1, "100%"},
        {quarter, 2, "1.00 GB"},
        {quarter, 3, "3.00 GB"},
        {quarter, 4, ""},
    };
    for (const auto& [used, mode, title] : titles)
      QCOMPARE(status_item_text::title(mode, status_item_text::titleFigure(Reading(used).snapshot, mode)), text(title));
    QCOMPARE(status_item_text::information(Reading(quarter).snapshot), text("25.00% of 4.00 GB used"));
  }

  void itemIsFilledAndTouchedOnlyByChanges() {
    FilledItem filled;
    FakeStatusBarItem& item = filled.item;
    StatusItemController& controller = filled.controller;
    QCOMPARE(item.image.value, text("icon_start"));
    QCOMPARE(item.toolTip.value, text("Free System Memory"));
    const Reading reading(kTotalPages / 4);
    controller.updateStatusItem(Reading(kTotalPages / 2).snapshot);
    controller.updateStatusItem(reading.snapshot);
    controller.fillTitle(reading.snapshot);
    QCOMPARE(item.image.value, text("icon_memory_25"));
    QCOMPARE(item.toolTip.value, text("Halvard\nUsed Memory: 1.00 GB\nFree Memory: 3.00 GB"));
    QCOMPARE(item.title.value, (AttributedTitle{text(" 25% "), {70, 86, 103, 255}}));
    QCOMPARE(item.alternateTitle.value.color, (Color{255, 255, 255, 255}));
    const int changes = item.changes();
    controller.updateStatusItem(reading.snapshot);
    controller.fillTitle(reading.snapshot);
    QCOMPARE(item.changes(), changes);
    filled.appearance.setDark(true);
    controller.fillTitle(reading.snapshot);
    QCOMPARE(item.title.value.color, (Color{255, 255, 255, 255}));
    controller.showCleaningIcon();
    QCOMPARE(item.image.value, text("icon_clear"));
    QSignalSpy actions(&controller, &StatusItemController::statusItemAction);
    item.press(StatusBarItem::MouseButton::Right);
    item.press(StatusBarItem::MouseButton::Left);
    QCOMPARE(actions.size(), 2);
  }

  void toolTipIsFilledAfterAThousandthOrAMinute() {
    FilledItem filled;
    const auto isFilledBy = [&](PageCount used) {
      const int changes = filled.item.changes();
      filled.controller.updateStatusItem(Reading(used).snapshot);
      return filled.item.changes() != changes;
    };
    constexpr PageCount thousandth = kTotalPages / 1000 + 1;
    constexpr PageCount fifth = kTotalPages / 5;  // of which the text shows single megabytes
    isFilledBy(fifth);
    QVERIFY(!isFilledBy(fifth + thousandth - 1) && isFilledBy(fifth + thousandth));
    QVERIFY(!isFilledBy(fifth + 1) && isFilledBy(fifth));
    for (int round = 1; round < StatusItemController::kRoundsPerToolTip; ++round)
      QVERIFY(!isFilledBy(fifth + thousandth - 1));
    QVERIFY(isFilledBy(fifth + thousandth - 1));
  }

  void panelOpensOnTheFreeSideOfTheItem() {
    const QSize panel(250, 220), offer(320, 164);
    const QRect screen(0, 0, 1280, 800), underTopBar(0, 28, 1280, 772);
    const std::tuple<QRect, QRect, QPoint, TriangleEdge, int, QSize> places[] = {
        {{600, 2, 24, 24}, underTopBar, {487, 31}, TriangleEdge::Top, 125, panel},
        {{600, 774, 24, 24}, {0, 0, 1280, 772}, {487, 549}, TriangleEdge::Bottom, 125, panel},
        {{1250, 2, 24, 24}, underTopBar, {1030, 31}, TriangleEdge::Top, 232, panel},
        {{0, 2, 24, 24}, underTopBar, {0, 31}, TriangleEdge::Top, 16, panel},
        // A second screen to the right, and one narrower than the panel.
        {{2000, 1002, 24, 24}, {1280, 1000, 1024, 768}, {1887, 1031}, TriangleEdge::Top, 125, panel},
        {{50, 2, 24, 24}, {0, 28, 200, 772}, {0, 31}, TriangleEdge::Top, 62, panel},
        // An offer below the open panel, or above it.
        {panel_placement::middleOf({900, 31, 250, 220}), screen, {865, 256}, TriangleEdge::Top, 160, offer},
        {panel_placement::middleOf({900, 549, 250, 220}), screen, {865, 380}, TriangleEdge::Bottom, 160, offer},
    };
    for (const auto& [item, available, topLeft, edge, apex, size] : places) {
      const auto placement = panel_placement::besideItem(item, size, available);
      QCOMPARE(placement.topLeft, topLeft);
      QCOMPARE(placement.edge, edge);
      QCOMPARE(placement.apex, apex);
    }
  }

  void savedPlaceIsPulledBackOntoTheScreen() {
    const std::pair<QPoint, QPoint> places[] = {
        {{300, 200}, {300, 200}}, {{1280, 200}, {1280, 200}}, {{1281, 200}, {1030, 200}}, {{-250, 200}, {-250, 200}},
        {{-251, 200}, {0, 200}},  {{300, 801}, {300, 580}},   {{300, -221}, {300, 0}},
    };
    for (const auto& [saved, restored] : places)
      QCOMPARE(panel_placement::restored(saved, QSize(250, 220), QRect(0, 0, 1280, 800)), restored);
  }

  void shareReachesItsTargetInTenTicks() {
    EasedShare share;
    share.setTarget(0.2);
    share.jump();
    for (const double target : {0.5, 0.1}) {
      share.setTarget(target);
      share.begin();
      int ticks = 0;
      while (share.tick())
        ++ticks;
      QCOMPARE(ticks, 10);
      QVERIFY(share.current() == target);  // exactly
    }
    share.begin();
    QVERIFY(!share.tick());
  }
};

QTEST_GUILESS_MAIN(TestMenubarRules)
#include "test_menubar_rules.moc"
