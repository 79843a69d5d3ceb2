#include <QtTest>

#include "analytics/zp_google_analytics.h"
#include "analytics/zp_google_payload.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_http_beacon.h"
#include "preferences/showcase_defaults.h"
#include "preferences/stored_keys.h"
#include "support/texts.h"

using namespace halvard;

namespace {

struct Fixture {
  FakeDefaultsStore store;
  FakeClock clock;
  ShowcaseDefaults defaults{store, clock, text("4.2.1")};
  FakeHttpBeacon beacon;
  Branding branding = Branding::load({});
  AnalyticsFacts facts{
      .applicationName = text("Halvard"), .applicationVersion = text("4.2 (7)"), .language = text("en-US")};

  Fixture() {
    branding.analyticsEndpoint = QUrl(text("https://events.example/collect"));
    branding.analyticsTrackingId = text("UA-10000000-1");
    store.setObject(stored_keys::analyticsUserId, {text("0f8f-AB")});
  }
  std::unique_ptr<ZPGoogleAnalytics> analytics() {
    return std::make_unique<ZPGoogleAnalytics>(branding, defaults, beacon, facts, [] { return 4294967295u; });
  }
};

}  // namespace

class TestUsageEvents : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void init() { qunsetenv("DO_NOT_TRACK"); }

  void onlyLettersAndDigitsStayAsTheyAre() {
    ZPGooglePayload payload;
    payload.add("a", text("aZ09 &=-._~/+%"));
    payload.add("b", QString::fromUtf8("ü\n"));
    payload.add("c", QString(QChar(0xD800)));
    payload.add("d", QString());
    QCOMPARE(payload.data(), QByteArray("a=aZ09%20%26%3D%2D%2E%5F%7E%2F%2B%25&b=%C3%BC%0A&d="));
  }

  void everyEventHasItsBytes() {
    const QByteArray names[] = {"unknown&ea=unknoen", "Halvard&ea=Brimwell", "Halvard&ea=Disk%5FTool",
                                "Halvard&ea=Tarnby",  "Halvard&ea=Pellmore", "Halvard&ea=Close%5Fuser"};
    Fixture f;
    f.branding.siblings[SiblingApp::DiskAnalyzer].own.name = text("Disk Tool");
    const auto analytics = f.analytics();
    for (int event = 0; event <= 5; ++event) {
      analytics->send(ZPGAEvent{event});
      QTRY_COMPARE(f.beacon.requests().size(), event + 1);
      QCOMPARE(
          f.beacon.requests().constLast(),
          "https://events.example/collect?v=1&tid=UA%2D10000000%2D1&cid=0f8f%2DAB&ds=app&an=Halvard&av=4%2E2%20%287%29"
          "&ul=en%2DUS&t=event&ec=" +
              names[event] + "&z=4294967295");
    }
    f.facts = {};
    const auto nameless = f.analytics();
    nameless->send(ZPGAEvent::Unknown);
    QTRY_COMPARE(f.beacon.requests().size(), 7);
    QVERIFY(f.beacon.requests().constLast().contains("&an=App%20Name&av=App%20Version&"));
    QCOMPARE(clickEvent(SiblingApp::Uninstaller), ZPGAEvent{3});
    QCOMPARE(clickEvent(SiblingApp::DiskAnalyzer), ZPGAEvent{2});
    QVERIFY(!clickEvent(SiblingApp::None));
  }

  void nothingIsSentOrStoredWithoutAnEndpointAnIdentifierOrConsent() {
    const std::function<void(Fixture&)> refusals[] = {[](Fixture& f) { f.branding.analyticsEndpoint.clear(); },
                                                      [](Fixture& f) { f.branding.analyticsTrackingId.clear(); },
                                                      [](Fixture&) { qputenv("DO_NOT_TRACK", "1"); }};
    for (const auto& refuse : refusals) {
      Fixture f;
      f.store.removePersistentDomain();
      refuse(f);
      {
        const auto analytics = f.analytics();
        for (int event = 0; event <= 5; ++event)
          analytics->send(ZPGAEvent{event});
      }
      QVERIFY(f.beacon.requests().isEmpty());
      QVERIFY(f.store.keys().isEmpty());
    }
  }
};

QTEST_GUILESS_MAIN(TestUsageEvents)
#include "test_usage_events.moc"
