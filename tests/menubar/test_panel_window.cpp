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
#include "widgets/clean_memory_button.h"
#include "widgets/hint_window.h"
#include "widgets/icon_button.h"

using namespace halvard;
using halvard::test::namelessControls;
using namespace std::chrono_literals;

namespace {

constexpr ByteCount kGiB = ByteCount{1} << 30;

struct Parts : PanelParts {
  struct List : PanelProcessList {
    List(QWidget* parent, Parts& owner) : widget(parent), parts(owner) { ++parts.lists; }
    ~List() override { --parts.lists; }
    QWidget* view() override { return &widget; }
    void updateApps() override { ++parts.updates; }
    QWidget widget;
    Parts& parts;
  };
  struct Disk : PanelDiskUsage {
    Disk(QWidget* parent, Parts& owner) : widget(parent), parts(owner) { parts.diskView = &widget; }
    QWidget* view() override { return &widget; }
    float getViewHeightForMode(Mode mode) override { return mode == Compact ? 40.5F : 150.0F; }
    void changeToCompactMode(bool compact, bool) override { parts.diskCompact = compact; }
    void completionChangeToCompactMode(bool) override {}
    QWidget widget;
    Parts& parts;
  };
  std::unique_ptr<PanelProcessList> makeProcessList(QWidget* parent) override {
    return std::make_unique<List>(parent, *this);
  }
  std::unique_ptr<PanelDiskUsage> makeDiskUsage(QWidget* parent) override {
    return hasDisk ? std::make_unique<Disk>(parent, *this) : nullptr;
  }
  bool isCanShowAds() const override { return hasDisk; }
  bool startsWithDiskUsage() const override { return startsDetailed; }

  bool hasDisk = false;
  bool startsDetailed = false;
  bool diskCompact = false;
  QWidget* diskView = nullptr;
  int lists = 0;
  int updates = 0;
};

struct Hints : WindowHints {
  bool blendsWindows() const override { return blends; }
  bool blends = false;
  void hideFromWindowList(std::uint64_t) override { ++hidden; }
  int hidden = 0;
};

struct Panel {
  explicit Panel(bool withDisk = false) {
    parts.hasDisk = withDisk;
    window.awakeFromNib();
  }
  FakeClock clock;
  FakeDefaultsStore store;
  ShowcaseDefaults defaults{store, clock, QStringLiteral("1.0")};
  NotificationCenter notifications;
  FakeStatusBarItem item;
  Parts parts;
  Hints hints;
  PanelWindow window{clock, defaults, notifications, item, parts, hints};
};

}  // namespace

class TestPanelWindow : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void firstStartIsAttachedAndCompact() {
    Panel panel;
    QVERIFY(panel.window.isLocked());
    QVERIFY(!panel.window.isWindowStateDetailed());
    QVERIFY(panel.window.isWindowStateWithAd());  // from the stored layout, which counts as detailed when absent
    QCOMPARE(panel.window.size(), QSize(250, 220));
    QVERIFY(!panel.window.isVisible());
    QVERIFY(!panel.defaults.isWindowDetailed());
  }

  void itemTogglesAnAttachedPanel() {
    Panel panel;
    panel.item.rect = QRect(400, 2, 24, 24);
    panel.window.processActionOfStatusItem(true);
    QVERIFY(panel.window.isVisible());
    QCOMPARE(panel.window.pos(), QPoint(400 + 12 - 125, 2 + 24 + 5));
    panel.window.processActionOfStatusItem(false);
    QVERIFY(panel.window.isVisible());
    panel.window.processActionOfStatusItem(true);
    QVERIFY(!panel.window.isVisible());
  }

  void theShapeIsCutOutWhereNothingBlendsWindows() {
    Panel panel;
    panel.window.show();
    QVERIFY(!panel.window.mask().isEmpty());
    QVERIFY(!panel.window.mask().contains(QPoint(0, 219)));
    panel.window.close();
    panel.hints.blends = true;
    panel.window.show();
    QVERIFY(panel.window.mask().isEmpty());
  }

  void draggingDetachesAndRemembersThePlace() {
    Panel panel;
    panel.item.rect = QRect(400, 2, 24, 24);
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

  void detachedPanelComesBackAtStartUp() {
    Panel first;
    first.window.showWindowIfNotLocked();
    QVERIFY(!first.window.isVisible());
    first.window.setLocked(false);
    first.defaults.saveWindowFramePosition(-4000, 100);
    first.window.showWindowIfNotLocked();
    QVERIFY(first.window.isVisible());
    QCOMPARE(first.window.pos(), QPoint(0, 100));
  }

  void closeButtonAttachesAgain() {
    Panel panel;
    panel.window.showTriangle(false);
    panel.window.bringToFront();
    QSignalSpy closed(&panel.window, &PanelWindow::willClose);
    panel.window.closeButtonPressed();
    QVERIFY(!panel.window.isVisible() && panel.window.isLocked());
    QCOMPARE(closed.size(), 1);
  }

  void onlyAPanelWithoutATrayStandsInTheWindowList() {
    Panel panel;
    panel.window.bringToFront();
    QCOMPARE(panel.hints.hidden, 1);
    panel.window.setInWindowList(true);
    QVERIFY(panel.window.isVisible());
    QCOMPARE(panel.hints.hidden, 1);
    panel.window.setInWindowList(false);
    QCOMPARE(panel.hints.hidden, 2);
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
    panel.window.changeWindowStateTo(PanelWindow::DetailedFlag | PanelWindow::AdFlag, false);
    panel.window.showTriangle(false);
    panel.window.summary().freeButton().setTitle(QStringLiteral("Cleanup"));
    panel.window.show();
    QCOMPARE(namelessControls(panel.window).join(QLatin1Char(' ')), QString());
  }

  void detailedLayoutBringsTheListAndBlocksASecondPress() {
    Panel panel;
    panel.window.bringToFront();
    panel.window.showDetailedMemoryUsageButtonPressed();
    QVERIFY(panel.window.isAnimating() && panel.window.isWindowStateDetailed());
    QVERIFY(panel.defaults.isWindowDetailed());
    panel.window.showDetailedMemoryUsageButtonPressed();
    QVERIFY(panel.window.isWindowStateDetailed());
    QCOMPARE(panel.parts.lists, 0);
    QTRY_VERIFY(!panel.window.isAnimating());
    QCOMPARE(panel.window.size(), QSize(250, 285));
    QCOMPARE(panel.parts.lists, 1);
    QCOMPARE(panel.parts.updates, 1);
    panel.window.updateContentData();
    QCOMPARE(panel.parts.updates, 2);
    panel.window.showDetailedMemoryUsageButtonPressed();
    QTRY_VERIFY(!panel.window.isAnimating());
    QCOMPARE(panel.window.size(), QSize(250, 220));
    QCOMPARE(panel.parts.lists, 0);
    QVERIFY(!panel.defaults.isWindowDetailed());
  }

  void diskUsageStandsBelowTheSummaryAndAddsItsHeight() {
    Panel panel(true);
    QCOMPARE(panel.window.height(), 260);
    QCOMPARE(panel.parts.diskView->y(), 220);
    panel.window.changeWindowStateTo(panel.window.windowState() ^ PanelWindow::DetailedFlag, false);
    QCOMPARE(panel.parts.diskView->y(), 285);
    QCOMPARE(panel.window.height(), 325);
    panel.window.changeWindowStateTo(panel.window.windowState() ^ PanelWindow::DetailedFlag, false);
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

  void losingTheFocusClosesOnlyAnAttachedPanel() {
    Panel panel;
    panel.window.bringToFront();
    panel.window.showTriangle(false);
    QEvent deactivate(QEvent::WindowDeactivate);
    QCoreApplication::sendEvent(&panel.window, &deactivate);
    QCoreApplication::processEvents();
    QVERIFY(panel.window.isVisible());
    panel.notifications.post(PanelWindow::kCloseMainWindowIfNotActive);
    QVERIFY(panel.window.isVisible());
  }

  void percentageIsColouredAboveTheThreshold_data() {
    QTest::addColumn<double>("fraction");
    QTest::addColumn<QString>("text");
    QTest::addColumn<QColor>("color");
    QTest::newRow("calm") << 0.574 << QStringLiteral("57%") << QColor(0, 75, 94);
    QTest::newRow("exactly at the threshold") << 0.945 << QStringLiteral("95%") << QColor(0, 75, 94);
    QTest::newRow("above") << 0.9451 << QStringLiteral("95%") << QColor(179, 2, 2);
    QTest::newRow("one digit") << 0.05 << QStringLiteral(" 5%") << QColor(0, 75, 94);
  }
  void percentageIsColouredAboveTheThreshold() {
    QFETCH(double, fraction);
    Panel panel;
    panel.window.summary().fillInfoPanelWithUsedMemoryPercent(fraction, kGiB, 4 * kGiB);
    const QLabel& title = panel.window.summary().title();
    // Nothing is filled in while nobody can see it.
    QCOMPARE(title.text(), QString());
    panel.window.show();
    QTEST(title.text(), "text");
    QTEST(title.palette().color(QPalette::WindowText), "color");
  }

  void oneDigitStandsWhereTwoDo() {
    Panel panel;
    SummaryView& summary = panel.window.summary();
    panel.window.changeWindowStateTo(PanelWindow::DetailedFlag, false);
    panel.window.show();
    const auto firstInk = [&](double fraction) {
      summary.fillInfoPanelWithUsedMemoryPercent(fraction, kGiB, 4 * kGiB);
      const QImage image = summary.grab(summary.title().geometry()).toImage();
      for (int x = 0; x < image.width(); ++x) {
        for (int y = 0; y < image.height(); ++y) {
          if (image.pixel(x, y) != image.pixel(0, 0)) return x;
        }
      }
      return -1;
    };
    QVERIFY(firstInk(0.55) >= 0);
    QCOMPARE(firstInk(0.05), firstInk(0.55));
  }

  void subtitleTellsOfTheLastCleaning() {
    Panel panel;
    SummaryView& summary = panel.window.summary();
    const QString used = QStringLiteral("1.00 GB used of 4.00 GB");
    const QString cleaned = QStringLiteral("2.00 GB cleaned at 12:00");
    panel.window.show();
    summary.fillInfoPanelWithUsedMemoryPercent(0.25, kGiB, 4 * kGiB);
    QCOMPARE(summary.subtitle().text(), used);
    summary.fillLastCleanedLabelWithSize(0, QStringLiteral("at 12:00"));
    QCOMPARE(summary.cleanedSizeLabel().text(), QString());
    summary.fillLastCleanedLabelWithSize(1 << 20, QString());
    QCOMPARE(summary.cleanedSizeLabel().text(), QString());
    summary.fillLastCleanedLabelWithSize(std::int64_t{2} << 30, QStringLiteral("at 12:00"));
    QCOMPARE(summary.cleanedSizeLabel().text(), cleaned);
    // Compact: the label of its own; the subtitle stays.
    panel.window.onPurgedMemory();
    QCOMPARE(summary.subtitle().text(), used);
    QVERIFY(!summary.subtitle().isTracking());
    // Detailed: the subtitle gives way for 30 seconds.
    panel.window.changeWindowStateTo(PanelWindow::DetailedFlag, false);
    panel.window.onPurgedMemory();
    QCOMPARE(summary.subtitle().text(), cleaned);
    QCOMPARE(summary.subtitle().palette().color(QPalette::WindowText), QColor(31, 133, 39));
    QVERIFY(summary.subtitle().isTracking());
    panel.clock.advance(29'999ms);
    QCOMPARE(summary.subtitle().text(), cleaned);
    panel.clock.advance(1ms);
    QCOMPARE(summary.subtitle().text(), used);
    QCOMPARE(summary.subtitle().palette().color(QPalette::WindowText), QColor(48, 48, 48));
    // A second click brings the used text back at once, and for good.
    summary.subtitleLabelClicked();
    QCOMPARE(summary.subtitle().text(), cleaned);
    panel.clock.advance(10s);
    summary.subtitleLabelClicked();
    QCOMPARE(summary.subtitle().text(), used);
    panel.clock.advance(60s);
    QCOMPARE(summary.subtitle().text(), used);
  }

  void purgeDetailsFitBothLayouts_data() {
    QTest::addColumn<PurgeReport>("report");
    QTest::addColumn<QString>("line");
    QTest::addColumn<QString>("shortLine");
    QTest::addColumn<QString>("inHint");
    PurgeReport report;
    report.outcome = {ReclaimMethod::PageOut, 0, QStringLiteral("so")};
    report.gainedBytes = 700 << 20;
    report.swap = SwapLedger{900 << 20, 200 << 20, 0, -(12 << 20), std::nullopt};
    const auto row = [&](const char* name, const char* line, const char* shortLine, const char* inHint) {
      QTest::newRow(name) << report << QString::fromLatin1(line) << QString::fromLatin1(shortLine)
                          << QString::fromLatin1(inHint);
    };
    row("compressed", "900 MB compressed into 200 MB", "900 MB compressed",
        "applications: -12.0 MB\n\nBy page-out: so.");
    report.recheck = PurgeRecheck{60s, 650 << 20, 50 << 20};
    row("second look", "still free: 650 MB of 700 MB", "still free: 650 MB", "Came back from swap: 50.0 MB");
    report.recheck->stillFreeBytes = 800 << 20;
    row("others ended", "still free: all of 700 MB", "still free: 700 MB", "Still free after a minute: 800 MB");
    report.gainedBytes = -(700 << 20);
    row("a loss", "gain -700 MB: more is used than before", "gain -700 MB", "Gain: -700 MB");
    report.outcome = {ReclaimMethod::None, 0, QString(200, u'x') + QStringLiteral(" no swap")};
    report.gainedBytes = 0;
    row("nothing", "nothing useful to free", "nothing to free", "x\nno swap.");
    report.gainedBytes = 1;
    row("not ours", "others gave it back by themselves", "given back by others", "no swap.");
  }
  void purgeDetailsFitBothLayouts() {
    QFETCH(PurgeReport, report);
    QFETCH(QString, inHint);
    Panel panel;
    panel.window.show();
    SummaryView& summary = panel.window.summary();
    const QRect subtitle = summary.subtitle().geometry();
    const QRect button = summary.freeButton().geometry();
    QCOMPARE(summary.purgeDetailsLabel().text(), QString());
    summary.fillPurgeDetails(purgeDetails(report));
    QTEST(summary.purgeDetailsLabel().text(), "line");
    QVERIFY2(purgeDetails(report).hint.contains(inHint), qPrintable(purgeDetails(report).hint));
    // Nothing has moved for it, and it covers nothing.
    QVERIFY(summary.subtitle().geometry() == subtitle && summary.freeButton().geometry() == button);
    for (const QRect& other : {subtitle, button, summary.cleanedSizeLabel().geometry()})
      QVERIFY(!other.intersects(summary.purgeDetailsLabel().geometry()));
    panel.window.changeWindowStateTo(PanelWindow::DetailedFlag, false);
    QTEST(summary.purgeDetailsLabel().text(), "shortLine");
  }

  void chartOnlyStoresWhileHiddenAndJumpsWhileInactive() {
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
    QCOMPARE(chart.colorForSegmentByIndex(3), QColor(Qt::white));
    QVERIFY(chart.tooltipForSegmentByIndex(-1).isEmpty());
    chart.setWiredSize(1000, 1000 * 1024, kGiB);
    QCOMPARE(chart.tooltipForSegmentByIndex(0), QStringLiteral("System memory usage\nWired memory: 0.98 KB"));
    QCOMPARE(chart.tooltipForSegmentByIndex(1), QStringLiteral("User memory usage\nApp memory: 1000 KB"));
    QCOMPARE(chart.tooltipForSegmentByIndex(2), QStringLiteral("Free memory: 1.00 GB"));
    // Clockwise from the top: a quarter system, a quarter user, the rest free; nothing in the middle.
    QCOMPARE(chart.segmentAt(QPointF(105 + 67, 105 - 67)), 0);
    QCOMPARE(chart.segmentAt(QPointF(105 + 67, 105 + 67)), 1);
    QCOMPARE(chart.segmentAt(QPointF(105 - 67, 105)), -1);
    QCOMPARE(chart.segmentAt(QPointF(105 - 95, 105)), 2);
    QTest::mouseMove(&chart, QPoint(105 - 95, 105));
    QCOMPARE(hint.tag, 2);
    QTest::mouseMove(&chart, QPoint(105, 105));
    QVERIFY(!hint.isVisible());
  }

  void aCleaningGivesTheFocusBackToItsButton() {
    Panel panel;
    panel.window.show();
    CleanMemoryButton& button = panel.window.summary().freeButton();
    button.setFocus(Qt::MouseFocusReason);
    button.beginProgressUpdate();
    button.setEnabled(false);
    QVERIFY(!panel.window.focusWidget());
    button.setEnabled(true);
    button.endProgressUpdate();
    QCOMPARE(panel.window.focusWidget(), &button);
  }

  void progressPictureFillsFromTheLeft() {
    const QImage image = CleanMemoryButton::progressImage(QSize(200, 40), 1.0, 0.25F);
    QCOMPARE(image.pixelColor(49, 20), QColor(116, 214, 251));
    QCOMPARE(image.pixelColor(50, 20), QColor(220, 244, 254));
    QCOMPARE(image.pixelColor(0, 0), QColor(Qt::white));
  }
};

QTEST_MAIN(TestPanelWindow)
#include "test_panel_window.moc"
