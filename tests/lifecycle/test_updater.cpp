#include <QtTest>
#include <array>

#include <sodium.h>

#include "lifecycle/updater.h"
#include "platform/fake/fake_alert_presenter.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_workspace.h"
#include "platform/linux/network/qt_http_fetcher.h"
#include "preferences/stored_keys.h"
#include "support/test_web_server.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

using Kind = TestWebServer::Answer::Kind;

QString latin(const char* text) {
  return QString::fromLatin1(text);
}

/// A maker with a key of its own.
struct Maker {
  Maker() { crypto_sign_keypair(publicKey.data(), secretKey.data()); }

  QString publicKeyText() const {
    return latin(QByteArray(reinterpret_cast<const char*>(publicKey.data()), publicKey.size()).toBase64().constData());
  }
  QByteArray sign(const QByteArray& text) const {
    std::array<unsigned char, crypto_sign_BYTES> signature{};
    crypto_sign_detached(signature.data(), nullptr, reinterpret_cast<const unsigned char*>(text.constData()),
                         static_cast<unsigned long long>(text.size()), secretKey.data());
    return QByteArray(reinterpret_cast<const char*>(signature.data()), signature.size()).toBase64();
  }
  QByteArray item(const QByteArray& version, const QByteArray& page = "https://example.com/get") const {
    return entry(version, page, sign("halvard-update\n" + version + '\n' + page + '\n'));
  }
  static QByteArray entry(const QByteArray& version, const QByteArray& page, const QByteArray& signature) {
    return "<item><title>x</title><link>" + page + "</link><halvard:version>" + version +
           "</halvard:version><halvard:edSignature>" + signature + "</halvard:edSignature></item>";
  }

  std::array<unsigned char, crypto_sign_PUBLICKEYBYTES> publicKey{};
  std::array<unsigned char, crypto_sign_SECRETKEYBYTES> secretKey{};
};

QByteArray feed(const QByteArray& items) {
  return "<?xml version=\"1.0\"?><rss version=\"2.0\" xmlns:halvard=\"https://example.com/appcast\"><channel>" + items +
         "</channel></rss>";
}

QStringList logged;
void keepLine(QtMsgType, const QMessageLogContext&, const QString& line) {
  logged << line;
}

struct Desk {
  explicit Desk(const QString& key) : publicKey(key) {}
  UpdaterServices services() { return {store, fetcher, workspace, alerts, clock}; }

  const QString publicKey;
  TestWebServer server;
  FakeDefaultsStore store;
  QtHttpFetcher fetcher{"Halvard/1.2"};
  FakeWorkspace workspace;
  FakeAlertPresenter alerts;
  FakeClock clock;
  Updater updater{services(), server.url(latin("/feed.xml")), publicKey, latin("Main"), latin("1.2")};
};

}  // namespace

class TestUpdater : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void initTestCase() { QVERIFY(sodium_init() >= 0); }

  void badFeedChangesNothingAndIsOneLineOfTheLog_data() {
    const Maker maker, other;
    QTest::addColumn<QString>("key");
    QTest::addColumn<QByteArray>("body");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("line");
    const auto row = [&](const char* name, const QByteArray& body, const char* line, Kind kind = Kind::Whole) {
      QTest::newRow(name) << maker.publicKeyText() << body << static_cast<int>(kind) << latin(line);
    };
    const QByteArray good = feed(maker.item("2.0"));
    row("truncated on the way", good, "", Kind::Truncated);
    row("truncated", good.left(good.size() - 12), "it is no whole XML document");
    row("empty", "", "it is no whole XML document");
    row("another document", "<html/>", "it has no channel");
    row("unsigned", feed(Maker::entry("2.0", "https://example.com/get", "")), "version 2.0 is not signed");
    row("wrongly signed", feed(other.item("2.0")), "version 2.0 is not signed with our key");
    row("signature of another version",
        feed(Maker::entry("3.0", "https://example.com/get",
                          maker.sign("halvard-update\n2.0\nhttps://example.com/get\n"))),
        "version 3.0 is not signed with our key");
    row("signature of another page",
        feed(
            Maker::entry("2.0", "https://evil.example/", maker.sign("halvard-update\n2.0\nhttps://example.com/get\n"))),
        "version 2.0 is not signed with our key");
    row("page without encryption", feed(maker.item("2.0", "http://example.com/get")), "nothing newer than 1.2");
    row("no version", feed(maker.item("two")), "nothing newer than 1.2");
    row("older", feed(maker.item("1.1.9")), "nothing newer than 1.2");
    row("the same", feed(maker.item("1.2")), "nothing newer than 1.2");
    row("huge", feed(maker.item("2.0") + QByteArray(1 << 20, ' ')), "");
    row("endless", QByteArray(65536, '<'), "", Kind::Endless);
  }
  void badFeedChangesNothingAndIsOneLineOfTheLog() {
    QFETCH(QString, key);
    QFETCH(QByteArray, body);
    QFETCH(int, kind);
    QFETCH(QString, line);
    Desk desk(key);
    desk.server.answer(latin("/feed.xml"), {.body = body, .kind = static_cast<Kind>(kind)});
    logged.clear();
    const QtMessageHandler former = qInstallMessageHandler(keepLine);
    desk.updater.setAutomaticallyChecksForUpdates(true);
    QSignalSpy checked(&desk.updater, &Updater::checked);
    desk.updater.resetUpdateCycle();
    const bool ended = checked.wait(20000);
    qInstallMessageHandler(former);
    QVERIFY(ended);
    QVERIFY2(logged.size() == 1, qPrintable(logged.join(QLatin1Char('|'))));
    QVERIFY2(logged[0].startsWith(latin("update feed: ") + line), qPrintable(logged[0]));
    QVERIFY(!logged[0].contains(QLatin1Char('\n')));
    QCOMPARE(desk.alerts.shown.size(), 0U);
    QCOMPARE(desk.workspace.opened.size(), 0);
    QCOMPARE(desk.store.keys(), QStringList{stored_keys::updaterLastCheckDate});
  }

  void newestSignedVersionIsOfferedAndItsPageOpens() {
    const Maker maker, other;
    Desk desk(maker.publicKeyText());
    desk.server.answer(latin("/feed.xml"),
                       {.body = feed(maker.item("1.9") + maker.item("1.10", "https://example.com/a?b=1") +
                                     other.item("3.0") + maker.item("1.0"))});
    QSignalSpy checked(&desk.updater, &Updater::checked);
    desk.alerts.answers = {{0, false}};
    desk.updater.checkForUpdates();
    QVERIFY(checked.wait(20000));
    QCOMPARE(desk.alerts.shown.size(), 1U);
    QCOMPARE(desk.alerts.shown[0].message, latin("Main 1.10 is available."));
    QCOMPARE(desk.workspace.opened, QList<QUrl>{QUrl(latin("https://example.com/a?b=1"))});
  }

  void checksOnceADayAndOffersOnceARun() {
    const Maker maker;
    Desk desk(maker.publicKeyText());
    desk.server.answer(latin("/feed.xml"), {.body = feed(maker.item("2.0"))});
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
    desk.updater.checkForUpdates();
    QTRY_COMPARE(desk.alerts.shown.size(), 2U);
    desk.server.answer(latin("/feed.xml"), {.body = feed({})});
    desk.updater.checkForUpdates();
    QTRY_COMPARE(desk.alerts.shown.size(), 3U);
    QCOMPARE(desk.alerts.shown.back().message, latin("Main is up to date."));
  }

  void offWithoutAFeedOrAKey() {
    const Maker maker;
    for (const QString& key : {QString(), latin("c2hvcnQ="), maker.publicKeyText() + latin("!")}) {
      Desk desk(key);
      QVERIFY(!desk.updater.isOn());
      desk.updater.setAutomaticallyChecksForUpdates(true);
      desk.updater.resetUpdateCycle();
      desk.updater.checkForUpdates();
      QCOMPARE(desk.clock.pendingCalls(), 0U);
      QCOMPARE(desk.store.writes(), 0);
    }
    Desk desk(maker.publicKeyText());
    QVERIFY(!Updater(desk.services(), {}, maker.publicKeyText(), latin("Main"), latin("1")).isOn());
  }
};

QTEST_GUILESS_MAIN(TestUpdater)
#include "test_updater.moc"
