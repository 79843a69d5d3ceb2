#include <QtTest>
#include <limits>

#include "platform/fake/fake_defaults_store.h"
#include "preferences/preferences_model.h"
#include "preferences/stored_keys.h"

using namespace halvard;

namespace {

struct RecordingListener : PreferenceItemListener {
  explicit RecordingListener(QStringList& record, QString listenerName = {})
      : log(record), name(std::move(listenerName)) {}
  void preferenceItemDidChangeValue(PreferenceItemBase& item) override {
    log << name + QStringLiteral("changed ") + item.key();
  }
  void preferenceItemDidRejectValue(PreferenceItemBase& item) override {
    log << name + QStringLiteral("rejected ") + item.key();
  }
  QStringList& log;
  const QString name;
};

struct Refusal : PreferenceItemDelegate {
  bool preferenceItemShouldChangeValue(PreferenceItemBase&) override {
    ++questions;
    return false;
  }
  int questions = 0;
};

struct LargeAppNotifier : PreferencesModelShouldCleanupMemoryIfLargeAppQuitsNotifier {
  void preferencesModelShouldCleanupMemoryIfLargeAppQuitsValueChanged(PreferencesModel&) override { ++calls; }
  int calls = 0;
};

struct LoginSwitch : StartAtLoginSwitch {
  void setIsEnabledForHelperApp(bool on, const std::function<void()>& failedBlock) override {
    enabled = on;
    autoFreeWasOn = autoFree && autoFree->value();
    if (failedBlock) failedBlock();
  }
  std::optional<bool> enabled;
  std::optional<bool> autoFreeWasOn;
  PreferenceItem<bool>* autoFree = nullptr;
};

const QString key = QStringLiteral("K");

}  // namespace

class TestPreferencesModel : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void absentAndEqualValuesStoreNothingAndTellNobody() {
    FakeDefaultsStore store;
    QStringList log;
    RecordingListener listener(log);
    PreferenceItem<double> item(store, 0.8, key);
    item.listeners.add(listener);
    item.setValue(0.8);
    QVERIFY(!store.objectForKey(key) && log.isEmpty());
    store.setObject(key, {0.5});
    QVERIFY2(item.value() == 0.8, "read once");
  }

  void changeIsStoredSynchronisedAndToldOncePerListenerNewestFirst() {
    FakeDefaultsStore store;
    QStringList log;
    RecordingListener first(log, QStringLiteral("first "));
    auto gone = std::make_unique<RecordingListener>(log, QStringLiteral("gone "));
    RecordingListener last(log, QStringLiteral("last "));
    PreferenceItem<std::int64_t> item(store, 1, key);
    item.listeners.add(first);
    item.listeners.add(*gone);
    item.listeners.add(last);
    gone.reset();
    item.setValue(3);
    QCOMPARE(log, (QStringList{QStringLiteral("last changed K"), QStringLiteral("first changed K")}));
    QCOMPARE(item.listeners.count(), 2u);
    QCOMPARE(store.objectForKey(key), StoredValue{std::int64_t{3}});
    QCOMPARE(store.synchronizations(), 1);
    QVERIFY(!store.hasUnsavedChanges());
    QCOMPARE(item.value(), 3);
  }

  void refusedChangeLeavesEverythingAndTellsTheListeners() {
    FakeDefaultsStore store;
    QStringList log;
    RecordingListener listener(log);
    PreferenceItem<bool> item(store, false, key);
    item.listeners.add(listener);
    auto refusal = std::make_unique<Refusal>();
    item.delegate = refusal.get();
    item.setValue(false);
    QCOMPARE(refusal->questions, 0);
    item.setValue(true);
    QCOMPARE(refusal->questions, 1);
    QCOMPARE(log, QStringList{QStringLiteral("rejected K")});
    QVERIFY(!item.value() && !store.objectForKey(key));
    refusal.reset();
    item.setValue(true);
    QVERIFY(item.value());
  }

  void storedNumbersConvertAndOtherKindsReadAsTheDefault_data() {
    QTest::addColumn<StoredValue>("stored");
    QTest::addColumn<bool>("asBool");
    QTest::addColumn<std::int64_t>("asInteger");
    QTest::addColumn<double>("asReal");
    const auto row = [](const char* name, StoredValue stored, bool boolean, std::int64_t integer, double real) {
      QTest::newRow(name) << stored << boolean << integer << real;
    };
    // The defaults are true, 7 and 0.8.
    row("bool", {false}, false, 0, 0.0);
    row("integer", {std::int64_t{-3}}, true, -3, -3.0);
    row("unsigned", {std::uint64_t{5}}, true, 5, 5.0);
    row("unsigned beyond signed", {std::numeric_limits<std::uint64_t>::max()}, true, 7, 18446744073709551615.0);
    row("real", {2.9}, true, 2, 2.9);
    row("real beyond integers", {1e300}, true, 7, 1e300);
    row("string", {QStringLiteral("0")}, true, 7, 0.8);
    row("date", {QDateTime::fromMSecsSinceEpoch(0, Qt::UTC)}, true, 7, 0.8);
  }

  void storedNumbersConvertAndOtherKindsReadAsTheDefault() {
    QFETCH(StoredValue, stored);
    FakeDefaultsStore store;
    store.setObject(key, stored);
    QTEST(PreferenceItem<bool>(store, true, key).value(), "asBool");
    QTEST(PreferenceItem<std::int64_t>(store, 7, key).value(), "asInteger");
    QTEST(PreferenceItem<double>(store, 0.8, key).value(), "asReal");
    QCOMPARE(store.objectForKey(key), stored);
  }

  void freshModelHasTheDefaultsAndStoresNothing() {
    FakeDefaultsStore store;
    LoginSwitch login;
    PreferencesModel model(store, login);
    QCOMPARE(model.autoFreeUpMemory().value(), false);
    QCOMPARE(model.memoryUsageLimitToAutofree().value(), 0.8);
    QCOMPARE(model.cpuUsageLimitToAutofree().value(), 0.2);
    QCOMPARE(model.frequencyForToAutofreeOld().value(), 1);
    QCOMPARE(model.frequencyForToAutofree().value(), 14400.0);
    QCOMPARE(model.shouldCleanupMemoryIfLargeAppQuits().value(), true);
    QCOMPARE(model.visionIndex().value(), 1);
    QCOMPARE(model.scanDiskUsageAtAppStartUp().value(), true);
    QCOMPARE(model.showNotificationAfreFreeUp().value(), true);
    QCOMPARE(store.writes(), 0);
  }

  void formerFrequencyBecomesTheDefaultInterval_data() {
    QTest::addColumn<std::optional<StoredValue>>("former");
    QTest::addColumn<QString>("overrideKey");
    QTest::addColumn<StoredValue>("overrideValue");
    QTest::addColumn<double>("seconds");
    const auto index = [](std::int64_t number) { return std::optional(StoredValue{number}); };
    const auto row = [](const char* name, std::optional<StoredValue> former, double seconds, QString overrideKey = {},
                        StoredValue value = {}) { QTest::newRow(name) << former << overrideKey << value << seconds; };
    const QString rarely = QStringLiteral("ATEST:PURGE_FREG_RARELY");
    const QString normally = QStringLiteral("ATEST:PURGE_FREG_NORMALLY");
    const QString often = QStringLiteral("ATEST:PURGE_FREG_OFTEN");
    row("absent", std::nullopt, 14400);
    row("rarely", index(0), 28800);
    row("often", index(2), 7200);
    row("five minutes", index(3), 300);
    row("negative", index(-1), 14400);
    row("string", StoredValue{QStringLiteral("0")}, 14400);
    row("rarely overridden", index(0), 60, rarely, {std::int64_t{60}});
    row("normally overridden", index(9), 1.5, normally, {1.5});
    row("often overridden", index(2), 1, often, {true});
    row("five minutes stay", index(3), 300, often, {std::int64_t{60}});
    row("override that is no number", index(0), 28800, rarely, {QStringLiteral("60")});
    row("stored interval wins", index(0), 99, QStringLiteral("FrequencyNew"), {99.0});
  }

  void formerFrequencyBecomesTheDefaultInterval() {
    QFETCH(std::optional<StoredValue>, former);
    QFETCH(QString, overrideKey);
    QFETCH(StoredValue, overrideValue);
    FakeDefaultsStore store;
    if (former) store.setObject(QStringLiteral("Frequency"), *former);
    if (!overrideKey.isEmpty()) store.setObject(overrideKey, overrideValue);
    LoginSwitch login;
    QTEST(PreferencesModel(store, login).frequencyForToAutofree().value(), "seconds");
  }

  void bridgesFollowEveryRuleOfTheirItems() {
    FakeDefaultsStore store;
    LoginSwitch login;
    PreferencesModel model(store, login);
    QStringList log;
    RecordingListener listener(log);
    model.autoFreeUpMemory().listeners.add(listener);
    QCOMPARE(&model.objcAutoFreeUpMemory(), &model.objcAutoFreeUpMemory());
    model.objcAutoFreeUpMemory().setValue(true);
    model.objcAutoFreeUpMemory().setValue(true);
    QCOMPARE(log, QStringList{QStringLiteral("changed AutoFree")});

    model.objcShouldCleanupMemoryIfLargeAppQuits().setValue(false);
    model.objcScanDiskUsageAtAppStartUp().setValue(false);
    model.objcShowNotificationAfreFreeUp().setValue(false);
    model.objcMemoryUsageLimitToAutofree().setValue(0.5);
    model.objcCpuUsageLimitToAutofree().setValue(0.25);
    model.objcFrequencyForToAutofree().setValue(60);
    model.objcVisionIndex().setValue(3);
    QCOMPARE(store.objectForKey(stored_keys::purgeAfterHugeAppQuit), StoredValue{false});
    QCOMPARE(store.objectForKey(stored_keys::scanDiskUsageAtStartUp), StoredValue{false});
    QCOMPARE(store.objectForKey(stored_keys::showFreeUpNotification), StoredValue{false});
    QCOMPARE(store.objectForKey(stored_keys::usageLimit), StoredValue{0.5});
    QCOMPARE(store.objectForKey(stored_keys::cpuUsageLimit), StoredValue{0.25});
    QCOMPARE(store.objectForKey(stored_keys::frequencyNew), StoredValue{60.0});
    QCOMPARE(store.objectForKey(stored_keys::visionPrefIndex), StoredValue{std::int64_t{3}});
    QVERIFY(!store.objectForKey(stored_keys::frequency));
  }

  void largeAppListenerHearsOnlyItsOwnItem() {
    FakeDefaultsStore store;
    LoginSwitch login;
    PreferencesModel model(store, login);
    auto notifier = std::make_unique<LargeAppNotifier>();
    model.shouldCleanupMemoryIfLargeAppQuitsListener = notifier.get();
    model.frequencyForToAutofree().setValue(60);
    model.autoFreeUpMemory().setValue(true);
    QCOMPARE(notifier->calls, 0);
    model.shouldCleanupMemoryIfLargeAppQuits().setValue(false);
    QCOMPARE(notifier->calls, 1);
    notifier.reset();
    model.shouldCleanupMemoryIfLargeAppQuits().setValue(true);
  }

  void autoStartAndAutoFreeAreSwitchedOnInThatOrder() {
    FakeDefaultsStore store;
    LoginSwitch login;
    PreferencesModel model(store, login);
    login.autoFree = &model.autoFreeUpMemory();
    model.turnOnAutoStartAndAutoFree();
    QCOMPARE(login.enabled, std::optional(true));
    QCOMPARE(login.autoFreeWasOn, std::optional(false));
    QCOMPARE(store.objectForKey(stored_keys::autoFree), StoredValue{true});
  }
};

QTEST_GUILESS_MAIN(TestPreferencesModel)
#include "test_preferences_model.moc"
