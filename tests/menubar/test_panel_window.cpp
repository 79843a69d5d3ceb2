#include <QBitmap>
#include <QDialog>
#include <QLabel>
#include <QtTest>

#include "core/notification_center.h"
#include "memory/purge_report.h"
#include "menubar/panel_parts.h"
#include "menubar/panel_view.h"
#include "menubar/panel_window.h"
#include "menubar/panel_window_info_label.h"
#include "menubar/pie_chart_view.h"
#include "menubar/purge_details_label.h"
#include "menubar/summary_view.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_status_bar_item.h"
#include "platform/ports/window_hints.h"
#include "preferences/showcase_defaults.h"
#include "preferences/stored_keys.h"
#include "support/accessible_names.h"
#include "support/texts.h"
#include "widgets/clean_memory_button.h"
#include "widgets/hint_window.h"
#include "widgets/icon_button.h"

using namespace halvard;
using halvard::test::namelessControls;
using namespace std::chrono_literals;

namespace {

constexpr ByteCount kGiB = ByteCount{1} << 30;
const QRect kItem(400, 2, 24, 24);

struct Parts : PanelParts {
  struct Section : PanelProcessList, PanelDiskUsage {
    Section(QWidget* parent, Parts& owner) : widget(parent), parts(owner) {}
    QWidget* view() override { return &widget; }
    void updateApps() override { ++parts.updates; }
    float getViewHeightForMode(Mode mode) override { return mode == Compact ? 40.5F : 150.0F; }
    void changeToCompactMode(bool compact, bool) override { parts.diskCompact = compact; }
    void completionChangeToCompactMode(bool) override {}
    QWidget widget;
    Parts& parts;
  };
  std::unique_ptr<PanelProcessList> makeProcessList(QWidget* parent) override { return section(parent, list); }
  std::unique_ptr<PanelDiskUsage> makeDiskUsage(QWidget* parent) override {
    return hasDisk ? section(parent, disk) : nullptr;
  }
  std::unique_ptr<Section> section(QWidget* parent, QPointer<QWidget>& view) {
    auto made = std::make_unique<Section>(parent, *this);
    view = made->view();
    return made;
  }
  bool isCanShowAds() const override { return hasDisk; }
  bool startsWithDiskUsage() const override { return false; }

  bool hasDisk = false;
  bool diskCompact = false;
  // Null while there is none.
  QPointer<QWidget> list, disk;
  int updates = 0;
};

struct Hints : WindowHints {
  bool blendsWindows() const override { return blends; }
  bool blends = false;
  void setPlace(std::uint64_t, Desktops, WindowList where) override { list = where; }
  std::optional<WindowList> list;
};

struct Panel {
  explicit Panel(bool withDisk = false) {
    parts.hasDisk = withDisk;
    item.rect = kItem;
    window.awakeFromNib();
  }
  FakeClock clock;
  FakeDefaultsStore store;
  ShowcaseDefaults defaults{store, clock, text("1.0")};
  NotificationCenter notifications;
  FakeStatusBarItem item;
  Parts parts;
  Hints hints;
  PanelWindow window{clock, defaults, notifications, item, parts, hints};
  SummaryView& summary = window.summary();

  void showDetailed(bool detailed) {
    window.changeWindowStateTo(detailed ? window.windowState() | PanelWindow::DetailedFlag
                                        : window.windowState() & ~std::uint64_t{PanelWindow::DetailedFlag},
                               false);
  }
  bool showsTriangle() const { return window.findChild<PanelView*>()->showsTriangle(); }
  void fill(double fraction) { summary.fillInfoPanelWithUsedMemoryPercent(fraction, kGiB, 4 * kGiB); }
};

/// To another window, and then to another program.
void loseFocus(Panel& panel) {
  QWidget other;
  other.show();
  QVERIFY(QTest::qWaitForWindowActive(&other));
  panel.notifications.post(PanelWindow::kCloseMainWindowIfNotActive);
}

QColor colorOf(const QLabel& label) {
  return label.palette().color(QPalette::WindowText);
}

}  // namespace

class TestPanelWindow : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void attachedPanelStartsCompactAndIsToggledByItsItem() {
    Panel panel;
    QVERIFY(panel.window.isLocked() && !panel.window.isVisible());
    QVERIFY(!panel.window.isWindowStateDetailed() && !panel.defaults.isWindowDetailed());
    QVERIFY(panel.window.isWindowStateWithAd());  // from the stored layout, which counts as detailed when absent
    QCOMPARE(panel.window.size(), QSize(250, 220));
    for (const auto& [canBeClosed, isVisible] : {std::pair(true, true), {false, true}, {true, false}}) {
      panel.window.processActionOfStatusItem(canBeClosed);
      QCOMPARE(panel.window.isVisible(), isVisible);
      QCOMPARE(panel.window.pos(), QPoint(400 + 12 - 125, 2 + 24 + 5));
    }
  }

  void theShapeIsCutOutWhereNothingBlendsWindows() {
    Panel panel;
    for (const bool blends : {false, true}) {
      panel.hints.blends = blends;
      panel.window.show();
      QCOMPARE(panel.window.mask().isEmpty(), blends);
      QVERIFY(!panel.window.mask().contains(QPoint(0, 219)));
      panel.window.close();
    }
  }

  void draggingDetachesAndRemembersThePlace() {
    Panel panel;
    panel.window.processActionOfStatusItem(true);
    const int writes = panel.store.writes();
    QTest::mousePress(&panel.window, Qt::LeftButton, {}, QPoint(60, 20));
    QTest::mouseMove(&panel.window, QPoint(62, 20));
    QVERIFY(panel.window.isLocked());
    QTest::mouseMove(&panel.window, QPoint(160, 120));
    QVERIFY(!panel.window.isLocked());
    QTest::mouseMove(&panel.window, QPoint(80, 40));
    QVERIFY(panel.store.writes() <= writes + 1);  // the attachment alone: the place is saved at the end of the drag
    QTest::mouseRelease(&panel.window, Qt::LeftButton, {}, QPoint(60, 20));
    const auto saved = panel.defaults.restoreWindowFramePosition();
    QVERIFY(saved);
    QCOMPARE(QPointF(saved->left, saved->top).toPoint(), panel.window.pos());
    // A click on the item brings it back.
    panel.window.processActionOfStatusItem(true);
    QVERIFY(panel.window.isLocked() && panel.window.isVisible());
    QCOMPARE(panel.window.pos(), QPoint(287, 31));
  }

  void detachedPanelComesBackAtStartUpUntilItIsClosed() {
    Panel panel;
    panel.window.showWindowIfNotLocked();
    QVERIFY(!panel.window.isVisible());
    panel.window.setLocked(false);
    panel.defaults.saveWindowFramePosition(-4000, 100);
    panel.window.showWindowIfNotLocked();
    QVERIFY(panel.window.isVisible());
    QCOMPARE(panel.window.pos(), QPoint(0, 100));
    QSignalSpy closed(&panel.window, &PanelWindow::willClose);
    panel.window.closeButtonPressed();
    QVERIFY(!panel.window.isVisible() && panel.window.isLocked());
    QCOMPARE(closed.size(), 1);
  }

  void withoutATrayThePanelStandsInTheWindowListAndIsNeverOutOfReach() {
    Panel panel;
    panel.item.setShown(false);
    panel.window.followTray(PanelWindow::WithoutTray::Opens);
    panel.clock.advance(PanelWindow::kTrayPatience - 1ms);
    QVERIFY(!panel.window.isVisible());
    panel.clock.advance(1ms);
    QVERIFY(panel.window.isOpen());
    QVERIFY(panel.hints.list == WindowHints::WindowList::Listed && !panel.showsTriangle());
    loseFocus(panel);
    QVERIFY(panel.window.isOpen());
    QSignalSpy closed(&panel.window, &PanelWindow::willClose), shown(&panel.window, &PanelWindow::didShow);
    panel.window.closeButtonPressed();
    QTRY_VERIFY(panel.window.isMinimized() && panel.window.isVisible());
    panel.window.bringToFront();
    QVERIFY(panel.window.isOpen() && closed.size() == 1 && shown.size() == 1);
    // None of it is the user's wish: with a tray all is as before.
    panel.item.setShown(true);
    QVERIFY(!panel.store.objectForKey(stored_keys::windowLocked));
    QVERIFY(panel.window.isLocked() && panel.showsTriangle());
    panel.window.bringToFront();
    QVERIFY(panel.hints.list == WindowHints::WindowList::Hidden);
    loseFocus(panel);
    QVERIFY(!panel.window.isVisible());
    // A tray that is away for long is missed; nobody asked for the panel.
    panel.item.setShown(false);
    panel.clock.advance(PanelWindow::kTrayPatience);
    QVERIFY(panel.window.isVisible() && panel.window.isMinimized());
    closed.clear();
    panel.item.setShown(true);
    QVERIFY(!panel.window.isVisible() && closed.isEmpty());
  }

  void startedUnaskedThePanelWaitsInTheWindowList() {
    Panel panel;
    panel.item.setShown(false);
    panel.window.followTray(PanelWindow::WithoutTray::Minimizes);
    panel.clock.advance(PanelWindow::kTrayPatience);
    QVERIFY(panel.window.isVisible() && panel.window.isMinimized());
    // Where the user had it detached, it stays where it is when the tray comes.
    panel.window.bringToFront();
    panel.window.showTriangle(false);
    panel.item.setShown(true);
    loseFocus(panel);
    QVERIFY(panel.window.isOpen() && !panel.window.isLocked());
  }

  void keysCloseAndOpenThePreferences() {
    struct Delegate : PanelWindowDelegate {
      void panelWindowWantsToOpenPreferences() override { ++asked; }
      int asked = 0;
    } delegate;
    Panel panel;
    panel.window.setPanelWindowDelegate(&delegate);
    panel.window.bringToFront();
    QTest::keyClick(&panel.window, Qt::Key_Comma);
    QCOMPARE(delegate.asked, 0);
    QTest::keyClick(&panel.window, Qt::Key_Comma, Qt::ControlModifier);
    QCOMPARE(delegate.asked, 1);
    QTest::keyClick(&panel.window, Qt::Key_Escape);
    QVERIFY(!panel.window.isVisible());
  }

  void everyControlHasANameForScreenReaders() {
    Panel panel(true);
    panel.showDetailed(true);
    panel.window.showTriangle(false);
    panel.summary.freeButton().setTitle(text("Cleanup"));
    panel.window.show();
    QCOMPARE(namelessControls(panel.window).join(u' '), QString());
  }

  void detailedLayoutBringsTheListAndBlocksASecondPress() {
    Panel panel;
    panel.window.bringToFront();
    panel.window.showDetailedMemoryUsageButtonPressed();
    panel.window.showDetailedMemoryUsageButtonPressed();
    QVERIFY(panel.window.isAnimating() && panel.window.isWindowStateDetailed());
    QVERIFY(panel.defaults.isWindowDetailed());
    QVERIFY(!panel.parts.list);
    QTRY_VERIFY(!panel.window.isAnimating());
    QCOMPARE(panel.window.size(), QSize(250, 285));
    QVERIFY(panel.parts.list);
    panel.window.updateContentData();
    QCOMPARE(panel.parts.updates, 2);
    panel.window.showDetailedMemoryUsageButtonPressed();
    QTRY_VERIFY(!panel.window.isAnimating());
    QCOMPARE(panel.window.size(), QSize(250, 220));
    QVERIFY(!panel.parts.list);
    QVERIFY(!panel.defaults.isWindowDetailed());
    // A change at once ends the one under way.
    panel.window.showDetailedMemoryUsageButtonPressed();
    panel.showDetailed(true);
    QVERIFY(!panel.window.isAnimating());
    QCOMPARE(panel.window.size(), QSize(250, 285));
  }

  void diskUsageStandsBelowTheSummaryAndAddsItsHeight() {
    Panel panel(true);
    for (const auto& [detailed, top] : {std::pair(false, 220), {true, 285}, {false, 220}}) {
      panel.showDetailed(detailed);
      QCOMPARE(panel.parts.disk->y(), top);
      QCOMPARE(panel.window.height(), top + 40);
    }
    QVERIFY(panel.parts.diskCompact);
    panel.window.showDetailedAdNotification();
    QCOMPARE(panel.window.height(), 370);
    QVERIFY(!panel.parts.diskCompact);
    panel.window.setIsAdEnabled(false);
    QCOMPARE(panel.window.height(), 220);
    panel.window.checkIsCanShowAds();
    QVERIFY(panel.window.isWindowStateWithAd());
  }

  void closingEndsAttachedSheets() {
    Panel panel;
    panel.window.bringToFront();
    auto* const first = new QDialog(&panel.window);
    auto* const second = new QDialog(&panel.window);
    connect(first, &QDialog::rejected, second, [second] { second->show(); });
    first->show();
    panel.window.close();
    QVERIFY(!first->isVisible() && !second->isVisible());
  }

  void percentageIsColouredAboveTheThreshold() {
    const QColor calm(0, 75, 94);
    const std::tuple<double, const char*, QColor> figures[] = {
        {0.574, "57%", calm}, {0.945, "95%", calm}, {0.9451, "95%", {179, 2, 2}}, {0.05, " 5%", calm}};
    Panel panel;
    panel.fill(0.33);
    QCOMPARE(panel.summary.title().text(), QString());  // nobody can see it
    panel.window.show();
    QCOMPARE(panel.summary.title().text(), text("33%"));
    for (const auto& [fraction, title, color] : figures) {
      panel.fill(fraction);
      QCOMPARE(panel.summary.title().text(), text(title));
      QCOMPARE(colorOf(panel.summary.title()), color);
    }
  }

  void oneDigitStandsWhereTwoDo() {
    Panel panel;
    panel.showDetailed(true);
    panel.window.show();
    const auto ink = [&](double fraction) {
      panel.fill(fraction);
      const QPixmap picture = panel.summary.grab(panel.summary.title().geometry());
      return QRegion(picture.createMaskFromColor(picture.toImage().pixelColor(0, 0))).boundingRect();
    };
    QVERIFY(ink(0.55).width() > ink(0.05).width());
    QCOMPARE(ink(0.05).left(), ink(0.55).left());
  }

  void subtitleTellsOfTheLastCleaning() {
    Panel panel;
    SummaryView& summary = panel.summary;
    const PanelWindowInfoLabel& subtitle = summary.subtitle();
    const QString used = text("1.00 GB used of 4.00 GB");
    const QString cleaned = text("2.00 GB cleaned at 12:00");
    panel.window.show();
    panel.fill(0.25);
    QCOMPARE(subtitle.text(), used);
    const std::tuple<std::int64_t, QString, QString> cleanings[] = {
        {0, text("at 12:00"), {}}, {1 << 20, {}, {}}, {std::int64_t{2} << 30, text("at 12:00"), cleaned}};
    for (const auto& [size, time, text] : cleanings) {
      summary.fillLastCleanedLabelWithSize(size, time);
      QCOMPARE(summary.cleanedSizeLabel().text(), text);
    }
    // Compact: the label of its own; the subtitle stays.
    panel.window.onPurgedMemory();
    QCOMPARE(subtitle.text(), used);
    QVERIFY(!subtitle.isTracking());
    // Detailed: the subtitle gives way for 30 seconds.
    panel.showDetailed(true);
    panel.window.onPurgedMemory();
    QVERIFY(subtitle.isTracking());
    // A second click brings the used text back at once, and for good.
    const std::tuple<std::chrono::milliseconds, bool, QString> steps[] = {
        {29'999ms, false, cleaned}, {1ms, false, used}, {0ms, true, cleaned}, {10s, true, used}, {25s, false, used}};
    for (const auto& [time, clicks, shown] : steps) {
      panel.clock.advance(time);
      if (clicks) summary.subtitleLabelClicked();
      QCOMPARE(subtitle.text(), shown);
      QCOMPARE(colorOf(subtitle), shown == used ? QColor(48, 48, 48) : QColor(31, 133, 39));
    }
  }

  void purgeDetailsFitBothLayouts() {
    Panel panel;
    panel.window.show();
    const QLabel& label = panel.summary.purgeDetailsLabel();
    const QRect subtitle = panel.summary.subtitle().geometry();
    const QRect button = panel.summary.freeButton().geometry();
    QCOMPARE(label.text(), QString());
    const auto check = [&](const PurgeReport& report, const char* line, const char* shortLine, const char* inHint) {
      const PurgeDetails details = purgeDetails(report);
      QVERIFY2(details.hint.contains(text(inHint)), qPrintable(details.hint));
      panel.showDetailed(false);
      panel.summary.fillPurgeDetails(details);
      QCOMPARE(label.text(), text(line));
      // Nothing has moved for it, and it covers nothing.
      QVERIFY(panel.summary.subtitle().geometry() == subtitle && panel.summary.freeButton().geometry() == button);
      for (const QRect& other : {subtitle, button, panel.summary.cleanedSizeLabel().geometry()})
        QVERIFY(!other.intersects(label.geometry()));
      panel.showDetailed(true);
      QCOMPARE(label.text(), text(shortLine));
    };
    PurgeReport report;
    report.outcome = {ReclaimMethod::PageOut, 0, text("so")};
    report.gainedBytes = 700 << 20;
    report.swap = SwapLedger{900 << 20, 200 << 20, 0, -(12 << 20), std::nullopt};
    check(report, "900 MB compressed into 200 MB", "900 MB compressed", "applications: -12.0 MB\n\nBy page-out: so.");
    report.recheck = PurgeRecheck{60s, 650 << 20, 50 << 20};
    check(report, "still free: 650 MB of 700 MB", "still free: 650 MB", "Came back from swap: 50.0 MB");
    report.recheck->stillFreeBytes = 800 << 20;
    check(report, "still free: all of 700 MB", "still free: 700 MB", "Still free after a minute: 800 MB");
    report.gainedBytes = -(700 << 20);
    check(report, "gain -700 MB: more is used than before", "gain -700 MB", "Gain: -700 MB");
    report.outcome = {ReclaimMethod::None, 0, QString(200, u'x') + text(" no swap")};
    report.gainedBytes = 0;
    check(report, "nothing useful to free", "nothing to free", "x\nno swap.");
    report.gainedBytes = 1;
    check(report, "others gave it back by themselves", "given back by others", "no swap.");
  }

  void chartOnlyStoresWhileHiddenAndJumpsWhileInactive() {
    Panel panel;
    panel.window.bringToFront();
    QVERIFY(QTest::qWaitForWindowActive(&panel.window));
    const auto* const hidden = panel.window.findChild<PieChartView*>();
    panel.summary.fillChart(kGiB, kGiB, 2 * kGiB);
    QVERIFY(!hidden->isAnimating());
    panel.showDetailed(true);
    QCOMPARE(hidden->sizeForSegmentByIndex(0), 0.25);
    const auto moveBy = [&panel](ByteCount bytes) { panel.summary.fillChart(kGiB + bytes, kGiB, 2 * kGiB - bytes); };
    moveBy(7 << 20);
    QVERIFY2(!hidden->isAnimating(), "less than a quarter of a pixel");
    moveBy(8 << 20);
    QVERIFY(hidden->isAnimating());
    panel.window.close();

    FakeClock clock;
    HintWindow hint;
    PieChartView chart(clock, hint);
    chart.resize(210, 210);
    chart.setSystemUsagePercent(0.25, 0.25);
    QCOMPARE(chart.sizeForSegmentByIndex(0), 0.0);
    QCOMPARE(chart.sizeForSegmentByIndex(2), 1.0);
    chart.show();
    QCOMPARE(chart.sizeForSegmentByIndex(0), 0.25);
    QCOMPARE(chart.sizeForSegmentByIndex(3), 0.0);
    QVERIFY(chart.tooltipForSegmentByIndex(-1).isEmpty());
    chart.setWiredSize(1000, 1000 * 1024, kGiB);
    QCOMPARE(chart.tooltipForSegmentByIndex(0), text("System memory usage\nWired memory: 0.98 KB"));
    QCOMPARE(chart.tooltipForSegmentByIndex(1), text("User memory usage\nApp memory: 1000 KB"));
    QCOMPARE(chart.tooltipForSegmentByIndex(2), text("Free memory: 1.00 GB"));
    // Clockwise from the top: a quarter system, a quarter user, the rest free; nothing in the middle.
    QCOMPARE(chart.segmentAt(QPointF(105 + 67, 105 - 67)), 0);
    QCOMPARE(chart.segmentAt(QPointF(105 + 67, 105 + 67)), 1);
    QCOMPARE(chart.segmentAt(QPointF(105 - 67, 105)), -1);
    QTest::mouseMove(&chart, QPoint(105 - 95, 105));
    QCOMPARE(hint.tag, 2);
    QTest::mouseMove(&chart, QPoint(105, 105));
    QVERIFY(!hint.isVisible());
  }

  void aCleaningGivesTheFocusBackToItsButton() {
    Panel panel;
    panel.window.show();
    CleanMemoryButton& button = panel.summary.freeButton();
    button.setFocus(Qt::MouseFocusReason);
    button.beginProgressUpdate();
    button.setEnabled(false);
    QVERIFY(!panel.window.focusWidget());
    button.setEnabled(true);
    button.endProgressUpdate();
    QCOMPARE(panel.window.focusWidget(), &button);
  }
};

QTEST_MAIN(TestPanelWindow)
#include "test_panel_window.moc"
