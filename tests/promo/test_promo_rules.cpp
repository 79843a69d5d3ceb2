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
  void versionTexts() {
    ApplicationFacts facts{.name = QStringLiteral("N"),
                           .displayName = {},
                           .version = QStringLiteral("4.2.1"),
                           .buildVersion = QStringLiteral("77"),
                           .systemVersion = {}};
    QCOMPARE(facts.getAppDisplayName(), QStringLiteral("N"));
    QCOMPARE(facts.getAppReleaseVersionWithBuildNumber(), QStringLiteral("4.2.1 (77)"));
    QCOMPARE(facts.buildAppVersionWith1Number(), QStringLiteral("4"));
    QCOMPARE(facts.buildAppVersionWithNumbersCount(9), QStringLiteral("4.2.1"));
    facts.buildVersion = facts.version;
    QCOMPARE(facts.getAppReleaseVersionWithBuildNumber(), QStringLiteral("4.2.1"));
    facts.buildVersion.clear();
    QCOMPARE(facts.getAppReleaseVersionWithBuildNumber(), QStringLiteral("4.2.1"));
  }

  void settingsComeFromTheMakerAndFromTestOverrides() {
    FakeDefaultsStore store;
    Branding branding;
    const auto quiet = PromoSettings::LoadHalvardData(branding, store);
    QVERIFY(quiet.getNewsXMLWebURL().isEmpty() && quiet.getShowcaseXMLWebURL().isEmpty());
    QCOMPARE(quiet.TIME_BETWEEN_REAL_DISK_CHECKS, 432000s);
    branding.feedFolder = QUrl(QStringLiteral("https://a.example/feeds/"));
    store.setObject(stored_keys::testTimeBetweenRealDiskChecks, {59.9});
    store.setObject(stored_keys::testShowCalculationLog, {true});
    const auto loud = PromoSettings::LoadHalvardData(branding, store);
    QCOMPARE(loud.getShowcaseXMLWebURL().toString(), QStringLiteral("https://a.example/feeds/tools.xml"));
    QCOMPARE(loud.getNewsXMLWebURL().toString(), QStringLiteral("https://a.example/feeds/news2.xml"));
    QCOMPARE(loud.getAdvertisimentXMLWebURL().toString(), QStringLiteral("https://a.example/feeds/messages.xml"));
    QCOMPARE(loud.TIME_BETWEEN_REAL_DISK_CHECKS, 59s);
    QVERIFY(loud.IS_NEED_SHOW_CALCULATION_LOG && !quiet.IS_NEED_SHOW_CALCULATION_LOG);
    store.setObject(stored_keys::testTimeBetweenRealDiskChecks, {QStringLiteral("59")});
    QCOMPARE(PromoSettings::LoadHalvardData(branding, store).TIME_BETWEEN_REAL_DISK_CHECKS, 432000s);
  }

  void anyMissingFieldMakesAPageInert() {
    QVERIFY(page().isDataPrepareForWork());
    const std::vector<std::function<void(HTMLDownloaderInitData&)>> faults{
        [](auto& d) { d.prefs_version_key.clear(); },
        [](auto& d) { d.xml_url.reset(); },
        [](auto& d) { d.xml_root_tag.clear(); },
        [](auto& d) { d.xml_window_height_tag.clear(); },
        [](auto& d) { d.file_name_to_load.clear(); },
        [](auto& d) { d.subfolder_name_in_application_support.clear(); },
        [](auto& d) { d.html_folder_prefix.clear(); },
        [](auto& d) { d.seconds_between_update = 0; },
        [](auto& d) { d.currentAppIndex = 0; },
        [](auto& d) {
          d.embedded_file_name = QStringLiteral("x");
          d.embedded_width = 0;
        }};
    for (const auto& fault : faults) {
      HTMLDownloaderInitData data = page();
      fault(data);
      QVERIFY(!data.isDataPrepareForWork());
    }
  }

  void feedsAreReadAsFarAsTheyGo_data() {
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<int>("version");  // -1: the feed does not count
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    const auto row = [](const char* name, const QByteArray& bytes, int version, int width = 382, int height = 337) {
      QTest::newRow(name) << bytes << version << width << height;
    };
    const QByteArray url = "<url>p.zip</url>";
    const QByteArray three = "<version>3</version>" + url;
    row("whole", feed(three + "<width>500</width><height>400</height>"), 3, 500, 400);
    row("no size", feed(three), 3);
    row("size of nothing", feed(three + "<width>0</width><height>-4</height>"), 3);
    row("blanks", feed("<version> 3 </version><url>\n p.zip \n</url>"), 3);
    row("number with a tail", feed("<version>3b</version>" + url), 3);
    row("no number", feed("<version>b</version>" + url), 0);
    row("beyond 32 bits", feed("<version>99999999999999999999</version>" + url), 2147483647);
    row("character data", feed("<version><![CDATA[3]]></version>" + url), 3);
    row("utf-16",
        QByteArray("\xff\xfe", 2) +
            QByteArray(reinterpret_cast<const char*>(QString::fromLatin1(feed(three)).utf16()), feed(three).size() * 2),
        3);
    row("wrong encoding", "<?xml version='1.0' encoding='utf-8'?>" + feed(three + "<x>\xff\xfe\x80</x>"), 3);
    row("unknown encoding", "<?xml version='1.0' encoding='klingon'?>" + feed(three), 3);
    row("entities", "<!DOCTYPE r [<!ENTITY a 'aaaa'><!ENTITY b '&a;&a;'>]>" + feed(three + "<x>&b;&b;</x>"), 3);
    row("outside entity",
        "<!DOCTYPE r [<!ENTITY f SYSTEM 'file:///etc/passwd'>]>" + feed("<version>&f;</version>" + url), 0);
    row("no version", feed(url), -1);
    row("version without text", feed("<version/>" + url), -1);
    row("no address", feed("<version>3</version>"), -1);
    row("file address", feed("<version>3</version><url>file:///etc/passwd</url>"), -1);
    row("gives up encryption", feed("<version>3</version><url>http://a.example/p.zip</url>"), -1);
    row("other root", "<r><other>" + three + "</other></r>", -1);
    row("root at the top", "<news>" + three + "</news>", -1);
    row("cut off", feed(three).chopped(4), -1);
    row("empty", {}, -1);
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
    QCOMPARE(announced.has_value(), version >= 0);
    if (!announced) return;
    QCOMPARE(announced->version, version);
    QCOMPARE(announced->contentUrl.toString(), QStringLiteral("https://a.example/feeds/p.zip"));
    QTEST(announced->width, "width");
    QTEST(announced->height, "height");
  }

  void theMaximumIndexMustReachTheProgramsOwn() {
    HTMLDownloaderInitData data = page();
    data.currentAppIndex = 2;
    data.xml_max_app_index_tag = QStringLiteral("max");
    const QByteArray rest = "<version>3</version><url>p.zip</url>";
    QVERIFY(parseFeed(feed("<max>2</max>" + rest), data));
    QVERIFY(!parseFeed(feed("<max>1</max>" + rest), data));
    QVERIFY(!parseFeed(feed("<max>-3</max>" + rest), data));
    QVERIFY(!parseFeed(feed(rest), data));
  }

  void linksOfPages_data() {
    QTest::addColumn<QString>("address");
    QTest::addColumn<PageLinkAction>("news");
    QTest::addColumn<PageLinkAction>("showcase");
    using A = PageLinkAction;
    const auto row = [](const char* address, A news, A showcase) {
      QTest::newRow(address) << QString::fromLatin1(address) << news << showcase;
    };
    row("file:///x/second.html", A::LoadInPlace, A::LoadInPlace);
    row("qrc:/x/second.html", A::LoadInPlace, A::LoadInPlace);
    row("app://close", A::Close, A::Ignore);
    row("app://close/", A::Close, A::Ignore);
    row("app://StartUsingApp", A::Ignore, A::StartUsingApp);
    row("app://close/x", A::Ignore, A::Ignore);
    row("app://other", A::Ignore, A::Ignore);
    row("https://a.example/app://close", A::OpenOutside, A::OpenOutside);
    row("mailto:a@a.example", A::OpenOutside, A::OpenOutside);
  }

  void linksOfPages() {
    QFETCH(QString, address);
    QTEST(newsLinkAction(QUrl(address)), "news");
    QTEST(showcaseLinkAction(QUrl(address)), "showcase");
  }

  void theShowcaseShowsItselfOncePerVersionAndAtMostOnceAWeek() {
    Fixture f;
    HTMLDownloaderInitData data = page();
    data.xml_url = QUrl();
    int shown = 0;
    const auto start = [&](std::chrono::seconds wait) {
      HTMLDownloader downloader({f.defaults, f.fetcher, f.unpacker, f.notifications, std::nullopt}, data);
      ShowcaseSchedule schedule(f.defaults, downloader, f.clock, [&] { ++shown; });
      schedule.pleaseShowWindowIfNeedAutomaticallyWithDelay();
      f.clock.advance(wait);
    };
    start(0s);
    QCOMPARE(shown, 1);
    start(400s);
    QVERIFY2(shown == 1, "the second start of the week");
    f.store.setObject(data.prefs_version_key, {std::int64_t{2}});
    start(400s);
    QVERIFY2(shown == 1, "a new version within the week");
    f.clock.advance(168h);
    start(299s);
    QVERIFY2(shown == 1, "not before 300 seconds have passed");
    start(300s);
    QCOMPARE(shown, 2);
    f.clock.advance(500h);
    start(400s);
    QVERIFY2(shown == 2, "the same version once more");
  }

  void aDiskIsNearlyFullByItsShareOrByItsBytes() {
    struct Disk {
      double size;
      double freeSize;
      bool full;
    };
    for (const Disk& disk : {Disk{500e9, 9e9, true},
                             {500e9, 25e9, false},
                             {200e9, 10e9, false},
                             {64e9, 3e9, true},
                             {64e9, 4e9, false},
                             {100e9, 9e9, false},
                             {100e9 + 1, 9e9, true},
                             {20e9, 1e9, false},
                             {1e6, 0, true},
                             {0, 0, false}}) {
      Fixture f;
      FakeMountedVolumes volumes;
      volumes.add(QStringLiteral("/data"), {static_cast<ByteCount>(disk.size), static_cast<ByteCount>(disk.freeSize)});
      PromoFreeSpaceChecker checker(volumes, f.defaults, f.clock, 432000s);
      QVERIFY2(checker.isNeedShowLackOfMemoryWarning() == disk.full, qPrintable(QString::number(disk.size)));
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
      PromoFreeSpaceChecker checker(volumes, f.defaults, f.clock, 432000s);
      return checker.isNeedShowLackOfMemoryWarning();
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

  void theDisksAreMeasuredOncePerInterval() {
    Fixture f;
    FakeMountedVolumes volumes;
    volumes.add(QStringLiteral("/data"), {64'000'000'000, 50'000'000'000});
    PromoFreeSpaceChecker checker(volumes, f.defaults, f.clock, 432000s);
    QCOMPARE(checker.getTimeToWaitBeforeShowLackOfMemoryWarning(), 0.0f);
    QVERIFY(!checker.isNeedShowLackOfMemoryWarning());
    QCOMPARE(checker.getTimeToWaitBeforeShowLackOfMemoryWarning(), 432000.0f);
    volumes.spaces[QStringLiteral("/data")].freeSize = 1;
    f.clock.advance(431999s);
    QVERIFY(!checker.isNeedShowLackOfMemoryWarning());
    QCOMPARE(volumes.listings, 1);
    f.clock.advance(1s);
    QVERIFY(checker.isNeedShowLackOfMemoryWarning());
    QCOMPARE(checker.fullVolume()->path, QStringLiteral("/data"));
    f.clock.advance(432007s);
    QCOMPARE(checker.getTimeToWaitBeforeShowLackOfMemoryWarning(), -7.0f);
  }

  void theWarningComesOnceAnIntervalInRotatingTexts() {
    Fixture f;
    FakeMountedVolumes volumes;
    volumes.add(QStringLiteral("/data"), {64'000'000'000, 1'500'000'000});
    PromoFreeSpaceChecker checker(volumes, f.defaults, f.clock, 432000s);
    FreeSpaceWarning warning(checker, f.defaults, f.userNotifications, f.clock);
    warning.start();
    f.clock.advance(24h * 15);
    QCOMPARE(f.userNotifications.delivered.size(), std::size_t{4});
    QSet<QString> texts;
    for (const UserNotification& notification : f.userNotifications.delivered) {
      texts << notification.informativeText;
      QVERIFY(notification.informativeText.contains(QLatin1String("1.5 GB")));
      QVERIFY(notification.informativeText.contains(QLatin1String("/data")));
      QVERIFY(notification.userInfo.value(promo_notifications::kNeedOpenDiskUsage).toBool());
    }
    QCOMPARE(texts.size(), FreeSpaceWarning::kTextCount);
  }
};

QTEST_GUILESS_MAIN(TestPromoRules)
#include "test_promo_rules.moc"
