#include <QUuid>
#include <QtTest>
#include <limits>

#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "preferences/showcase_defaults.h"
#include "preferences/stored_keys.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

const QString key = QStringLiteral("K");

struct Fixture {
  FakeDefaultsStore store;
  FakeClock clock;
  ShowcaseDefaults defaults{store, clock, QStringLiteral("4.2.1")};

  StoredValue dateIn(std::chrono::seconds delay) const {
    const auto time = std::chrono::floor<std::chrono::milliseconds>((clock.now() + delay).time_since_epoch());
    return {QDateTime::fromMSecsSinceEpoch(time.count(), Qt::UTC)};
  }
  std::optional<StoredValue> stored(const char* name) const { return store.objectForKey(QString::fromLatin1(name)); }
};

DownloadedHTMLData newsPage() {
  DownloadedHTMLData data;
  ShowcaseDefaults::initNewsDownloaderData(data);
  data.seconds_between_update = 3600;
  data.embedded_version = 4;
  data.embedded_width = 382;
  data.embedded_height = 337;
  data.file_name_to_load = QStringLiteral("index.html");
  return data;
}

}  // namespace

class TestShowcaseDefaults : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void numbersAndTextThatSpellsNumbersAreRead_data() {
    QTest::addColumn<StoredValue>("stored");
    QTest::addColumn<qulonglong>("number");
    QTest::addColumn<bool>("boolean");
    const auto row = [](const char* name, StoredValue stored, qulonglong number, bool boolean) {
      QTest::newRow(name) << stored << number << boolean;
    };
    // The defaults are 7 and true.
    row("unsigned", {std::uint64_t{18446744073709551615u}}, 18446744073709551615u, true);
    row("zero", {std::int64_t{0}}, 0, false);
    row("negative", {std::int64_t{-1}}, 7, true);
    row("real", {2.9}, 2, true);
    row("nan", {std::numeric_limits<double>::quiet_NaN()}, 7, true);
    row("text", {QStringLiteral(" 42 ")}, 42, true);
    row("greatest text", {QStringLiteral("18446744073709551615")}, 18446744073709551615u, true);
    row("real text", {QStringLiteral("1e3")}, 1000, true);
    row("zero text", {QStringLiteral("0")}, 0, false);
    row("no", {QStringLiteral("No")}, 7, false);
    row("no number", {QStringLiteral("12 apples")}, 7, true);
    row("empty text", {QString()}, 7, true);
    row("data", {QByteArray("0")}, 7, true);
    row("date", {QDateTime()}, 7, true);
    row("array", {StoredValue::Array{}}, 7, true);
    row("dictionary", {StoredValue::Dictionary{}}, 7, true);
  }

  void numbersAndTextThatSpellsNumbersAreRead() {
    QFETCH(StoredValue, stored);
    Fixture f;
    f.store.setObject(key, stored);
    QTEST(static_cast<qulonglong>(f.defaults.getUnsignedLongLongValueForKey(key, 7)), "number");
    QTEST(f.defaults.getBoolValueForKey(key, true), "boolean");
    QCOMPARE(f.defaults.getArrayValueForKey(key, {false}) == stored, stored == stored);
    QCOMPARE(f.defaults.getArrayValueForKey(QStringLiteral("absent"), {false}), StoredValue{false});
  }

  void everySaverWritesTheKindAndSynchronises_data() {
    QTest::addColumn<std::function<void(Fixture&)>>("save");
    QTest::addColumn<QString>("storedKey");
    QTest::addColumn<StoredValue>("expected");
    using Save = std::function<void(Fixture&)>;
    const auto row = [](const char* storedKey, Save save, StoredValue expected) {
      QTest::newRow(storedKey) << save << QString::fromLatin1(storedKey) << expected;
    };
    const auto at = [](std::chrono::seconds delay) { return Fixture().dateIn(delay); };
    const std::int64_t five = 5;
    row("U", [](Fixture& f) { f.defaults.saveUnsignedLongLongValue(9, QStringLiteral("U")); }, {std::uint64_t{9}});
    row("B", [](Fixture& f) { f.defaults.saveBoolValue(true, QStringLiteral("B")); }, {true});
    row("A", [](Fixture& f) { f.defaults.saveArrayValue({StoredValue::Array{{true}}}, QStringLiteral("A")); },
        {StoredValue::Array{{true}}});
    row("KEY_cleanedSize", [](Fixture& f) { f.defaults.setCleanedSize(3); }, {std::uint64_t{3}});
    row("KEY_showAutostartPopupAfterClean", [](Fixture& f) { f.defaults.setShowAutostartPopupAfterPurge(false); },
        {false});
    row("main_window:state:lock", [](Fixture& f) { f.defaults.saveWindowLockedState(false); }, {false});
    row("main_window:state:detailed", [](Fixture& f) { f.defaults.saveWindowDetailedState(false); }, {false});
    row("main_window:state:x", [](Fixture& f) { f.defaults.saveWindowFramePosition(0.1, 2); },
        {static_cast<double>(0.1f)});
    row("main_window:state:y", [](Fixture& f) { f.defaults.saveWindowFramePosition(1, -2.5); }, {-2.5});
    const auto showcase = [](Fixture& f) { f.defaults.notifyShowcaseDialogDataThatShowedAutomaticallyVersion(5); };
    row("SHOW_CASE_DIALOG_DATA:next_show_date", showcase, at(7 * 24h));
    row("SHOW_CASE_DIALOG_DATA:showed_version", showcase, {five});
    row(
        "PROMO_MANAGER:notifications_next_update_date",
        [](Fixture& f) { f.defaults.notifyPromoManagerDataThatNotificationsWasUpdated(86400s); }, at(24h));
    row("PROMO_MANAGER:showed_notification_id",
        [](Fixture& f) { f.defaults.notifyPromoManagerDataThatShowedNotificationWithID(5); }, {five});
    row("PROMO_MANAGER:news:last_readed_version", [](Fixture& f) { f.defaults.setReadedNewsVersion(5); }, {five});
    row(
        "PROMO_MANAGER:LackOfSpaceWarningDate", [](Fixture& f) { f.defaults.setNowAsLastLackOfSpaceWarningDate(); },
        at(0s));
    row(
        "PROMO_MANAGER:news:next_update_date",
        [](Fixture& f) { f.defaults.notifyThatHTMLWasDownloadedUsingData(newsPage()); }, at(1h));
    row("RATE_DIALOG_DATA:is_user_select_star",
        [](Fixture& f) { f.defaults.notifyRateDialogDataThatUserClickOnStar(); }, {true});
    row(
        "RATE_DIALOG_DATA:next_show_date",
        [](Fixture& f) { f.defaults.notifyRateDialogDataThatRateDialogShowedAutomatically(false); }, at(30 * 24h));
    row("RATE_DIALOG_DATA:count_of_auto_show",
        [](Fixture& f) { f.defaults.notifyRateDialogDataThatRateDialogShowedAutomatically(true); }, {std::int64_t{1}});
  }

  void everySaverWritesTheKindAndSynchronises() {
    QFETCH(std::function<void(Fixture&)>, save);
    QFETCH(QString, storedKey);
    QFETCH(StoredValue, expected);
    Fixture f;
    save(f);
    QCOMPARE(f.store.objectForKey(storedKey), expected);
    QCOMPARE(f.store.synchronizations(), 1);
    QVERIFY(!f.store.hasUnsavedChanges());
  }

  void freshStoreAnswersTheDefaultsAndStaysEmpty() {
    Fixture f;
    const ShowcaseDefaults& defaults = f.defaults;
    QCOMPARE(defaults.cleanedSize(), 0u);
    QVERIFY(defaults.showAutostartPopupAfterPurge() && defaults.isWindowLocked() && defaults.isWindowDetailed());
    QVERIFY(!defaults.restoreWindowFramePosition());
    QVERIFY(defaults.isNeedShowShowcaseDialogAutomaticallyWithVersion(-1000));
    QVERIFY(!defaults.isShowcaseShowedBefore());
    f.defaults.notifyAboutShowcaseTryToShowAutomatically();
    QCOMPARE(defaults.getNotificationsNextUpdateDate(), Clock::Instant());
    QVERIFY(defaults.isNeedLoadFromServerDataAboutNotifications());
    QCOMPARE(defaults.getShowedNotificationID(), 0);
    QVERIFY(defaults.isHasFreshNewsBaseOnCurrenVersion(-1) && !defaults.getLastLackOfSpaceWarningDate());
    QVERIFY(defaults.isTimeToShowRateDialogIsNow() && !defaults.isNeedShowRateDialogAutomatically());
    QVERIFY(!defaults.isUserAlreadyСlickedOnStar());
    QVERIFY(f.store.keys().isEmpty());
  }

  void windowPositionNeedsBothEdges() {
    Fixture f;
    f.store.setObject(stored_keys::windowX, {12.5});
    QVERIFY(!f.defaults.restoreWindowFramePosition());
    f.store.setObject(stored_keys::windowY, {QStringLiteral("top")});
    QVERIFY(!f.defaults.restoreWindowFramePosition());
    f.defaults.saveWindowFramePosition(12.5, 0.1);
    QCOMPARE(f.defaults.restoreWindowFramePosition(), (WindowFramePosition{12.5f, 0.1f}));
  }

  void showcaseIsDueByDateAndVersion() {
    Fixture f;
    f.defaults.notifyShowcaseDialogDataThatShowedAutomaticallyVersion(5);
    QVERIFY(f.defaults.isShowcaseShowedBefore());
    f.clock.advance(604800s - 1ms);
    QVERIFY(!f.defaults.isNeedShowShowcaseDialogAutomaticallyWithVersion(6));
    f.clock.advance(1ms);
    QVERIFY(f.defaults.isNeedShowShowcaseDialogAutomaticallyWithVersion(6));
    QVERIFY(!f.defaults.isNeedShowShowcaseDialogAutomaticallyWithVersion(5));
  }

  void datesNoInstantCanHoldAreFarAway() {
    Fixture f;
    f.store.setObject(stored_keys::showcaseNextShowDate, {QDateTime(QDate(9999, 1, 1), QTime(), Qt::UTC)});
    QVERIFY(!f.defaults.isTimeToShowShowcaseDialogIsNow());
    f.store.setObject(stored_keys::showcaseNextShowDate, {QDateTime(QDate(-4000, 1, 1), QTime(), Qt::UTC)});
    QVERIFY(f.defaults.isTimeToShowShowcaseDialogIsNow());
    f.store.setObject(stored_keys::showcaseNextShowDate, {QStringLiteral("tomorrow")});
    QVERIFY(f.defaults.isTimeToShowShowcaseDialogIsNow() && !f.defaults.isShowcaseShowedBefore());
  }

  void pageFallsBackToTheEmbeddedOneUnlessNewer() {
    Fixture f;
    const DownloadedHTMLData page = newsPage();
    ShowcaseDefaults& defaults = f.defaults;
    QCOMPARE(defaults.getCurrentDownloadedHTMLVersionUsingData(page), 4);
    QVERIFY(defaults.isNeedShowEmbeddedHTMLUsingData(page));
    QVERIFY(defaults.isNeedLoadFromServerNewHTMLWithVersion(5, page));
    QVERIFY(!defaults.isNeedLoadFromServerNewHTMLWithVersion(4, page));

    QVERIFY(!defaults.saveNewHTMLFolder(QStringLiteral("/a"), 3, 500, 400.7, page));
    QCOMPARE(defaults.getDownloadedHTMLVersionUsingData(page), 4);
    QVERIFY(!defaults.getDownloadedHTMLFolderPathUsingData(page) && !defaults.getDownloadedHTMLFilePathUsingData(page));
    QCOMPARE(defaults.getDownloadedHTMLWindowWidthUsingData(page), 382);

    QCOMPARE(defaults.saveNewHTMLFolder(QStringLiteral("/b"), 6, 500, 400.7, page), QStringLiteral("/a"));
    QVERIFY(!defaults.saveNewHTMLFolder(QStringLiteral("/b"), 6, 500, 400.7, page));
    QCOMPARE(defaults.getDownloadedHTMLVersionUsingData(page), 6);
    QCOMPARE(defaults.getDownloadedHTMLFolderPathUsingData(page), QStringLiteral("/b"));
    QCOMPARE(defaults.getDownloadedHTMLFilePathUsingData(page), QStringLiteral("/b/index.html"));
    QCOMPARE(defaults.getDownloadedHTMLWindowWidthUsingData(page), 500);
    QCOMPARE(defaults.getDownloadedHTMLWindowHeightUsingData(page), 400);
    f.store.removeObject(page.prefs_window_height_key);
    QCOMPARE(defaults.getDownloadedHTMLWindowHeightUsingData(page), 337);
  }

  void pageIsDueWhenItsDateHasCome() {
    Fixture f;
    const DownloadedHTMLData page = newsPage();
    QVERIFY(f.defaults.isNeedUpdateDownloadedHTMLUsingData(page));
    f.defaults.notifyThatHTMLWasDownloadedUsingData(page);
    QVERIFY(!f.defaults.isNeedUpdateDownloadedHTMLUsingData(page));
    f.clock.advance(1h);
    QVERIFY(f.defaults.isNeedUpdateDownloadedHTMLUsingData(page));
  }

  void eachPageHasItsOwnSixKeys() {
    DownloadedHTMLData pages[3];
    ShowcaseDefaults::initShowcaseDownloaderData(pages[0]);
    ShowcaseDefaults::initNewsDownloaderData(pages[1]);
    ShowcaseDefaults::initAdsDownloaderData(pages[2]);
    QSet<QString> keys;
    for (const DownloadedHTMLData& page : pages) {
      keys << page.prefs_next_update_date_key << page.prefs_version_key << page.prefs_html_folder_path_key
           << page.prefs_html_file_path_key << page.prefs_window_width_key << page.prefs_window_height_key;
    }
    QCOMPARE(keys.size(), 18);
    QCOMPARE(pages[0].prefs_next_update_date_key, QStringLiteral("PROMO_MANAGER:showcase:next_update_date"));
    QCOMPARE(pages[0].prefs_version_key, QStringLiteral("PROMO_MANAGER:show_case:version"));
    QCOMPARE(pages[2].prefs_window_height_key, QStringLiteral("PROMO_MANAGER:ads:window_height"));
  }

  void notificationsAndNewsAreFreshByNumber() {
    Fixture f;
    f.defaults.notifyPromoManagerDataThatShowedNotificationWithID(7);
    QVERIFY(!f.defaults.isNeedShowNotificationWithID(7) && f.defaults.isNeedShowNotificationWithID(8));
    f.defaults.setReadedNewsVersion(7);
    QVERIFY(!f.defaults.isHasFreshNewsBaseOnCurrenVersion(7) && f.defaults.isHasFreshNewsBaseOnCurrenVersion(8));
    f.defaults.setNowAsLastLackOfSpaceWarningDate();
    QCOMPARE(f.defaults.getLastLackOfSpaceWarningDate(), f.clock.now());
  }

  void showingsAreCountedPerProduct() {
    Fixture f;
    const QString a = QStringLiteral("a");
    QCOMPARE(f.defaults.getShowNumberOfAdForProduct(std::nullopt), 0u);
    QVERIFY(f.store.keys().isEmpty());
    QCOMPARE(f.defaults.getShowNumberOfAdForProduct(a), 1u);
    QCOMPARE(f.defaults.getShowNumberOfAdForProduct(a), 2u);
    QCOMPARE(f.defaults.getShowNumberOfAdForProduct(QStringLiteral("b")), 1u);
    QCOMPARE(
        f.stored("PROMO_MANAGER:ShowNumberDictionary"),
        (StoredValue{StoredValue::Dictionary{{a, {std::uint64_t{2}}}, {QStringLiteral("b"), {std::uint64_t{1}}}}}));
    f.store.setObject(stored_keys::showNumberDictionary, {QStringLiteral("no dictionary")});
    QCOMPARE(f.defaults.getShowNumberOfAdForProduct(a), 1u);
  }

  void freeSpaceMessagesRotate() {
    Fixture f;
    std::vector<std::int64_t> indexes;
    for (int call = 0; call < 4; ++call)
      indexes.push_back(f.defaults.getLackOfDiskMemoryMessageIDwithTotalCount(3));
    QCOMPARE(indexes, (std::vector<std::int64_t>{0, 1, 2, 0}));
    QCOMPARE(f.defaults.getLackOfDiskMemoryMessageIDwithTotalCount(3), 1);
    for (const std::int64_t count : {0, 1}) {
      QCOMPARE(f.defaults.getLackOfDiskMemoryMessageIDwithTotalCount(count), 0);
      QCOMPARE(f.defaults.getLackOfDiskMemoryMessageIDwithTotalCount(count), 0);
    }
    for (const StoredValue& odd : {StoredValue{QStringLiteral("1")}, StoredValue{std::int64_t{-5}}, StoredValue{1e300},
                                   StoredValue{std::numeric_limits<std::int64_t>::max()}}) {
      f.store.setObject(stored_keys::lackOfDiskMemoryMessageId, odd);
      QCOMPARE(f.defaults.getLackOfDiskMemoryMessageIDwithTotalCount(3), 0);
    }
  }

  void rateDataRestartWithANewVersionOnly() {
    Fixture f;
    f.defaults.notifyRateDialogDataThatAppStarted();
    QCOMPARE(f.stored("RATE_DIALOG_DATA:current_app_version"), StoredValue{QStringLiteral("4.2")});
    QCOMPARE(f.stored("RATE_DIALOG_DATA:next_show_date"), f.dateIn(14 * 24h));
    QCOMPARE(f.stored("RATE_DIALOG_DATA:is_user_select_star"), StoredValue{false});
    QCOMPARE(f.stored("RATE_DIALOG_DATA:count_of_auto_show"), StoredValue{std::int64_t{0}});
    f.defaults.notifyRateDialogDataThatUserClickOnStar();
    f.defaults.notifyRateDialogDataThatAppStarted();
    QVERIFY(f.defaults.isUserAlreadyСlickedOnStar());
    ShowcaseDefaults(f.store, f.clock, QStringLiteral("4.3")).notifyRateDialogDataThatAppStarted();
    QVERIFY(!f.defaults.isUserAlreadyСlickedOnStar());
  }

  void rateDialogWaitsForCleaningsAndStopsAfterThree() {
    Fixture f;
    f.defaults.setCleanedSize(524287999);
    QVERIFY(!f.defaults.isNeedShowRateDialogAutomatically());
    f.defaults.setCleanedSize(524288000);
    for (int showing = 0; showing < 3; ++showing) {
      QVERIFY(f.defaults.isNeedShowRateDialogAutomatically());
      f.defaults.notifyRateDialogDataThatRateDialogShowedAutomatically(true);
      QVERIFY(!f.defaults.isNeedShowRateDialogAutomatically());
      f.clock.advance(30 * 24h);
    }
    QVERIFY(f.defaults.isTimeToShowRateDialogIsNow());
    QVERIFY(!f.defaults.isNeedShowRateDialogAutomatically());
    f.store.removeObject(stored_keys::rateCountOfAutoShow);
    QVERIFY(f.defaults.isNeedShowRateDialogAutomatically());
    f.defaults.notifyRateDialogDataThatUserClickOnStar();
    QVERIFY(!f.defaults.isNeedShowRateDialogAutomatically());
  }

  void versionKeepsItsFirstTwoComponents() {
    Fixture f;
    const auto shortened = [&](const char* version) {
      return ShowcaseDefaults(f.store, f.clock, QString::fromLatin1(version)).buildAppVersionWith2Numbers();
    };
    QCOMPARE(shortened("10.3.7.1"), QStringLiteral("10.3"));
    QCOMPARE(shortened("4.2"), QStringLiteral("4.2"));
    QCOMPARE(shortened("5"), QStringLiteral("5"));
    QCOMPARE(shortened(""), QString());
  }

  void analyticsIdentifierIsMadeOnceAndReplacesWhatIsNoText() {
    Fixture f;
    f.store.setObject(stored_keys::analyticsUserId, {std::int64_t{5}});
    const QString identifier = f.defaults.analyticsUserIdentifier();
    QVERIFY(!QUuid::fromString(identifier).isNull());
    QCOMPARE(f.defaults.analyticsUserIdentifier(), identifier);
    QCOMPARE(f.stored("ga:user_id"), StoredValue{identifier});
    QCOMPARE(f.store.synchronizations(), 1);
  }
};

QTEST_GUILESS_MAIN(TestShowcaseDefaults)
#include "test_showcase_defaults.moc"
