#include <QtTest>

#include "menubar/eased_share.h"
#include "menubar/panel_placement.h"

using namespace halvard;
using panel_placement::TriangleEdge;

class TestPanelPlacement : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void panelOpensOnTheFreeSideOfTheItem_data() {
    QTest::addColumn<QRect>("item");
    QTest::addColumn<QRect>("available");
    QTest::addColumn<QPoint>("topLeft");
    QTest::addColumn<bool>("triangleAtTop");
    QTest::addColumn<int>("apex");
    const QRect underTopBar(0, 28, 1280, 772);
    const QRect overBottomBar(0, 0, 1280, 772);
    QTest::newRow("top bar") << QRect(600, 2, 24, 24) << underTopBar << QPoint(487, 31) << true << 125;
    QTest::newRow("bottom bar") << QRect(600, 774, 24, 24) << overBottomBar << QPoint(487, 549) << false << 125;
    QTest::newRow("at the right edge") << QRect(1250, 2, 24, 24) << underTopBar << QPoint(1030, 31) << true << 232;
    QTest::newRow("at the left edge") << QRect(0, 2, 24, 24) << underTopBar << QPoint(0, 31) << true << 16;
    QTest::newRow("second screen to the right")
        << QRect(2000, 1002, 24, 24) << QRect(1280, 1000, 1024, 768) << QPoint(1887, 1031) << true << 125;
    QTest::newRow("screen narrower than the panel")
        << QRect(50, 2, 24, 24) << QRect(0, 28, 200, 772) << QPoint(0, 31) << true << 62;
  }
  void panelOpensOnTheFreeSideOfTheItem() {
    QFETCH(QRect, item);
    QFETCH(QRect, available);
    const auto placement = panel_placement::besideItem(item, QSize(250, 220), available);
    QTEST(placement.topLeft, "topLeft");
    QTEST(placement.edge == TriangleEdge::Top, "triangleAtTop");
    QTEST(placement.apex, "apex");
  }

  void anOfferStandsBelowTheOpenPanelOrAboveIt() {
    const QRect screen(0, 0, 1280, 800);
    const auto below = panel_placement::besideItem(panel_placement::middleOf({900, 31, 250, 220}), {320, 164}, screen);
    QCOMPARE(below.topLeft, QPoint(865, 256));
    QVERIFY(below.edge == TriangleEdge::Top && below.apex == 160);
    const auto above = panel_placement::besideItem(panel_placement::middleOf({900, 549, 250, 220}), {320, 164}, screen);
    QCOMPARE(above.topLeft, QPoint(865, 549 - 5 - 164));
    QVERIFY(above.edge == TriangleEdge::Bottom);
  }

  void savedPlaceIsPulledBackOntoTheScreen_data() {
    QTest::addColumn<QPoint>("saved");
    QTest::addColumn<QPoint>("restored");
    QTest::newRow("inside") << QPoint(300, 200) << QPoint(300, 200);
    QTest::newRow("exactly at the right edge") << QPoint(1280, 200) << QPoint(1280, 200);
    QTest::newRow("beyond the right edge") << QPoint(1281, 200) << QPoint(1030, 200);
    QTest::newRow("touching the left edge") << QPoint(-250, 200) << QPoint(-250, 200);
    QTest::newRow("beyond the left edge") << QPoint(-251, 200) << QPoint(0, 200);
    QTest::newRow("below the bottom edge") << QPoint(300, 801) << QPoint(300, 580);
    QTest::newRow("above the top edge") << QPoint(300, -221) << QPoint(300, 0);
  }
  void savedPlaceIsPulledBackOntoTheScreen() {
    QFETCH(QPoint, saved);
    QTEST(panel_placement::restored(saved, QSize(250, 220), QRect(0, 0, 1280, 800)), "restored");
  }

  void shareReachesItsTargetInTenTicks() {
    EasedShare share;
    share.setTarget(0.2);
    share.jump();
    share.setTarget(0.5);
    share.begin();
    for (int tick = 0; tick < 10; ++tick) {
      QVERIFY(share.current() < 0.5);
      QVERIFY(share.tick());
    }
    QVERIFY(share.current() == 0.5);  // exactly
    QVERIFY(!share.tick());
    share.setTarget(0.1);
    share.begin();
    int ticks = 0;
    while (share.tick())
      ++ticks;
    QCOMPARE(ticks, 10);
    QVERIFY(share.current() == 0.1);
    share.begin();
    QVERIFY(!share.tick());
  }
};

QTEST_GUILESS_MAIN(TestPanelPlacement)
#include "test_panel_placement.moc"
