#include <QtTest>
#include <memory>

#include "platform/desktop/desktop_status_bar_item.h"
#include "platform/desktop/screen_coordinates.h"
#include "platform/desktop/x11_window_list_watch.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_status_bar_item.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

/// The item over a preferred one and substitutes that are on no screen.
struct Items {
  explicit Items(bool preferredIsShown) {
    preferred.setShown(preferredIsShown);
    const auto makeSubstitute = [this] {
      auto made = std::make_unique<FakeStatusBarItem>();
      made->setShown(true);
      substitute = made.get();
      ++substitutes;
      return made;
    };
    item = std::make_unique<DesktopStatusBarItem>(preferred, makeSubstitute, clock);
  }

  FakeClock clock;
  FakeStatusBarItem preferred;
  QPointer<FakeStatusBarItem> substitute;
  int substitutes = 0;
  std::unique_ptr<DesktopStatusBarItem> item;
};

}  // namespace

/// Clicks, places and late trays are those of tests/desktop, with real trays.
class TestDesktopStatusBarItem : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void aToolTipThatKeepsChangingIsPassedOnEveryTenSeconds() {
    Items items(true);
    for (const QString& toolTip : texts({"first", "1", "2", "3"}))
      items.item->setToolTip(toolTip);
    items.clock.advance(9999ms);
    QCOMPARE(items.preferred.toolTip.value, text("1"));
    items.clock.advance(1ms);
    QCOMPARE(items.preferred.toolTip.value, text("3"));
    // The pause holds after a late text too, and ends where nothing has changed.
    items.item->setToolTip(text("4"));
    QCOMPARE(items.preferred.toolTip.value, text("3"));
    items.clock.advance(20s);
    QCOMPARE(items.preferred.toolTip.value, text("4"));
    items.item->setToolTip(text("5"));
    QCOMPARE(items.preferred.toolTip.value, text("5"));
  }

  void aSubstituteTakesOverAfterASecondWithAllThatWasSetUntilAHostComes() {
    Items items(false);
    const QSignalSpy shown(items.item.get(), &StatusBarItem::shownChanged);
    const AttributedTitle title{text(" 50% "), {1, 2, 3}}, alternateTitle{text(" 50% "), {}};
    items.item->setImage(text("image"));
    items.item->setAlternateImage(text("alternate"));
    items.item->setTitle(title);
    items.item->setAlternateTitle(alternateTitle);
    items.item->setToolTip(text("text"));
    items.clock.advance(999ms);
    QVERIFY(!items.item->isShown() && items.substitutes == 0);

    items.clock.advance(1ms);
    QVERIFY(items.item->isShown());
    QCOMPARE(items.substitute->image.value, text("image"));
    QCOMPARE(items.substitute->alternateImage.value, text("alternate"));
    QVERIFY(items.substitute->title.value == title && items.substitute->alternateTitle.value == alternateTitle);
    QCOMPARE(items.substitute->toolTip.value, text("text"));
    items.item->setImage(text("next"));
    QCOMPARE(items.substitute->image.value, text("next"));

    items.preferred.setShown(true);
    QVERIFY(!items.substitute && items.item->isShown());
    QCOMPARE(shown.size(), 1);
    items.preferred.setShown(false);
    QVERIFY(!items.item->isShown());
    items.clock.advance(1s);
    QVERIFY(items.item->isShown() && items.substitutes == 2);
  }

  void aPanelThatRestartsQuicklyBringsNoSubstitute() {
    Items items(true);
    for (int restart = 0; restart < 2; ++restart) {
      items.preferred.setShown(false);
      items.clock.advance(900ms);
      items.preferred.setShown(true);
    }
    items.clock.advance(10s);
    QCOMPARE(items.substitutes, 0);
  }

  void withoutAnySubstituteNothingIsShown() {
    Items items(false);
    DesktopStatusBarItem none(
        items.preferred, [] { return nullptr; }, items.clock);
    items.clock.advance(1h);
    QVERIFY(!none.isShown());
    none.setImage(text("image"));
  }

  void aPanelsPointIsReadTheWayThatAgreesWithThePointer() {
    const QList<ScreenPlace> screens = {{QRect(0, 0, 1280, 720), 2}, {QRect(2560, 0, 1920, 1080), 1}};
    const QPoint pointer(902, 9), logical(900, 10), second(3000, 20), outside(-5, -5);
    QCOMPARE(logicalPoint(logical, pointer, screens), logical);
    QCOMPARE(logicalPoint(logical * 2, pointer, screens), logical);
    QCOMPARE(logicalPoint(second, QPoint(2955, 18), screens), second);
    QCOMPARE(logicalPoint(outside, logical, screens), outside);
  }

  void onOtherPlatformsThanX11NobodyTellsOfWindows() {
    if (QGuiApplication::platformName() == QLatin1String("xcb")) QSKIP("for other platforms");
    QVERIFY(!X11WindowListWatch().changes());
  }
};

QTEST_MAIN(TestDesktopStatusBarItem)
#include "test_desktop_status_bar_item.moc"
