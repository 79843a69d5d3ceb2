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
    row("text", {QStringLiteral(" 42 ")}, 42, true);
    row("greatest text", {QStringLiteral("18446744073709551615")}, 18446744073709551615u, true);
    row("real text", {QStringLiteral("1e3")}, 1000, true);
    row("no", {QStringLiteral("No")}, 7, false);
    row("no number", {QStringLiteral("12 apples")}, 7, true);
    row("data", {QByteArray("0")}, 7, true);
    row("array", {StoredValue::Array{}}, 7, true);
  }

  void numbersAndTextThatSpellsNumbersAreRead() {
    QFETCH(StoredValue, stored);
    Fixture f;
    f.store.setObject(key, stored);
    QTEST(static_cast<qulonglong>(f.defaults.getUnsignedLongLongValueForKey(key, 7)), "number");
    QTEST(f.defaults.getBoolValueForKey(key, true), "boolean");
    QCOMPARE(f.defaults.getArrayValueForKey(QStringLiteral("absent"), {false}), StoredValue{false});
  }

  void everySaverWritesTheKindAndSynchronises() {
    using Save = std::function<void(ShowcaseDefaults&)>;
    const auto at = [](std::chrono::seconds delay) { return Fixture().dateIn(delay); };
    const Save showcase = [](auto& d) { d.notifyShowcaseDialogDataThatShowedAutomaticallyVersion(5); };
    const StoredValue five{std::int64_t{5}};
    const std::tuple<const char*, Save, StoredValue> savers[] = {
        {"KEY_cleanedSize", [](auto& d) { d.setCleanedSize(3); }, {std::uint64_t{3}}},
        {"KEY_showAutostartPopupAfterClean", [](auto& d) { d.setShowAutostartPopupAfterPurge(false); }, {false}},
        {"main_window:state:lock", [](auto& d) { d.saveWindowLockedState(false); }, {false}},
        {"main_window:state:detailed", [](auto& d) { d.saveWindowDetailedState(false); }, {false}},
        {"main_window:state:x", [](auto& d) { d.saveWindowFramePosition(0.1, 2); }, {static_cast<double>(0.1f)}},
        {"main_window:state:y", [](auto& d) { d.saveWindowFramePosition(1, -2.5); }, {-2.5}},
        {"SHOW_CASE_DIALOG_DATA:next_show_date", showcase, at(7 * 24h)},
        {"SHOW_CASE_DIALOG_DATA:showed_version", showcase, five},
        {"PROMO_MANAGER:notifications_next_update_date",
         [](auto& d) { d.notifyPromoManagerDataThatNotificationsWasUpdated(86400s); }, at(24h)},
        {"PROMO_MANAGER:showed_notification_id",
         [](auto& d) { d.notifyPromoManagerDataThatShowedNotificationWithID(5); }, five},
        {"PROMO_MANAGER:news:last_readed_version", [](auto& d) { d.setReadedNewsVersion(5); }, five},
        {"PROMO_MANAGER:LackOfSpaceWarningDate", [](auto& d) { d.setNowAsLastLackOfSpaceWarningDate(); }, at(0s)},
        {"PROMO_MANAGER:news:next_update_date", [](auto& d) { d.notifyThatHTMLWasDownloadedUsingData(newsPage()); },
         at(1h)},
        {"RATE_DIALOG_DATA:is_user_select_star", [](auto& d) { d.notifyRateDialogDataThatUserClickOnStar(); }, {true}},
        {"RATE_DIALOG_DATA:next_show_date",
         [](auto& d) { d.notifyRateDialogDataThatRateDialogShowedAutomatically(false); }, at(30 * 24h)},
        {"RATE_DIALOG_DATA:count_of_auto_show",
         [](auto& d) { d.notifyRateDialogDataThatRateDialogShowedAutomatically(true); },
         {std::int64_t{1}}},
    };
    for (const auto& [storedKey, save, expected] : savers) {
      Fixture f;
      save(f.defaults);
      QCOMPARE(f.stored(storedKey), expected);
      QCOMPARE(f.store.synchronizations(), 1);
      QVERIFY(!f.store.hasUnsavedChanges());
    }
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
    QVERIFY(!defaults.isNeedLoadFromServerNewHTMLWithVersion(4, page));
    QVERIFY(!defaults.saveNewHTMLFolder(QStringLiteral("/a"), 3, 500, 400.7, page));
    QCOMPARE(defaults.getDownloadedHTMLVersionUsingData(page), 4);
    QVERIFY(!defaults.getDownloadedHTMLFolderPathUsingData(page) && !defaults.getDownloadedHTMLFilePathUsingData(page));
    QCOMPARE(defaults.getDownloadedHTMLWindowWidthUsingData(page), 382);

    QCOMPARE(defaults.saveNewHTMLFolder(QStringLiteral("/b"), 6, 500, 400.7, page), QStringLiteral("/a"));
    QVERIFY(!defaults.saveNewHTMLFolder(QStringLiteral("/b"), 6, 500, 400.7, page));
    QCOMPARE(defaults.getDownloadedHTMLFilePathUsingData(page), QStringLiteral("/b/index.html"));
    QCOMPARE(defaults.getDownloadedHTMLWindowHeightUsingData(page), 400);
    f.store.removeObject(page.prefs_window_height_key);
    QCOMPARE(defaults.getDownloadedHTMLWindowHeightUsingData(page), 337);
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

  void notificationsAreShownOnceByNumber() {
    Fixture f;
    f.defaults.notifyPromoManagerDataThatShowedNotificationWithID(7);
    QVERIFY(!f.defaults.isNeedShowNotificationWithID(7) && f.defaults.isNeedShowNotificationWithID(8));
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
