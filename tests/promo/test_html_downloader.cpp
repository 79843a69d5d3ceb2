#include <QtTest>

#include "news_page.h"
#include "platform/linux/minizip/minizip_unpacker.h"
#include "promo/html_downloader.h"
#include "promo_fixture.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

/// Hangs at archives until it is told to stop.
struct HangingFetcher : FakeHttpFetcher {
  Result<QByteArray> fetch(const QUrl& url, const FetchLimits& limits, std::stop_token stop) override {
    Result<QByteArray> body = FakeHttpFetcher::fetch(url, limits, stop);
    if (url == kFeed) return body;
    while (!stop.stop_requested())
      QThread::msleep(1);
    return Error{text("stopped")};
  }
};

/// A user's machine and what the maker publishes.
struct Fixture : PromoFixture {
  MinizipUnpacker minizip;
  TestFolder resources;
  QObject observer;
  int changes = 0;
  HTMLDownloaderInitData data = newsPage();

  Fixture() {
    notifications.addObserver(kNewsChanged, &observer, [this](const QVariant&) { ++changes; });
    data.embedded_folder = resources.path();
    data.embedded_file_name = data.file_name_to_load;
    resources.write(data.embedded_file_name, "embedded");
  }

  void announce(int version) { publish(fetcher, version, "<width>500</width><height>400</height>"); }

  /// A start of the program, until it has nothing left to do.
  std::unique_ptr<HTMLDownloader> start() {
    auto downloader = std::make_unique<HTMLDownloader>(
        HTMLDownloaderServices{defaults, fetcher, minizip, notifications, support.path()}, data);
    if (!QTest::qWaitFor([&] { return !downloader->isBusy(); }, 20000)) qFatal("the downloader never ends");
    return downloader;
  }
  std::unique_ptr<HTMLDownloader> startWhenDue() {
    clock.advance(std::chrono::seconds(data.seconds_between_update));
    return start();
  }

  /// What lies in the folder of the pages, or below it.
  QString folders(const QString& below = {}) const {
    const QDir place(support.path("Halvard") + below);
    return place.entryList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name).join(u' ');
  }
};

}  // namespace

class TestHtmlDownloader : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void onlyANewerPageReplacesTheOlderAndTheFeedIsReadOnceAWeek() {
    struct Start {
      std::optional<int> announced;
      int announcedWidth;
      std::chrono::seconds wait;
      QByteArray page;
      int width;
      int requests;
    };
    const Start starts[] = {
        {{}, 0, 0s, "embedded", 382, 1},     {1, 500, 604799s, "embedded", 382, 1}, {0, 1, 1s, "embedded", 382, 2},
        {3, 500, 604800s, "page 3", 500, 4}, {3, 1, 604800s, "page 3", 500, 5},     {2, 1, 604800s, "page 3", 500, 6},
        {-1, 1, 604800s, "page 3", 500, 7},  {4, 0, 604800s, "page 4", 382, 9},
    };
    Fixture f;
    for (const Start& start : starts) {
      f.clock.advance(start.wait);
      const QByteArray width = QByteArray::number(start.announcedWidth);
      if (start.announced) publish(f.fetcher, *start.announced, "<width>" + width + "</width>");
      const auto downloader = f.start();
      QCOMPARE(shownBy(*downloader), start.page);
      QCOMPARE(downloader->getWindowSize(), QSizeF(start.width, 337));
      QCOMPARE(f.fetcher.requests().size(), start.requests);
      QVERIFY(!f.store.hasUnsavedChanges());
    }
    QCOMPARE(f.changes, 2);
    QCOMPARE(f.folders(), text("News2_v4"));
    QCOMPARE(f.folders(text("/News2_v4")), text("a.css img news.html"));
    f.data.embedded_version = 5;
    QVERIFY2(shownBy(*f.start()) == "embedded", "a newer one has come with the program");
  }

  void aLeftoverFolderIsAvoidedAndThenRemoved() {
    Fixture f;
    const QDir place(f.support.path("Halvard"));
    for (const char* name : {"News2_v2", "News2_v2_1", "News2_v1", "News2_v", "News2_vx", "Showcase_v2", "Documents"})
      place.mkpath(text(name));
    f.support.write("Halvard/News2_v2/news.html", "leftover");
    QVERIFY(QFile::link(f.resources.path(), place.filePath(text("News2_v7"))));
    f.announce(2);
    const auto downloader = f.start();
    QCOMPARE(downloader->getHtmlURL()->toLocalFile(), place.filePath(text("News2_v2_1/news.html")));
    QCOMPARE(shownBy(*downloader), QByteArray("page 2"));
    QCOMPARE(f.folders(), text("Documents News2_v News2_v2_1 News2_v7 News2_vx Showcase_v2"));
    QVERIFY2(QFile::exists(f.resources.path("news.html")), "links are not followed");
  }

  void theInstalledPageSurvivesEveryFailure() {
    const std::tuple<const char*, QUrl, QByteArray> failures[] = {
        {"no feed", kFeed, "<html><body>Log in to this network</body></html>"},
        {"no such archive", kFeed, newsFeed(5)},
        {"no archive", newsArchive(4), "<html><body>Log in to this network</body></html>"},
        {"hostile archive", newsArchive(4), zipArchive({{"news.html", "x"}, {"../../evil", "x"}})},
        {"page is a folder", newsArchive(4), zipArchive({{"news.html/x", "x"}})},
        {"the archive's own name", newsArchive(4), zipArchive({{"tmp_download_v4", "x"}, {"news.html", "x"}})},
    };
    for (const auto& [name, url, body] : failures) {
      Fixture f;
      f.announce(3);
      (void)f.start();
      f.announce(4);
      f.fetcher.answer(url, body);
      (void)f.startWhenDue();
      const auto requests = f.fetcher.requests().size();
      const auto again = f.start();
      QVERIFY2(f.fetcher.requests().size() == requests, "not tried again before its time");
      QVERIFY2(shownBy(*again) == "page 3" && again->getVersion() == 3, name);
      QCOMPARE(again->getWindowSize(), QSizeF(500, 400));
      QCOMPARE(f.folders(), text("News2_v3"));
      QCOMPARE(f.changes, 1);
    }
  }

  void whatTheMakersToolPublishesIsTakenOver() {
    if (QStandardPaths::findExecutable(text("python3")).isEmpty()) QSKIP("needs python3");
    Fixture f;
    const QTemporaryDir feeds;
    const QStringList arguments = words("news 1 " PUBLISHING "/example/news") + QStringList{feeds.path()};
    QCOMPARE(QProcess::execute(text(PUBLISHING "/publish"), arguments + words("420 360")), 0);
    for (const QFileInfo& file : QDir(feeds.path()).entryInfoList(QDir::Files)) {
      QFile content(file.filePath());
      QVERIFY(content.open(QIODevice::ReadOnly));
      f.fetcher.answer(kFeed.resolved(QUrl(file.fileName())), content.readAll());
    }
    const auto downloader = f.start();
    QVERIFY(shownBy(*downloader).contains("An example of news"));
    QCOMPARE(downloader->getWindowSize(), QSizeF(420, 360));
  }

  void aDeletedPageFallsBackToTheEmbeddedOne() {
    for (const bool withItsFolder : {false, true}) {
      Fixture f;
      f.announce(3);
      const QFileInfo page(f.start()->getHtmlURL()->toLocalFile());
      QVERIFY(withItsFolder ? page.dir().removeRecursively() : QFile::remove(page.filePath()));
      QCOMPARE(shownBy(*f.start()), QByteArray("embedded"));
      QCOMPARE(f.fetcher.requests().size(), 2);
      QCOMPARE(f.startWhenDue()->getVersion(), 3);
      QVERIFY2(f.fetcher.requests().size() == 3, "the feed alone: its version is not newer");
      QVERIFY(QFile::remove(f.resources.path("news.html")));
      QVERIFY2(shownBy(*f.start()) == "page 3", "without any page the feed is read at once, and its version taken");
      QCOMPARE(f.folders(), withItsFolder ? text("News2_v3") : text("News2_v3_1"));
    }
  }

  void withDataThatAreNotReadyNothingIsAskedFor() {
    Fixture f;
    f.announce(3);
    f.data.xml_url.reset();
    QVERIFY(!f.start()->getHtmlURL());
    QVERIFY(f.fetcher.requests().isEmpty() && f.store.keys().isEmpty());
  }

  void aDownloaderGoesAtOnceWhateverTheServerDoes() {
    Fixture f;
    HangingFetcher hanging;
    hanging.answer(kFeed, newsFeed(3));
    QElapsedTimer timer;
    {
      HTMLDownloader downloader({f.defaults, hanging, f.minizip, f.notifications, f.support.path()}, f.data);
      QTRY_COMPARE(hanging.requests().size(), 2);
      timer.start();
    }
    QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
    QVERIFY(f.folders().isEmpty());
  }
};

QTEST_GUILESS_MAIN(TestHtmlDownloader)
#include "test_html_downloader.moc"
