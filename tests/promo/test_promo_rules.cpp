#include <QtTest>

#include "news_page.h"
#include "platform/fake/fake_mounted_volumes.h"
#include "preferences/stored_keys.h"
#include "promo/feed_document.h"
#include "promo/page_links.h"
#include "promo/promo_free_space_checker.h"
#include "promo/promo_xml.h"
#include "promo/showcase_schedule.h"
#include "promo_fixture.h"

using namespace halvard;
using namespace std::chrono_literals;
using Fixture = PromoFixture;

namespace {

QByteArray feed(const QByteArray& inner) {
  return "<r><news>" + inner + "</news></r>";
}

}  // namespace

class TestPromoRules : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void asShippedThePagesShowAndNothingIsFetched() {
    Fixture f;
    {
      const auto manager = f.manager();
      for (HTMLDownloader* downloader : {&manager->getNewsDowloader(), &manager->getShowcaseDownloader()}) {
        QVERIFY(QFile::exists(downloader->getHtmlURL().value_or(QUrl()).toString().mid(3)));
        QTRY_VERIFY(!downloader->isBusy());
      }
      QVERIFY2(manager->isHasFreshNews(), "the embedded ones too");
      manager->markNewsAsReaded();
      QVERIFY(!manager->isHasFreshNews());
    }
    QVERIFY(f.fetcher.requests().isEmpty());
    QVERIFY2(!f.store.keys().contains(stored_keys::newsPageNextUpdateDate), "the first feed is read when there is one");
    QVERIFY2(f.store.keys().contains(stored_keys::rateNextShowDate), "the rate dialog's rules know of the start");
    f.branding.feedFolder = QUrl(text("https://a.example/f/"));
    const auto manager = f.manager();
    QTRY_COMPARE(f.fetcher.requests().size(), 2);
    for (const char* name : {"tools.xml", "news2.xml"})
      QVERIFY(f.fetcher.requests().contains(f.branding.feedFolder.resolved(QUrl(text(name)))));
  }

  void aClickOnANotificationDoesWhatItSays() {
    Fixture f;
    const auto manager = f.manager();
    f.workspace.installed[text("org.a")] = text("/a");
    QSignalSpy mainWindow(manager.get(), &PromoManager::mainWindowRequested);
    const QVariantMap bundle{{promo_notifications::kNeedOpenBundle, text("org.a")}};
    QVariantMap link = bundle;
    link[promo_notifications::kNeedOpenLink] = text("https://a.example/");
    for (const QVariantMap& info : {{}, link, bundle})
      Q_EMIT f.userNotifications.activated(info, false);
    QCOMPARE(f.workspace.opened, QList<QUrl>{QUrl(text("https://a.example/"))});
    QVERIFY2(f.workspace.launched == QStringList(text("org.a")), "an address goes first");
    QCOMPARE(mainWindow.size(), 1);
  }

  void storeAndConcernAddressesAreTheMakers() {
    Fixture f;
    QVERIFY(!f.manager()->openPageInAppStore() && !f.manager()->createConcernEmail());
    f.giveAddresses();
    QVERIFY(f.manager()->openPageInAppStore() && f.manager()->createConcernEmail());
    QCOMPARE(f.workspace.opened.at(0), f.branding.storePage);
    QCOMPARE(f.workspace.opened.at(1).toEncoded(),
             QByteArray("mailto:help@a.example?Subject=Halvard%20Concern%20Report&body=%0D%0A%0D%0ASent%20from%3A%0D%0A"
                        "Halvard%20v4.2.1%0D%0AOS%20X%20Test%209%0D%0A"));
  }

  void localItemsFallBackToResourcesAndReplaceWhatIsInTheWay() {
    Fixture f;
    const auto manager = f.manager();
    const LocalItems& items = manager->localItems();
    const QString item = text("pages/news/news.html");
    const QString local = f.support.path(text("Halvard/") + item);
    QCOMPARE(items.getLocalPathOfItem(item, true), text(":/halvard/") + item);
    QCOMPARE(items.getLocalPathOfItem(item, false), local);
    QVERIFY(LocalItems::saveLocalyData("in the way", f.support.path("Halvard/pages/news")));
    QVERIFY(LocalItems::saveLocalyData("two", local));
    const QUrl url(text("https://a.example/x"));
    QCOMPARE(items.loadDataFromURL(url, item, f.fetcher).data, QByteArray("two"));
    f.fetcher.answer(url, "three");
    QCOMPARE(items.loadDataFromURL(url, item, f.fetcher).source, LoadSource::Address);
    QCOMPARE(items.loadDataFromURL({}, text("absent"), f.fetcher).source, LoadSource::Nothing);
  }

  void feedsAreReadAsFarAsTheyGo() {
    const QByteArray url = "<url>p.zip</url>";
    const QByteArray three = "<version>3</version>" + url;
    const QByteArray entity = "<!DOCTYPE r [<!ENTITY f SYSTEM 'file:///etc/passwd'>]>";
    const std::pair<QByteArray, const char*> feeds[] = {
        {feed(three + "<width>500</width><height>400</height>"), "3 500x400"},
        {feed(three + "<width>0</width><height>-4</height>"), "3 382x337"},
        {feed("<version>3b</version>" + url), "3 382x337"},
        {feed("<version>b</version>" + url), "0 382x337"},
        {feed("<version>99999999999999999999</version>" + url), "2147483647 382x337"},
        {entity + feed("<version>&f;</version>" + url), "0 382x337"},
        {feed(three + QByteArray("<a>").repeated(500'000) + QByteArray("</a>").repeated(500'000)), "3 382x337"},
        {feed("<version/>" + url), "nothing"},
        {feed("<version>3</version><url>file:///etc/passwd</url>"), "nothing"},
        {feed("<version>3</version><url>http://a.example/p.zip</url>"), "nothing"},
        {feed(three).chopped(4), "nothing"},
    };
    for (const auto& [bytes, announcement] : feeds) {
      const auto read = parseFeed(bytes, newsPage());
      QCOMPARE(read ? text("%1 %2x%3").arg(read->version).arg(read->width).arg(read->height) : text("nothing"),
               text(announcement));
      if (read) QCOMPARE(read->contentUrl.toString(), text("https://a.example/feeds/p.zip"));
    }
  }

  void theMaximumIndexMustReachTheProgramsOwn() {
    HTMLDownloaderInitData data = newsPage();
    data.currentAppIndex = 2;
    QVERIFY(!data.isDataPrepareForWork());
    data.xml_max_app_index_tag = text("max");
    for (const auto& [maximum, counts] : {std::pair("<max>2</max>", true), {"<max>1</max>", false}, {"", false}})
      QCOMPARE(parseFeed(feed(maximum + QByteArray("<version>3</version><url>p.zip</url>")), data).has_value(), counts);
  }

  void linksOfPages() {
    using A = PageLinkAction;
    const std::tuple<const char*, A, A> links[] = {
        {"file:///x/second.html", A::LoadInPlace, A::LoadInPlace},
        {"app://close/", A::Close, A::Ignore},
        {"app://StartUsingApp", A::Ignore, A::StartUsingApp},
        {"app://close/x", A::Ignore, A::Ignore},
        {"https://a.example/app://close", A::OpenOutside, A::OpenOutside},
    };
    for (const auto& [address, news, showcase] : links) {
      QCOMPARE(newsLinkAction(QUrl(text(address))), news);
      QCOMPARE(showcaseLinkAction(QUrl(text(address))), showcase);
    }
  }

  void theShowcaseShowsItselfOncePerVersionAndAtMostOnceAWeek() {
    Fixture f;
    // When a start is, of which version, how long it lasts, and whether it shows the page.
    const std::tuple<std::chrono::hours, std::int64_t, std::chrono::seconds, bool> starts[] = {
        {0h, 0, 0s, true},      {0h, 0, 400s, false}, {0h, 2, 400s, false},
        {168h, 2, 299s, false}, {0h, 2, 300s, true},  {500h, 2, 400s, false}};
    for (const auto& [after, version, length, shows] : starts) {
      f.clock.advance(after);
      if (version > 0) f.store.setObject(newsPage().prefs_version_key, {version});
      const auto manager = f.manager();
      bool shown = false;
      ShowcaseSchedule schedule(f.defaults, manager->getNewsDowloader(), f.clock, [&] { shown = true; });
      schedule.pleaseShowWindowIfNeedAutomaticallyWithDelay();
      f.clock.advance(length);
      QCOMPARE(shown, shows);
    }
  }

  void aDiskIsNearlyFullByItsShareOrByItsBytes() {
    Fixture f;
    FakeMountedVolumes volumes;
    const auto isFull = [&] {
      f.clock.advance(200h);
      return PromoFreeSpaceChecker(volumes, f.defaults, f.clock, 432000s).isNeedShowLackOfMemoryWarning();
    };
    volumes.add(text("/data"), {});
    const std::tuple<double, double, bool> disks[] = {
        {500e9, 9e9, true},     {500e9, 25e9, false}, {200e9, 10e9, false}, {64e9, 3e9, true}, {100e9, 9e9, false},
        {100e9 + 1, 9e9, true}, {20e9, 1e9, false},   {1e6, 0, true},       {0, 0, false},
    };
    for (const auto& [size, freeSize, full] : disks) {
      volumes.spaces[text("/data")] = {static_cast<ByteCount>(size), static_cast<ByteCount>(freeSize)};
      QVERIFY2(isFull() == full, qPrintable(QString::number(size)));
    }
    // Only those count that can be written and measured.
    const VolumeSpace full{64'000'000'000, 1};
    volumes.mounted->clear();
    volumes.add(text("/cdrom"), full, false);
    volumes.add(text("/m"), full, true, text("mtmfs"));
    volumes.add(text("/gone"), full);
    volumes.spaces.remove(text("/gone"));
    volumes.add(text("/"), full);
    volumes.startupDisk = text("50000000000");
    QVERIFY2(!isFull(), "of the start-up disk the text counts");
    volumes.startupDisk = text("plenty");
    QVERIFY2(isFull(), "a text that is no number is 0");
    volumes.startupDisk.reset();
    volumes.spaces[text("/")].freeSize = 50'000'000'000;
    QVERIFY2(!isFull(), "without a text the file system's own figure counts");
    volumes.mounted.reset();
    QVERIFY(!isFull());
  }
};

QTEST_GUILESS_MAIN(TestPromoRules)
#include "test_promo_rules.moc"
