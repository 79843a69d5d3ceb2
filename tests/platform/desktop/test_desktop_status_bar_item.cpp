#include <QSignalSpy>
#include <QtTest>
#include <memory>

#include "platform/desktop/desktop_status_bar_item.h"
#include "platform/desktop/screen_coordinates.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_status_bar_item.h"

using namespace halvard;
using namespace std::chrono_literals;

class TestDesktopStatusBarItem : public QObject {
  Q_OBJECT

 private:
  FakeClock m_clock;
  std::unique_ptr<FakeStatusBarItem> m_preferred;
  QPointer<FakeStatusBarItem> m_substitute;
  int m_substitutes = 0;
  bool m_hasTrayManager = true;

  std::unique_ptr<DesktopStatusBarItem> makeItem(bool preferredIsShown) {
    m_preferred->setShown(preferredIsShown);
    const auto makeSubstitute = [this] {
      auto substitute = std::make_unique<FakeStatusBarItem>();
      substitute->setShown(m_hasTrayManager);
      m_substitute = substitute.get();
      ++m_substitutes;
      return substitute;
    };
    return std::make_unique<DesktopStatusBarItem>(*m_preferred, makeSubstitute, m_clock);
  }

 private Q_SLOTS:
  void init() {
    m_preferred = std::make_unique<FakeStatusBarItem>();
    m_substitutes = 0;
    m_hasTrayManager = true;
  }

  void aToolTipThatKeepsChangingIsPassedOnEveryTenSeconds() {
    const auto item = makeItem(true);
    item->setToolTip(QStringLiteral("1"));
    item->setToolTip(QStringLiteral("2"));
    item->setToolTip(QStringLiteral("3"));
    m_clock.advance(9999ms);
    QCOMPARE(m_preferred->toolTip.value, QStringLiteral("1"));
    m_clock.advance(1ms);
    QCOMPARE(m_preferred->toolTip.value, QStringLiteral("3"));
    // The pause holds after a late text too, and ends where nothing has changed.
    item->setToolTip(QStringLiteral("4"));
    QCOMPARE(m_preferred->toolTip.value, QStringLiteral("3"));
    m_clock.advance(20s);
    QCOMPARE(m_preferred->toolTip.value, QStringLiteral("4"));
    item->setToolTip(QStringLiteral("5"));
    QCOMPARE(m_preferred->toolTip.value, QStringLiteral("5"));
  }

  void aSubstituteTakesOverAfterASecondWithAllThatWasSet() {
    const auto item = makeItem(false);
    const QSignalSpy shown(item.get(), &StatusBarItem::shownChanged);
    const AttributedTitle title{QStringLiteral(" 50% "), {1, 2, 3}};
    item->setImage(QStringLiteral("image"));
    item->setAlternateImage(QStringLiteral("alternate"));
    item->setTitle(title);
    item->setAlternateTitle({QStringLiteral(" 50% "), {}});
    item->setToolTip(QStringLiteral("text"));
    m_clock.advance(999ms);
    QVERIFY(!item->isShown());
    QCOMPARE(m_substitutes, 0);

    m_clock.advance(1ms);
    QVERIFY(item->isShown());
    QCOMPARE(shown.size(), 1);
    QCOMPARE(m_substitute->image.value, QStringLiteral("image"));
    QCOMPARE(m_substitute->alternateImage.value, QStringLiteral("alternate"));
    QVERIFY(m_substitute->title.value == title);
    QCOMPARE(m_substitute->alternateTitle.value.text, QStringLiteral(" 50% "));
    QCOMPARE(m_substitute->toolTip.value, QStringLiteral("text"));
    item->setImage(QStringLiteral("next"));
    QCOMPARE(m_substitute->image.value, QStringLiteral("next"));
  }

  void thePreferredItemReplacesTheSubstituteWhenAHostComes() {
    const auto item = makeItem(false);
    m_clock.advance(1s);
    QVERIFY(m_substitute);
    const QSignalSpy shown(item.get(), &StatusBarItem::shownChanged);
    m_preferred->setShown(true);
    QVERIFY(!m_substitute);
    QVERIFY(item->isShown());
    QCOMPARE(shown.size(), 0);

    m_preferred->setShown(false);
    QVERIFY(!item->isShown());
    m_clock.advance(1s);
    QVERIFY(item->isShown());
    QCOMPARE(m_substitutes, 2);
  }

  void aPanelThatRestartsQuicklyBringsNoSubstitute() {
    const auto item = makeItem(true);
    m_preferred->setShown(false);
    m_clock.advance(900ms);
    m_preferred->setShown(true);
    m_preferred->setShown(false);
    m_clock.advance(900ms);
    m_preferred->setShown(true);
    m_clock.advance(10s);
    QCOMPARE(m_substitutes, 0);
  }

  void withoutAnyTrayNothingIsShownUntilOneComes() {
    m_hasTrayManager = false;
    const auto item = makeItem(false);
    m_clock.advance(1h);
    QVERIFY(!item->isShown());
    m_substitute->setShown(true);
    QVERIFY(item->isShown());

    DesktopStatusBarItem none(
        *m_preferred, [] { return nullptr; }, m_clock);
    m_clock.advance(1h);
    QVERIFY(!none.isShown());
    none.setImage(QStringLiteral("image"));
  }

  void clicksAndPlacesComeFromTheItemThatIsShown() {
    const auto item = makeItem(true);
    QSignalSpy clicks(item.get(), &StatusBarItem::activated);
    m_preferred->press(StatusBarItem::MouseButton::Right);
    QCOMPARE(clicks.size(), 1);
    QCOMPARE(clicks[0][0].value<StatusBarItem::MouseButton>(), StatusBarItem::MouseButton::Right);
    QCOMPARE(item->geometry(), m_preferred->rect);

    m_preferred->setShown(false);
    m_clock.advance(1s);
    m_substitute->rect = QRect(7, 7, 16, 16);
    m_substitute->press(StatusBarItem::MouseButton::Left);
    QCOMPARE(clicks.size(), 2);
    QCOMPARE(item->geometry(), QRect(7, 7, 16, 16));
  }

  void aPanelsPointIsReadTheWayThatAgreesWithThePointer_data() {
    QTest::addColumn<QPoint>("point");
    QTest::addColumn<QPoint>("pointer");
    QTest::addColumn<QPoint>("logical");
    QTest::newRow("logical as it is") << QPoint(900, 10) << QPoint(902, 9) << QPoint(900, 10);
    QTest::newRow("pixels of the first screen") << QPoint(1800, 20) << QPoint(902, 9) << QPoint(900, 10);
    QTest::newRow("pixels of the second screen") << QPoint(3000, 20) << QPoint(2955, 18) << QPoint(3000, 20);
    QTest::newRow("outside every screen") << QPoint(-5, -5) << QPoint(900, 10) << QPoint(-5, -5);
  }
  void aPanelsPointIsReadTheWayThatAgreesWithThePointer() {
    QFETCH(QPoint, point);
    QFETCH(QPoint, pointer);
    const QList<ScreenPlace> screens = {{QRect(0, 0, 1280, 720), 2}, {QRect(2560, 0, 1920, 1080), 1}};
    QTEST(logicalPoint(point, pointer, screens), "logical");
  }
};

QTEST_MAIN(TestDesktopStatusBarItem)
#include "test_desktop_status_bar_item.moc"
