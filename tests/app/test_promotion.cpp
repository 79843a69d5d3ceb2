#include <QtTest>

#include "app/promotion.h"
#include "platform/fake/fake_http_beacon.h"
#include "platform/fake/fake_mounted_volumes.h"
#include "promo/promo_fixture.h"
#include "promo/promo_xml.h"
#include "promo/ui/fake_page_window.h"
#include "promo/ui/rate_dialog_view.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

struct Fixture : PromoFixture {
  FakeHttpBeacon beacon;
  FakeMountedVolumes volumes;
  FakePageWindow::Record record;
  FakePageWindow* window = nullptr;

  std::unique_ptr<Promotion> promotion() {
    return std::make_unique<Promotion>(
        PromotionServices{{workspace, fetcher, beacon, unpacker, volumes, support.path()},
                          clock,
                          defaults,
                          notifications,
                          userNotifications,
                          branding},
        [this](PageWindow::Look) { return std::make_unique<FakePageWindow>(record, window); });
  }
};

}  // namespace

class TestPromotion : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void theShowcaseOfTheFirstStartLeadsToThePanelAndItsClosingIsCounted() {
    Fixture f;
    f.branding.analyticsEndpoint = QUrl(QStringLiteral("https://events.example/collect"));
    f.branding.analyticsTrackingId = QStringLiteral("UA-10000000-1");
    const auto promotion = f.promotion();
    QSignalSpy mainWindow(promotion.get(), &Promotion::mainWindowRequested);
    f.clock.advance(0ms);
    QVERIFY2(!promotion->hasPageOpen(), "not before the interface stands");
    promotion->start();
    f.clock.advance(0ms);
    QVERIFY(f.record.isOpen && promotion->hasPageOpen());
    Q_EMIT f.window->linkActivated(QUrl(QStringLiteral("app://startusingapp")));
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
    Fixture f;
    const auto promotion = f.promotion();
    promotion->newsButtonPressed({200, 40, 26, 24}, screen);
    QVERIFY(promotion->hasPageOpen() && !promotion->manager().isHasFreshNews());
    QCOMPARE(f.record.corner, QPoint(226 - 15, 40 + 337 + 15));
    promotion->hideNews();
    f.clock.advance(100ms);
    QVERIFY(!promotion->hasPageOpen());
  }

  void theRateDialogComesByItsRulesAndOnlyWhereEveryStarLeadsSomewhere() {
    for (const bool hasAddresses : {false, true}) {
      Fixture f;
      if (hasAddresses) f.giveAddresses();
      const auto promotion = f.promotion();
      const auto invite = [&] {
        promotion->showRateDialogAutomaticallyIfNeeded();
        f.clock.advance(0ms);
        const bool came = promotion->rateDialog().window() != nullptr;
        promotion->rateDialog().closeRateWindow();
        return came;
      };
      f.defaults.setCleanedSize(524'288'000);
      QVERIFY2(!invite(), "two weeks of peace");
      f.clock.advance(14 * 24h);
      for (int showing = 0; showing < 3; ++showing) {
        QCOMPARE(invite(), hasAddresses);
        QVERIFY2(!invite(), "a month apart");
        f.clock.advance(30 * 24h);
      }
      QVERIFY2(!invite(), "three times");
      promotion->rateButtonPressed();
      f.clock.advance(0ms);
      QVERIFY(!promotion->rateDialog().window());
    }
  }

  void aClickOnTheWarningAsksForTheDiskSection() {
    Fixture f;
    f.volumes.add(QStringLiteral("/data"), {64'000'000'000, 1});
    const auto promotion = f.promotion();
    QSignalSpy diskUsage(promotion.get(), &Promotion::diskUsageRequested);
    QVERIFY(f.userNotifications.delivered.empty());
    promotion->start();
    QCOMPARE(f.userNotifications.delivered.size(), std::size_t{1});
    f.userNotifications.click(0);
    QCOMPARE(diskUsage.size(), 1);
  }
};

QTEST_MAIN(TestPromotion)
#include "test_promotion.moc"
