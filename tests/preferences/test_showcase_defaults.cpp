#include <QtTest>
#include <limits>

#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "preferences/showcase_defaults.h"
#include "preferences/stored_keys.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;

namespace {

struct Fixture {
  FakeDefaultsStore store;
  FakeClock clock;
  ShowcaseDefaults defaults{store, clock, text("4.2.1")};

  StoredValue dateIn(std::chrono::seconds delay) const {
    const auto time = std::chrono::floor<std::chrono::milliseconds>((clock.now() + delay).time_since_epoch());
    return {QDateTime::fromMSecsSinceEpoch(time.count(), Qt::UTC)};
  }
  std::optional<StoredValue> stored(const char* name) const { return store.objectForKey(text(name)); }
};

}  // namespace

class TestShowcaseDefaults : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void numbersAndTextThatSpellsNumbersAreRead() {
    // The defaults are 7 and true.
    const QString key = text("K");
    const std::tuple<StoredValue, std::uint64_t, bool> values[] = {
        {{std::uint64_t{18446744073709551615u}}, 18446744073709551615u, true},
        {{std::int64_t{0}}, 0, false},
        {{std::int64_t{-1}}, 7, true},
        {{2.9}, 2, true},
        {{text(" 42 ")}, 42, true},
        {{text("1e3")}, 1000, true},
        {{text("No")}, 7, false},
        {{text("12 apples")}, 7, true},
        {{QByteArray("0")}, 7, true},
    };
    for (const auto& [stored, number, boolean] : values) {
      Fixture f;
      f.store.setObject(key, stored);
      QCOMPARE(f.defaults.getUnsignedLongLongValueForKey(key, 7), number);
      QCOMPARE(f.defaults.getBoolValueForKey(key, true), boolean);
    }
  }

  void everySaverWritesTheKindAndSynchronises() {
    using Save = std::function<void(ShowcaseDefaults&)>;
    const auto at = [](std::chrono::seconds delay) { return Fixture().dateIn(delay); };
    DownloadedHTMLData news;
    ShowcaseDefaults::initNewsDownloaderData(news);
    news.seconds_between_update = 3600;
    const std::tuple<const char*, Save, StoredValue> savers[] = {
        {"main_window:state:lock", [](auto& d) { d.saveWindowLockedState(false); }, {false}},
        {"main_window:state:detailed", [](auto& d) { d.saveWindowDetailedState(false); }, {false}},
        {"main_window:state:x", [](auto& d) { d.saveWindowFramePosition(0.1, 2); }, {static_cast<double>(0.1f)}},
        {"main_window:state:y", [](auto& d) { d.saveWindowFramePosition(1, -2.5); }, {-2.5}},
        {"SHOW_CASE_DIALOG_DATA:next_show_date",
         [](auto& d) { d.notifyShowcaseDialogDataThatShowedAutomaticallyVersion(5); }, at(7 * 24h)},
        {"PROMO_MANAGER:notifications_next_update_date",
         [](auto& d) { d.notifyPromoManagerDataThatNotificationsWasUpdated(86400s); }, at(24h)},
        {"PROMO_MANAGER:LackOfSpaceWarningDate", [](auto& d) { d.setNowAsLastLackOfSpaceWarningDate(); }, at(0s)},
        {"PROMO_MANAGER:news:next_update_date", [&](auto& d) { d.notifyThatHTMLWasDownloadedUsingData(news); }, at(1h)},
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

  void windowPositionNeedsBothEdges() {
    Fixture f;
    f.store.setObject(stored_keys::windowX, {12.5});
    QVERIFY(!f.defaults.restoreWindowFramePosition());
    f.store.setObject(stored_keys::windowY, {text("top")});
    QVERIFY(!f.defaults.restoreWindowFramePosition());
    f.defaults.saveWindowFramePosition(12.5, 0.1);
    QCOMPARE(f.defaults.restoreWindowFramePosition(), (WindowFramePosition{12.5f, 0.1f}));
  }

  void datesNoInstantCanHoldAreFarAway() {
    Fixture f;
    const auto isDueAt = [&](StoredValue stored) {
      f.store.setObject(stored_keys::showcaseNextShowDate, std::move(stored));
      return f.defaults.isTimeToShowShowcaseDialogIsNow();
    };
    QVERIFY(!isDueAt({QDateTime(QDate(9999, 1, 1), QTime(), Qt::UTC)}));
    QVERIFY(isDueAt({QDateTime(QDate(-4000, 1, 1), QTime(), Qt::UTC)}));
    QVERIFY(isDueAt({text("tomorrow")}) && !f.defaults.isShowcaseShowedBefore());
  }

  void eachPageHasItsOwnSixKeys() {
    QSet<QString> keys;
    for (const auto init : {&ShowcaseDefaults::initShowcaseDownloaderData, &ShowcaseDefaults::initNewsDownloaderData,
                            &ShowcaseDefaults::initAdsDownloaderData}) {
      DownloadedHTMLData page;
      init(page);
      keys += {page.prefs_next_update_date_key, page.prefs_version_key,      page.prefs_html_folder_path_key,
               page.prefs_html_file_path_key,   page.prefs_window_width_key, page.prefs_window_height_key};
    }
    QCOMPARE(keys.size(), 18);
  }

  void showingsAreKnownByNumberAndCountedPerProduct() {
    Fixture f;
    f.defaults.notifyPromoManagerDataThatShowedNotificationWithID(7);
    QVERIFY(!f.defaults.isNeedShowNotificationWithID(7) && f.defaults.isNeedShowNotificationWithID(8));
    const QString a = text("a");
    QCOMPARE(f.defaults.getShowNumberOfAdForProduct(std::nullopt), 0u);
    QVERIFY(!f.store.objectForKey(stored_keys::showNumberDictionary));
    for (const std::uint64_t showing : {1u, 2u})
      QCOMPARE(f.defaults.getShowNumberOfAdForProduct(a), showing);
    QCOMPARE(f.defaults.getShowNumberOfAdForProduct(text("b")), 1u);
    QCOMPARE(f.stored("PROMO_MANAGER:ShowNumberDictionary"),
             (StoredValue{StoredValue::Dictionary{{a, {std::uint64_t{2}}}, {text("b"), {std::uint64_t{1}}}}}));
    f.store.setObject(stored_keys::showNumberDictionary, {text("no dictionary")});
    QCOMPARE(f.defaults.getShowNumberOfAdForProduct(a), 1u);
  }

  void freeSpaceMessagesRotate() {
    Fixture f;
    const auto next = [&](std::int64_t count) { return f.defaults.getLackOfDiskMemoryMessageIDwithTotalCount(count); };
    for (const std::int64_t index : {0, 1, 2, 0, 1})
      QCOMPARE(next(3), index);
    for (const std::int64_t count : {0, 0, 1, 1})
      QCOMPARE(next(count), 0);
    for (const StoredValue& odd : {StoredValue{text("1")}, StoredValue{std::int64_t{-5}}, StoredValue{1e300},
                                   StoredValue{std::numeric_limits<std::int64_t>::max()}}) {
      f.store.setObject(stored_keys::lackOfDiskMemoryMessageId, odd);
      QCOMPARE(next(3), 0);
    }
  }

  void rateDataRestartWithANewVersionOnly() {
    Fixture f;
    f.defaults.notifyRateDialogDataThatAppStarted();
    QCOMPARE(f.stored("RATE_DIALOG_DATA:current_app_version"), StoredValue{text("4.2")});
    QCOMPARE(f.stored("RATE_DIALOG_DATA:next_show_date"), f.dateIn(14 * 24h));
    QCOMPARE(f.stored("RATE_DIALOG_DATA:count_of_auto_show"), StoredValue{std::int64_t{0}});
    f.defaults.notifyRateDialogDataThatUserClickOnStar();
    for (const char* version : {"4.2.9", "4.3"}) {
      ShowcaseDefaults(f.store, f.clock, text(version)).notifyRateDialogDataThatAppStarted();
      QCOMPARE(f.stored("RATE_DIALOG_DATA:is_user_select_star"), StoredValue{text(version) != text("4.3")});
    }
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
    QVERIFY(f.stored("ga:user_id") == StoredValue{identifier} && f.store.synchronizations() == 1);
  }
};

QTEST_GUILESS_MAIN(TestShowcaseDefaults)
#include "test_showcase_defaults.moc"
