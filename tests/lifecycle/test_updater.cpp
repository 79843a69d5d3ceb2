#include <QtTest>

#include <sodium.h>

#include "lifecycle/appcast.h"
#include "lifecycle/update_signature.h"
#include "lifecycle/updater.h"
#include "platform/fake/fake_alert_presenter.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_workspace.h"
#include "platform/linux/network/qt_http_fetcher.h"
#include "preferences/stored_keys.h"
#include "support/test_web_server.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

const QByteArray kPage = "https://example.com/get";

unsigned char* bytesOf(QByteArray& data) {
  return reinterpret_cast<unsigned char*>(data.data());
}

/// A maker with a key of its own.
struct Maker {
  Maker() { crypto_sign_keypair(bytesOf(publicKey), bytesOf(secretKey)); }

  QString publicKeyText() const { return QString::fromLatin1(publicKey.toBase64()); }
  QByteArray sign(const QByteArray& version, const QByteArray& page) {
    QByteArray signedText = "halvard-update\n" + version + '\n' + page + '\n';
    QByteArray signature(crypto_sign_BYTES, '\0');
    const auto length = static_cast<unsigned long long>(signedText.size());
    crypto_sign_detached(bytesOf(signature), nullptr, bytesOf(signedText), length, bytesOf(secretKey));
    return signature.toBase64();
  }
  QByteArray item(const QByteArray& version, const QByteArray& page = kPage) {
    return entry(version, page, sign(version, page));
  }
  static QByteArray entry(const QByteArray& version, const QByteArray& page, const QByteArray& signature) {
    return "<item><title>x</title><link>" + page + "</link><halvard:version>" + version +
           "</halvard:version><halvard:edSignature>" + signature + "</halvard:edSignature></item>";
  }

  QByteArray publicKey{crypto_sign_PUBLICKEYBYTES, '\0'};
  QByteArray secretKey{crypto_sign_SECRETKEYBYTES, '\0'};
};

QByteArray feed(const QByteArray& items) {
  return "<?xml version=\"1.0\"?><rss version=\"2.0\" xmlns:halvard=\"https://example.com/appcast\"><channel>" + items +
         "</channel></rss>";
}

struct Desk {
  explicit Desk(const QString& key) : publicKey(key) {}
  UpdaterServices services() { return {store, fetcher, workspace, alerts, clock}; }
  void publish(const QByteArray& body) { server.answer(text("/feed.xml"), {.body = body}); }

  const QString publicKey;
  TestWebServer server;
  FakeDefaultsStore store;
  QtHttpFetcher fetcher{"Halvard/1.2"};
  FakeWorkspace workspace;
  FakeAlertPresenter alerts;
  FakeClock clock;
  Updater updater{services(), server.url(text("/feed.xml")), publicKey, text("Main"), text("1.2")};
};

}  // namespace

class TestUpdater : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void initTestCase() { QVERIFY(sodium_init() >= 0); }

  void onlyASignedNewerVersionCounts() {
    Maker maker, other;
    const std::pair<QByteArray, const char*> feeds[] = {
        {feed(maker.item("1.9") + maker.item("1.10") + other.item("3.0") + maker.item("1.0")), "1.10"},
        {feed(maker.item("2.0")).chopped(12), "it is no whole XML document"},
        {"", "it is no whole XML document"},
        {"<html/>", "it has no channel"},
        {feed(Maker::entry("2.0", kPage, "")), "version 2.0 is not signed"},
        {feed(other.item("2.0")), "version 2.0 is not signed with our key"},
        {feed(Maker::entry("3.0", kPage, maker.sign("2.0", kPage))), "version 3.0 is not signed with our key"},
        {feed(Maker::entry("2.0", "https://evil.example/", maker.sign("2.0", kPage))),
         "version 2.0 is not signed with our key"},
        {feed(maker.item("2.0", "http://example.com/get")), "nothing"},
        {feed(maker.item("two")), "nothing"},
        {feed(maker.item("1.1.9")), "nothing"},
        {feed(maker.item("1.2")), "nothing"},
    };
    const UpdateKey key = UpdateKey::fromBase64(maker.publicKeyText()).value();
    for (const auto& [bytes, outcome] : feeds) {
      const auto newest = newestUpdate(bytes, key, QVersionNumber(1, 2));
      const QString version = newest && newest.value() ? newest.value()->version.toString() : text("nothing");
      QCOMPARE(newest ? version : newest.error().message, text(outcome));
    }
  }

  void badFeedChangesNothingAndIsOneLineOfTheLog() {
    Maker maker;
    const std::tuple<QByteArray, QtMsgType, const char*> feeds[] = {
        {"<html/>", QtWarningMsg, "^update feed: it has no channel$"},
        {feed(maker.item("1.2")), QtInfoMsg, "^update feed: nothing newer than 1\\.2$"},
        {feed(maker.item("2.0") + QByteArray(256 * 1024, ' ')), QtWarningMsg, "^update feed: [^\n]+$"},
    };
    QTest::failOnWarning(QRegularExpression(text(".")));
    for (const auto& [body, kind, line] : feeds) {
      QTest::ignoreMessage(kind, QRegularExpression(text(line)));
      Desk desk(maker.publicKeyText());
      desk.publish(body);
      desk.updater.setAutomaticallyChecksForUpdates(true);
      QSignalSpy checked(&desk.updater, &Updater::checked);
      desk.updater.resetUpdateCycle();
      QVERIFY(checked.wait(20000));
      QCOMPARE(desk.alerts.shown.size(), 0U);
      QCOMPARE(desk.store.keys(), QStringList{stored_keys::updaterLastCheckDate});
    }
  }

  void checksOnceADayAndOffersOnceARun() {
    Maker maker;
    Desk desk(maker.publicKeyText());
    desk.publish(feed(maker.item("2.0")));
    QSignalSpy checked(&desk.updater, &Updater::checked);
    desk.updater.resetUpdateCycle();
    QCOMPARE(desk.clock.pendingCalls(), 0U);
    desk.updater.setAutomaticallyChecksForUpdates(true);
    desk.updater.resetUpdateCycle();
    QVERIFY(checked.wait(20000));
    QCOMPARE(desk.alerts.shown.size(), 1U);
    desk.updater.resetUpdateCycle();
    desk.clock.advance(24h - 1s);
    QCOMPARE(desk.server.requests().size(), 1);
    desk.clock.advance(1h);
    QTRY_COMPARE(checked.size(), 2);
    QCOMPARE(desk.alerts.shown.size(), 1U);
    QCOMPARE(desk.workspace.opened.size(), 0);
    // The user asks: every answer is told.
    desk.alerts.answers = {{0, false}};
    desk.updater.checkForUpdates();
    QTRY_COMPARE(desk.alerts.shown.size(), 2U);
    QCOMPARE(desk.alerts.shown.back().message, text("Main 2.0 is available."));
    QCOMPARE(desk.workspace.opened, QList<QUrl>{QUrl::fromEncoded(kPage)});
    desk.publish(feed({}));
    desk.updater.checkForUpdates();
    QTRY_COMPARE(desk.alerts.shown.size(), 3U);
    QCOMPARE(desk.alerts.shown.back().message, text("Main is up to date."));
  }

  void offWithoutAFeedOrAKey() {
    Maker maker;
    const QString key = maker.publicKeyText();
    for (const QString& bad : {QString(), text("c2hvcnQ="), key + text("!")}) {
      Desk desk(bad);
      QVERIFY(!desk.updater.isOn());
      desk.updater.setAutomaticallyChecksForUpdates(true);
      desk.updater.resetUpdateCycle();
      desk.updater.checkForUpdates();
      QVERIFY(desk.clock.pendingCalls() == 0 && desk.store.writes() == 0);
      QVERIFY(!Updater(desk.services(), {}, key, text("Main"), text("1")).isOn());
    }
  }
};

QTEST_GUILESS_MAIN(TestUpdater)
#include "test_updater.moc"
