#include <QSignalSpy>
#include <QtTest>

#include "news_page.h"
#include "platform/fake/fake_mounted_volumes.h"
#include "preferences/stored_keys.h"
#include "promo/feed_document.h"
#include "promo/free_space_warning.h"
#include "promo/page_links.h"
#include "promo/promo_xml.h"
#include "promo/showcase_schedule.h"
#include "promo_fixture.h"

using namespace halvard;
using namespace std::chrono_literals;
using Fixture = PromoFixture;

namespace {

HTMLDownloaderInitData page() {
  return newsPage(QUrl(QStringLiteral("https://a.example/feeds/f.xml")));
}

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
      QCOMPARE(manager->getNewsDowloader().getWindowSize(), QSizeF(382, 337));
      QCOMPARE(manager->getShowcaseDownloader().getWindowSize(), QSizeF(713, 356));
      QVERIFY2(manager->isHasFreshNews(), "the embedded ones too");
      manager->markNewsAsReaded();
      QVERIFY(!manager->isHasFreshNews());
    }
    QVERIFY(f.fetcher.requests().isEmpty());
    QVERIFY2(!f.store.keys().contains(stored_keys::newsPageNextUpdateDate), "the first feed is read when there is one");
    QVERIFY2(f.store.keys().contains(stored_keys::rateNextShowDate), "the rate dialog's rules know of the start");
    f.branding.feedFolder = QUrl(QStringLiteral("https://a.example/f/"));
    const auto manager = f.manager();
    QTRY_COMPARE(f.fetcher.requests().size(), 2);
    QVERIFY(f.fetcher.requests().contains(QUrl(QStringLiteral("https://a.example/f/tools.xml"))));
    QVERIFY(f.fetcher.requests().contains(QUrl(QStringLiteral("https://a.example/f/news2.xml"))));
  }

  void aClickOnANotificationDoesWhatItSays() {
    Fixture f;
    const auto manager = f.manager();
    f.workspace.installed[QStringLiteral("org.a")] = QStringLiteral("/a");
    QSignalSpy mainWindow(manager.get(), &PromoManager::mainWindowRequested);
    QSignalSpy diskUsage(manager.get(), &PromoManager::diskUsageRequested);
    const auto click = [&](const QVariantMap& info) { Q_EMIT f.userNotifications.activated(info, false); };
    click({});
    QCOMPARE(mainWindow.size(), 1);
    click({{promo_notifications::kNeedOpenLink, QStringLiteral("https://a.example/")},
           {promo_notifications::kNeedOpenBundle, QStringLiteral("org.a")}});
    QCOMPARE(f.workspace.opened, QList<QUrl>{QUrl(QStringLiteral("https://a.example/"))});
    QVERIFY2(f.workspace.launched.isEmpty(), "the address goes first");
    click({{promo_notifications::kNeedOpenBundle, QStringLiteral("org.a")}});
    QCOMPARE(f.workspace.launched, QStringList(QStringLiteral("org.a")));
    click({{promo_notifications::kNeedOpenDiskUsage, true}});
    QCOMPARE(diskUsage.size(), 1);
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
    const QString item = QStringLiteral("pages/news/news.html");
    const QString local = f.support.path() + QStringLiteral("/Halvard/") + item;
    QCOMPARE(items.getLocalPathOfItem(item, true), QStringLiteral(":/halvard/") + item);
    QCOMPARE(items.getLocalPathOfItem(item, false), local);
    QVERIFY(LocalItems::saveLocalyData("in the way", f.support.path() + QStringLiteral("/Halvard/pages/news")));
    QVERIFY(LocalItems::saveLocalyData("two", local));
    const QUrl url(QStringLiteral("https://a.example/x"));
    QCOMPARE(items.loadDataFromURL(url, item, f.fetcher).data, QByteArray("two"));
    f.fetcher.answer(url, "three");
    QCOMPARE(items.loadDataFromURL(url, item, f.fetcher).source, LoadSource::Address);
    QCOMPARE(items.loadDataFromURL({}, QStringLiteral("absent"), f.fetcher).source, LoadSource::Nothing);
  }

  void feedsAreReadAsFarAsTheyGo_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("version");  // -1: the feed does not count
    QTest::addColumn<QSize>("size");
    const auto row = [](const char* name, const QByteArray& bytes, int version, QSize size = {382, 337}) {
      QTest::newRow(name) << bytes << version << size;
    };
    const QByteArray url = "<url>p.zip</url>";
    const QByteArray three = "<version>3</version>" + url;
    row("whole", feed(three + "<width>500</width><height>400</height>"), 3, {500, 400});
    row("size of nothing", feed(three + "<width>0</width><height>-4</height>"), 3);
    row("number with a tail", feed("<version>3b</version>" + url), 3);
    row("no number", feed("<version>b</version>" + url), 0);
    row("beyond 32 bits", feed("<version>99999999999999999999</version>" + url), 2147483647);
    row("utf-16",
        QByteArray("\xff\xfe", 2) +
            QByteArray(reinterpret_cast<const char*>(QString::fromLatin1(feed(three)).utf16()), feed(three).size() * 2),
        3);
    row("wrong encoding", "<?xml version='1.0' encoding='utf-8'?>" + feed(three + "<x>\xff\xfe\x80</x>"), 3);
    row("entities", "<!DOCTYPE r [<!ENTITY a 'aaaa'><!ENTITY b '&a;&a;'>]>" + feed(three + "<x>&b;&b;</x>"), 3);
    row("outside entity",
        "<!DOCTYPE r [<!ENTITY f SYSTEM 'file:///etc/passwd'>]>" + feed("<version>&f;</version>" + url), 0);
    row("version without text", feed("<version/>" + url), -1);
    row("file address", feed("<version>3</version><url>file:///etc/passwd</url>"), -1);
    row("gives up encryption", feed("<version>3</version><url>http://a.example/p.zip</url>"), -1);
    row("cut off", feed(three).chopped(4), -1);
    row("no XML", "{\"version\": 3}", -1);
    row("nested deeply", "<r><news>" + QByteArray("<a>").repeated(3'000'000), -1);
    row("nested deeply and closed",
        feed(three + QByteArray("<a>").repeated(500'000) + QByteArray("</a>").repeated(500'000)), 3);
    row("10 MiB", feed(three + "<x>" + QByteArray(10 * 1024 * 1024, 'x') + "</x>"), 3);
  }

  void feedsAreReadAsFarAsTheyGo() {
    QFETCH(QByteArray, bytes);
    QFETCH(int, version);
    const auto announced = parseFeed(bytes, page());
    QCOMPARE(announced ? announced->version : -1, version);
    if (!announced) return;
    QCOMPARE(announced->contentUrl.toString(), QStringLiteral("https://a.example/feeds/p.zip"));
    QTEST(QSize(announced->width, announced->height), "size");
  }

  void theMaximumIndexMustReachTheProgramsOwn() {
    HTMLDownloaderInitData data = page();
    data.currentAppIndex = 2;
    QVERIFY(!data.isDataPrepareForWork());
    data.xml_max_app_index_tag = QStringLiteral("max");
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
      QCOMPARE(newsLinkAction(QUrl(QString::fromLatin1(address))), news);
      QCOMPARE(showcaseLinkAction(QUrl(QString::fromLatin1(address))), showcase);
    }
  }

  void theShowcaseShowsItselfOncePerVersionAndAtMostOnceAWeek() {
    Fixture f;
    HTMLDownloaderInitData data = page();
    data.xml_url = QUrl();
    int shown = 0;
    const auto shownAfterStart = [&](std::chrono::seconds wait) {
      HTMLDownloader downloader({f.defaults, f.fetcher, f.unpacker, f.notifications, std::nullopt}, data);
      ShowcaseSchedule schedule(f.defaults, downloader, f.clock, [&] { ++shown; });
      schedule.pleaseShowWindowIfNeedAutomaticallyWithDelay();
      f.clock.advance(wait);
      return std::exchange(shown, 0);
    };
    QCOMPARE(shownAfterStart(0s), 1);
    QVERIFY2(shownAfterStart(400s) == 0, "the second start of the week");
    f.store.setObject(data.prefs_version_key, {std::int64_t{2}});
    QVERIFY2(shownAfterStart(400s) == 0, "a new version within the week");
    f.clock.advance(168h);
    QCOMPARE(shownAfterStart(299s), 0);
    QCOMPARE(shownAfterStart(300s), 1);
    f.clock.advance(500h);
    QVERIFY2(shownAfterStart(400s) == 0, "the same version once more");
  }

  void aDiskIsNearlyFullByItsShareOrByItsBytes() {
    const std::tuple<double, double, bool> disks[] = {
        {500e9, 9e9, true},     {500e9, 25e9, false}, {200e9, 10e9, false}, {64e9, 3e9, true}, {100e9, 9e9, false},
        {100e9 + 1, 9e9, true}, {20e9, 1e9, false},   {1e6, 0, true},       {0, 0, false},
    };
    for (const auto& [size, freeSize, full] : disks) {
      Fixture f;
      FakeMountedVolumes volumes;
      volumes.add(QStringLiteral("/data"), {static_cast<ByteCount>(size), static_cast<ByteCount>(freeSize)});
      PromoFreeSpaceChecker checker(volumes, f.defaults, f.clock, 432000s);
      QVERIFY2(checker.isNeedShowLackOfMemoryWarning() == full, qPrintable(QString::number(size)));
    }
  }

  void onlyVolumesThatCanBeWrittenAndMeasuredCount() {
    Fixture f;
    FakeMountedVolumes volumes;
    const VolumeSpace full{64'000'000'000, 1};
    volumes.add(QStringLiteral("/cdrom"), full, false);
    volumes.add(QStringLiteral("/m"), full, true, QStringLiteral("mtmfs"));
    volumes.add(QStringLiteral("/gone"), full);
    volumes.spaces.remove(QStringLiteral("/gone"));
    volumes.add(QStringLiteral("/"), {64'000'000'000, 1});
    const auto check = [&] {
      f.clock.advance(200h);
      return PromoFreeSpaceChecker(volumes, f.defaults, f.clock, 432000s).isNeedShowLackOfMemoryWarning();
    };
    volumes.startupDisk = QStringLiteral("50000000000");
    QVERIFY2(!check(), "of the start-up disk the text counts");
    volumes.startupDisk = QStringLiteral("plenty");
    QVERIFY2(check(), "a text that is no number is 0");
    volumes.startupDisk.reset();
    volumes.spaces[QStringLiteral("/")] = {64'000'000'000, 50'000'000'000};
    QVERIFY2(!check(), "without a text the file system's own figure counts");
    volumes.mounted.reset();
    QVERIFY(!check());
  }

  void theWarningComesOnceAnIntervalInRotatingTexts() {
    Fixture f;
    FakeMountedVolumes volumes;
    volumes.add(QStringLiteral("/data"), {64'000'000'000, 1'500'000'000});
    const auto interval = [&f] {
      return PromoSettings::LoadHalvardData(f.branding, f.store).TIME_BETWEEN_REAL_DISK_CHECKS;
    };
    PromoFreeSpaceChecker checker(volumes, f.defaults, f.clock, interval());
    QCOMPARE(checker.getTimeToWaitBeforeShowLackOfMemoryWarning(), 0.0f);
    FreeSpaceWarning warning(checker, f.defaults, f.userNotifications, f.clock);
    warning.start();
    QCOMPARE(checker.getTimeToWaitBeforeShowLackOfMemoryWarning(), 432000.0f);
    f.clock.advance(432000s - 1s);
    QCOMPARE(f.userNotifications.delivered.size(), std::size_t{1});
    QVERIFY2(volumes.listings == 1, "no disk is looked at before its time");
    f.clock.advance(24h * 10 + 1s);
    QCOMPARE(f.userNotifications.delivered.size(), std::size_t{4});
    QSet<QString> texts;
    for (const UserNotification& notification : f.userNotifications.delivered) {
      texts << notification.informativeText;
      QVERIFY(notification.informativeText.contains(QLatin1String("1.5 GB")));
      QVERIFY(notification.informativeText.contains(QLatin1String("/data")));
      QVERIFY(notification.userInfo.value(promo_notifications::kNeedOpenDiskUsage).toBool());
    }
    QCOMPARE(texts.size(), FreeSpaceWarning::kTextCount);
    f.store.setObject(stored_keys::testTimeBetweenRealDiskChecks, {59.9});
    QCOMPARE(interval(), 59s);
  }
};

QTEST_GUILESS_MAIN(TestPromoRules)
#include "test_promo_rules.moc"
