#include <QTemporaryDir>
#include <QtTest>

#include "core/notification_center.h"
#include "news_page.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/linux/minizip/minizip_unpacker.h"
#include "platform/linux/network/qt_http_fetcher.h"
#include "promo/html_downloader.h"
#include "support/test_web_server.h"
#include "support/zip_builder.h"

using namespace halvard;
using namespace std::chrono_literals;
using Kind = TestWebServer::Answer::Kind;

namespace {

/// The real fetcher, with less patience.
class HastyFetcher : public HttpFetcher {
 public:
  Result<QByteArray> fetch(const QUrl& url, const FetchLimits& limits, std::stop_token stop) override {
    FetchLimits hasty = limits;
    hasty.silence = patience;
    hasty.totalTime = 2 * patience;
    return m_fetcher.fetch(url, hasty, stop);
  }
  std::chrono::milliseconds patience = 1s;

 private:
  QtHttpFetcher m_fetcher{"Test"};
};

/// A user's machine and the maker's server.
struct Fixture {
  TestWebServer server;
  QTemporaryDir support;
  QTemporaryDir resources;
  FakeDefaultsStore store;
  FakeClock clock;
  ShowcaseDefaults defaults{store, clock, QStringLiteral("1.0")};
  HastyFetcher fetcher;
  MinizipUnpacker unpacker;
  NotificationCenter notifications;
  QObject observer;
  int changes = 0;
  HTMLDownloaderInitData data;

  Fixture() {
    notifications.addObserver(kNewsChanged, &observer, [this](const QVariant&) { ++changes; });
    data = newsPage(server.url(QStringLiteral("/news2.xml")));
    data.embedded_folder = resources.path();
    data.embedded_file_name = data.file_name_to_load;
    writeFile(resources.filePath(data.embedded_file_name), "embedded");
  }

  void announce(int version, const QByteArray& size = "<width>500</width><height>400</height>") {
    const QByteArray number = QByteArray::number(version);
    server.answer(
        QStringLiteral("/news2.xml"),
        {.body = "<feed><news><version>" + number + "</version><url>" +
                 server.url(QStringLiteral("/v%1.zip").arg(version)).toEncoded() + "</url>" + size + "</news></feed>"});
    server.answer(QStringLiteral("/v%1.zip").arg(version),
                  {.body = zipArchive({{"news.html", "page " + number}, {"img/a.png", "image"}})});
  }

  /// A start of the program, until it has nothing left to do.
  std::unique_ptr<HTMLDownloader> start() {
    auto downloader = std::make_unique<HTMLDownloader>(
        HTMLDownloaderServices{defaults, fetcher, unpacker, notifications, support.path()}, data);
    if (!QTest::qWaitFor([&] { return !downloader->isBusy(); }, 20000)) qFatal("the downloader never ends");
    return downloader;
  }
  std::unique_ptr<HTMLDownloader> startWhenDue() {
    clock.advance(std::chrono::seconds(data.seconds_between_update));
    return start();
  }

  QStringList folders() const {
    return QDir(support.filePath(QStringLiteral("Halvard"))).entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
  }
  static QByteArray shown(const HTMLDownloader& downloader) {
    QFile file(downloader.getHtmlURL().value_or(QUrl()).toLocalFile());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
  }
  /// Everything stored but the date of the next update.
  std::map<QString, StoredValue> state() const {
    std::map<QString, StoredValue> values;
    for (const QString& key : store.keys())
      values[key] = *store.objectForKey(key);
    values.erase(data.prefs_next_update_date_key);
    return values;
  }
};

}  // namespace

class TestHtmlDownloader : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void aFirstStartWithoutNetworkShowsTheEmbeddedPageAndAsksAgainInAWeek() {
    Fixture f;
    f.data.xml_url = QUrl(QStringLiteral("http://127.0.0.1:1/news2.xml"));
    const auto first = f.start();
    QCOMPARE(Fixture::shown(*first), QByteArray("embedded"));
    QCOMPARE(first->getVersion(), 0);
    QCOMPARE(first->getWindowSize(), QSizeF(382, 337));
    QCOMPARE(f.changes, 0);
    f.data.xml_url = f.server.url(QStringLiteral("/news2.xml"));
    f.announce(1);
    f.clock.advance(604799s);
    QCOMPARE(f.start()->getVersion(), 0);
    QVERIFY(f.server.requests().isEmpty());
    f.clock.advance(1s);
    QCOMPARE(f.start()->getVersion(), 1);
  }

  void aNewerPageIsInstalledAndReplacesTheOlder() {
    Fixture f;
    f.announce(3);
    const auto downloader = f.start();
    QCOMPARE(Fixture::shown(*downloader), QByteArray("page 3"));
    QCOMPARE(downloader->getVersion(), 3);
    QCOMPARE(downloader->getWindowSize(), QSizeF(500, 400));
    QCOMPARE(f.changes, 1);
    QCOMPARE(f.folders(), QStringList(QStringLiteral("News2_v3")));
    QCOMPARE(
        QDir(f.support.filePath(QStringLiteral("Halvard/News2_v3"))).entryList(QDir::NoDotAndDotDot | QDir::AllEntries),
        QStringList({QStringLiteral("img"), QStringLiteral("news.html")}));
    QVERIFY(!f.store.hasUnsavedChanges());

    f.announce(4, "");
    QCOMPARE(Fixture::shown(*f.startWhenDue()), QByteArray("page 4"));
    QCOMPARE(f.folders(), QStringList(QStringLiteral("News2_v4")));
    QCOMPARE(f.start()->getWindowSize(), QSizeF(382, 337));
  }

  void aVersionThatIsNotNewerChangesNothing() {
    Fixture f;
    f.announce(0);
    (void)f.start();
    f.announce(3);
    (void)f.startWhenDue();
    for (const int version : {3, 2, -1}) {
      f.announce(version, "<width>1</width><height>1</height>");
      QCOMPARE(f.startWhenDue()->getWindowSize(), QSizeF(500, 400));
    }
    const QString feed = QStringLiteral("/news2.xml");
    QCOMPARE(f.server.requests(), QStringList({feed, feed, QStringLiteral("/v3.zip"), feed, feed, feed}));
    QCOMPARE(f.changes, 1);
  }

  void aLeftoverFolderIsAvoidedAndThenRemoved() {
    Fixture f;
    const QDir place(f.support.filePath(QStringLiteral("Halvard")));
    for (const char* name : {"News2_v2", "News2_v2_1", "News2_v1", "News2_v", "News2_vx", "Showcase_v2", "Documents"}) {
      place.mkpath(QString::fromLatin1(name));
    }
    QVERIFY(writeFile(place.filePath(QStringLiteral("News2_v2/news.html")), "leftover"));
    QVERIFY(QFile::link(f.resources.path(), place.filePath(QStringLiteral("News2_v7"))));
    f.announce(2);
    const auto downloader = f.start();
    QCOMPARE(downloader->getHtmlURL()->toLocalFile(), place.filePath(QStringLiteral("News2_v2_1/news.html")));
    QCOMPARE(Fixture::shown(*downloader), QByteArray("page 2"));
    QStringList left = f.folders();
    left.sort();
    QCOMPARE(left,
             QStringList({QStringLiteral("Documents"), QStringLiteral("News2_v"), QStringLiteral("News2_v2_1"),
                          QStringLiteral("News2_v7"), QStringLiteral("News2_vx"), QStringLiteral("Showcase_v2")}));
    QVERIFY2(QFile::exists(f.resources.filePath(QStringLiteral("news.html"))), "links are not followed");
  }

  void theInstalledPageSurvivesEveryFailure_data() {
    QTest::addColumn<QString>("path");
    QTest::addColumn<TestWebServer::Answer>("answer");
    const auto redirect = [](const QByteArray& target) {
      return TestWebServer::Answer{.body = {}, .status = "302 Found", .headers = "Location: " + target + "\r\n"};
    };
    const QString archive = QStringLiteral("/v4.zip");
    for (const QString& path : {QStringLiteral("/news2.xml"), archive}) {
      const auto row = [&](const char* name, const TestWebServer::Answer& answer) {
        QTest::addRow("%s: %s", qPrintable(path), name) << path << answer;
      };
      row("missing", {.body = "<html>404</html>", .status = "404 Not Found"});
      row("truncated", {.body = QByteArray(5000, '<'), .kind = Kind::Truncated});
      row("endless", {.body = QByteArray(1 << 20, '<'), .kind = Kind::Endless});
      row("silent", {.body = {}, .kind = Kind::Silent});
      row("slow", {.body = QByteArray(5000, '<'), .kind = Kind::Trickle});
      row("something else", {.body = "<html><body>Log in to this network</body></html>"});
      row("redirect loop", redirect(path.toUtf8()));
      row("redirect to file", redirect("file:///etc/passwd"));
      row("redirect to ftp", redirect("ftp://127.0.0.1/x"));
    }
    const auto zip = [&](const char* name, const QByteArray& body) {
      QTest::newRow(name) << archive << TestWebServer::Answer{.body = body};
    };
    zip("climbs out", zipArchive({{"news.html", "x"}, {"../../evil", "x"}}));
    zip("link", zipArchive({{"news.html", "/etc/passwd", 0120777}}));
    zip("page is a folder", zipArchive({{"news.html/x", "x"}}));
    zip("bomb", zipArchive({{"news.html", "x"}, {"b", QByteArray(65 << 20, '\0')}}));
    zip("takes the archive's own name", zipArchive({{"tmp_download_v4", "x"}, {"news.html", "x"}}));
  }

  void theInstalledPageSurvivesEveryFailure() {
    QFETCH(QString, path);
    QFETCH(TestWebServer::Answer, answer);
    Fixture f;
    f.announce(3);
    (void)f.start();
    f.announce(4);
    const auto state = f.state();
    f.server.answer(path, answer);
    QCOMPARE(Fixture::shown(*f.startWhenDue()), QByteArray("page 3"));
    QCOMPARE(f.state(), state);
    QCOMPARE(f.changes, 1);
    QCOMPARE(f.folders(), QStringList(QStringLiteral("News2_v3")));
    QCOMPARE(QDir(f.support.path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot).size(), 1);
    const auto requests = f.server.requests().size();
    (void)f.start();
    QVERIFY2(f.server.requests().size() == requests, "not tried again before its time");
  }

  void aDeletedPageFallsBackToTheEmbeddedOne() {
    Fixture f;
    f.announce(3);
    QVERIFY(QFile::remove(f.start()->getHtmlURL()->toLocalFile()));
    QCOMPARE(Fixture::shown(*f.start()), QByteArray("embedded"));
    QCOMPARE(f.server.requests().size(), 2);
    QCOMPARE(f.startWhenDue()->getVersion(), 3);
    QVERIFY2(f.server.requests().size() == 3, "the feed alone: its version is not newer");
    QVERIFY(QFile::remove(f.resources.filePath(QStringLiteral("news.html"))));
    QVERIFY2(Fixture::shown(*f.start()) == "page 3",
             "without any page the feed is read at once, and its version taken");
    QCOMPARE(f.folders().size(), 1);
  }

  void withoutAFeedOrReadyDataNothingIsAskedFor() {
    Fixture f;
    f.announce(3);
    f.data.xml_url = QUrl();
    QCOMPARE(Fixture::shown(*f.start()), QByteArray("embedded"));
    f.data.xml_url.reset();
    QVERIFY(!f.start()->getHtmlURL());
    QVERIFY(f.server.requests().isEmpty() && f.store.keys().isEmpty());
  }

  void aDownloaderGoesAtOnceWhateverTheServerDoes() {
    Fixture f;
    f.fetcher.patience = 100s;
    f.announce(3);
    f.server.answer(QStringLiteral("/v3.zip"), {.body = {}, .kind = Kind::Silent});
    QElapsedTimer timer;
    {
      HTMLDownloader downloader({f.defaults, f.fetcher, f.unpacker, f.notifications, f.support.path()}, f.data);
      QTRY_COMPARE(f.server.requests().size(), 2);
      timer.start();
    }
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(f.folders().isEmpty());
  }
};

QTEST_GUILESS_MAIN(TestHtmlDownloader)
#include "test_html_downloader.moc"
