#include <QSignalSpy>
#include <QtTest>

#include "preferences/stored_keys.h"
#include "promo/promo_xml.h"
#include "promo_fixture.h"

using namespace halvard;
using Fixture = PromoFixture;

class TestPromoManager : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void asShippedThePagesShowAndNothingIsFetched() {
    Fixture f;
    {
      const auto manager = f.manager();
      QCOMPARE(manager->getNewsDowloader().getWindowSize(), QSizeF(382, 337));
      QCOMPARE(manager->getShowcaseDownloader().getWindowSize(), QSizeF(713, 356));
      for (HTMLDownloader* downloader : {&manager->getNewsDowloader(), &manager->getShowcaseDownloader()}) {
        QVERIFY(downloader->getHtmlURL());
        const QString path = downloader->getHtmlURL()->toString().mid(3);
        QVERIFY2(QFile::exists(path), qPrintable(path));
        QTRY_VERIFY(!downloader->isBusy());
      }
    }
    QVERIFY(f.fetcher.requests().isEmpty());
    QVERIFY2(!f.store.keys().contains(stored_keys::newsPageNextUpdateDate), "the first feed is read when there is one");
    QVERIFY2(f.store.keys().contains(stored_keys::rateNextShowDate), "the rate dialog's rules know of the start");
  }

  void bothFeedsAreReadAtTheFirstStart() {
    Fixture f;
    f.branding.feedFolder = QUrl(QStringLiteral("https://a.example/f/"));
    const auto manager = f.manager();
    QTRY_COMPARE(f.fetcher.requests().size(), 2);
    QVERIFY(f.fetcher.requests().contains(QUrl(QStringLiteral("https://a.example/f/tools.xml"))));
    QVERIFY(f.fetcher.requests().contains(QUrl(QStringLiteral("https://a.example/f/news2.xml"))));
  }

  void newsAreFreshUntilRead() {
    Fixture f;
    const auto manager = f.manager();
    QVERIFY2(manager->isHasFreshNews(), "the embedded ones too");
    manager->markNewsAsReaded();
    QVERIFY(!manager->isHasFreshNews());
    QVERIFY(!manager->isReviewMode() && manager->isCanShowAds());
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
    click({{QStringLiteral("other"), 1}});
    QCOMPARE(mainWindow.size(), 1);
    QVERIFY(!manager->userNotificationCenterShouldPresentNotification({}));
    QVERIFY(manager->userNotificationCenterShouldPresentNotification(
        {.title = {},
         .informativeText = {},
         .actionButtonTitle = {},
         .userInfo = {{promo_notifications::kNeedOpenDiskUsage, true}}}));
  }

  void storeAndConcernAddressesAreTheMakers() {
    Fixture f;
    QVERIFY(!f.manager()->openPageInAppStore() && !f.manager()->createConcernEmail());
    QVERIFY(f.workspace.opened.isEmpty());
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
    const QString page = QStringLiteral("pages/news/news.html");
    const QString local = f.support.path() + QStringLiteral("/Halvard/") + page;
    QCOMPARE(manager->getApplicationSupportAppFolder(), f.support.path() + QStringLiteral("/Halvard"));
    QCOMPARE(items.getLocalPathOfItem(page, true), QStringLiteral(":/halvard/") + page);
    QCOMPARE(items.getLocalPathOfItem(page, false), local);
    QDir().mkpath(f.support.path() + QStringLiteral("/Halvard/pages"));
    QFile inTheWay(f.support.path() + QStringLiteral("/Halvard/pages/news"));
    QVERIFY(inTheWay.open(QIODevice::WriteOnly));
    inTheWay.close();
    QVERIFY(LocalItems::saveLocalyData("one", local) && LocalItems::saveLocalyData("two", local));
    QCOMPARE(items.getLocalPathOfItem(page, true), local);

    const QUrl url(QStringLiteral("https://a.example/x"));
    QCOMPARE(items.loadDataFromURL(url, page, f.fetcher).data, QByteArray("two"));
    QCOMPARE(items.loadDataFromURL(url, page, f.fetcher).source, LoadSource::LocalItem);
    f.fetcher.answer(url, "three");
    QCOMPARE(items.loadDataFromURL(url, page, f.fetcher).data, QByteArray("three"));
    QCOMPARE(items.loadDataFromURL(url, page, f.fetcher).source, LoadSource::Address);
    QCOMPARE(items.loadDataFromURL({}, QStringLiteral("absent"), f.fetcher).source, LoadSource::Nothing);
  }
};

QTEST_GUILESS_MAIN(TestPromoManager)
#include "test_promo_manager.moc"
