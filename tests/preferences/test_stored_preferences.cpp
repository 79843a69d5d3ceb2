#include <QtTest>
#include <cmath>
#include <limits>

#include "platform/fake/fake_defaults_store.h"
#include "preferences/cleaning_exclusions.h"
#include "preferences/defaults_text.h"
#include "preferences/preferences_model.h"
#include "preferences/stored_keys.h"
#include "support/texts.h"

using namespace halvard;

namespace {

struct RecordingListener : PreferenceItemListener {
  explicit RecordingListener(QStringList& record, const char* listenerName = "")
      : log(record), name(text(listenerName)) {}
  void preferenceItemDidChangeValue(PreferenceItemBase& item) override { log << name + text("changed ") + item.key(); }
  void preferenceItemDidRejectValue(PreferenceItemBase& item) override { log << name + text("rejected ") + item.key(); }
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

/// The model; start at login notes what was on when it was switched on.
struct Model : StartAtLoginSwitch {
  void setIsEnabledForHelperApp(bool on, const std::function<void()>&) override {
    startedAtLogin = on;
    autoFreeWasOn = model.autoFreeUpMemory().value();
  }
  FakeDefaultsStore store;
  PreferencesModel model{store, *this};
  std::optional<bool> startedAtLogin;
  std::optional<bool> autoFreeWasOn;
};

const QString key = text("K");

StoredValue dateAt(qint64 milliseconds) {
  return {QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC)};
}

}  // namespace

class TestStoredPreferences : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void changeIsStoredSynchronisedAndToldOncePerListenerNewestFirst() {
    FakeDefaultsStore store;
    QStringList log;
    RecordingListener first(log, "first ");
    auto gone = std::make_unique<RecordingListener>(log, "gone ");
    RecordingListener last(log, "last ");
    PreferenceItem<double> item(store, 0.8, key);
    for (RecordingListener* listener : {&first, gone.get(), &last})
      item.listeners.add(*listener);
    gone.reset();
    // An equal value stores nothing and tells nobody.
    item.setValue(0.8);
    QVERIFY(!store.objectForKey(key) && log.isEmpty());
    item.setValue(3);
    QCOMPARE(log, (QStringList{text("last changed K"), text("first changed K")}));
    QCOMPARE(item.listeners.count(), 2u);
    QCOMPARE(store.objectForKey(key), StoredValue{3.0});
    QVERIFY(store.synchronizations() == 1 && !store.hasUnsavedChanges());
    store.setObject(key, {0.5});
    QVERIFY2(item.value() == 3, "read once");
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
    QCOMPARE(log, QStringList{text("rejected K")});
    QVERIFY(!item.value() && !store.objectForKey(key));
    refusal.reset();
    item.setValue(true);
    QVERIFY(item.value());
  }

  void storedNumbersConvertAndOtherKindsReadAsTheDefault() {
    // The defaults are true, 7 and 0.8.
    const std::tuple<StoredValue, bool, std::int64_t, double> cases[] = {
        {{false}, false, 0, 0.0},
        {{std::int64_t{-3}}, true, -3, -3.0},
        {{std::uint64_t{5}}, true, 5, 5.0},
        {{std::numeric_limits<std::uint64_t>::max()}, true, 7, 18446744073709551615.0},
        {{2.9}, true, 2, 2.9},
        {{1e300}, true, 7, 1e300},
        {{text("0")}, true, 7, 0.8}};
    for (const auto& [stored, asBool, asInteger, asReal] : cases) {
      FakeDefaultsStore store;
      store.setObject(key, stored);
      QCOMPARE(PreferenceItem<bool>(store, true, key).value(), asBool);
      QCOMPARE(PreferenceItem<std::int64_t>(store, 7, key).value(), asInteger);
      QCOMPARE(PreferenceItem<double>(store, 0.8, key).value(), asReal);
      QCOMPARE(store.objectForKey(key), stored);
    }
  }

  void formerFrequencyBecomesTheDefaultInterval() {
    struct Case {
      std::optional<std::int64_t> former;
      double seconds;
      const char* overrideKey = nullptr;
      StoredValue overrideValue = {};
    };
    const char* const rarely = "ATEST:PURGE_FREG_RARELY";
    const char* const often = "ATEST:PURGE_FREG_OFTEN";
    const StoredValue sixty{std::int64_t{60}};
    for (const Case& c :
         {Case{std::nullopt, 14400}, Case{0, 28800}, Case{2, 7200}, Case{3, 300}, Case{-1, 14400},
          Case{0, 60, rarely, sixty}, Case{9, 1.5, "ATEST:PURGE_FREG_NORMALLY", {1.5}}, Case{2, 1, often, {true}},
          Case{3, 300, often, sixty}, Case{0, 28800, rarely, {text("60")}}, Case{0, 99, "FrequencyNew", {99.0}}}) {
      Model m;
      if (c.former) m.store.setObject(stored_keys::frequency, {*c.former});
      if (c.overrideKey) m.store.setObject(text(c.overrideKey), c.overrideValue);
      QCOMPARE(PreferencesModel(m.store, m).frequencyForToAutofree().value(), c.seconds);
    }
  }

  void largeAppListenerHearsOnlyItsOwnItem() {
    Model m;
    auto notifier = std::make_unique<LargeAppNotifier>();
    m.model.shouldCleanupMemoryIfLargeAppQuitsListener = notifier.get();
    QStringList log;
    RecordingListener listener(log);
    m.model.autoFreeUpMemory().listeners.add(listener);
    QCOMPARE(m.store.writes(), 0);
    m.model.frequencyForToAutofree().setValue(60);
    m.model.objcAutoFreeUpMemory().setValue(true);
    QVERIFY2(log == QStringList{text("changed AutoFree")}, "through a bridge as through the item itself");
    QCOMPARE(notifier->calls, 0);
    m.model.shouldCleanupMemoryIfLargeAppQuits().setValue(false);
    QCOMPARE(notifier->calls, 1);
    notifier.reset();
    m.model.shouldCleanupMemoryIfLargeAppQuits().setValue(true);
  }

  void autoStartAndAutoFreeAreSwitchedOnInThatOrder() {
    Model m;
    m.model.turnOnAutoStartAndAutoFree();
    QCOMPARE(m.startedAtLogin, std::optional(true));
    QCOMPARE(m.autoFreeWasOn, std::optional(false));
    QCOMPARE(m.store.objectForKey(stored_keys::autoFree), StoredValue{true});
  }

  void excludedNamesAreSortedAndKnownInAnyCase() {
    FakeDefaultsStore store;
    CleaningExclusions exclusions(store);
    QVERIFY(exclusions.add(text("  Web Browser ")) && exclusions.add(text("gimp")));
    // Another look at the same store, as another process has.
    QCOMPARE(CleaningExclusions(store).names(), (QStringList{text("gimp"), text("Web Browser")}));
    QVERIFY(!exclusions.add(text("GIMP")) && !exclusions.remove(text("vim")));
    QVERIFY(exclusions.remove(text("web browser")) && exclusions.remove(text("gimp")));
    QVERIFY(!store.objectForKey(stored_keys::cleaningExclusions));
    for (const char* name : {"", " \t", "two\nlines", "bell\a"})
      QVERIFY2(!exclusions.add(text(name)), name);
    // What is stored in another form counts as nothing.
    store.setObject(stored_keys::cleaningExclusions, {text("gimp")});
    QCOMPARE(exclusions.names(), QStringList());
    store.setObject(stored_keys::cleaningExclusions,
                    {StoredValue::Array{{std::int64_t{5}}, {text(" gimp ")}, {QString()}, {text("gimp")}}});
    QCOMPARE(exclusions.names(), QStringList{text("gimp")});
  }

  void textOfAKindIsParsed() {
    const std::tuple<const char*, const char*, StoredValue> values[] = {
        {"-bool", "YES", {true}},
        {"-bool", "1", {true}},
        {"-bool", "no", {false}},
        {"-int", " 7 ", {std::int64_t{7}}},
        {"-int", "9223372036854775808", {std::uint64_t{9223372036854775808u}}},
        {"-float", "-1e3", {-1000.0}},
        {"-string", " 5 ", {text(" 5 ")}},
        {"-date", "2024-01-15T13:00:00.250+01:00", dateAt(1705320000250)},
        {"-date", "@1705320000", dateAt(1705320000000)},
        {"-date", "@-0.001", dateAt(-1)},
    };
    for (const auto& [kind, written, expected] : values) {
      const Result<StoredValue> parsed = parseStoredValue(text(kind), text(written));
      QVERIFY2(parsed && parsed.value() == expected, written);
    }
    for (const char* refused :
         {"-bool 2", "-int 18446744073709551616", "-int 1.5", "-int 0x10", "-float 0,8", "-date 2024-01-15T12:00:00",
          "-date 2024-02-30T12:00:00Z", "-date @1.2345", "-date @99999999999999999999", "-colour red"}) {
      const Result<StoredValue> parsed = parseStoredValue(words(refused)[0], words(refused)[1]);
      QVERIFY2(!parsed && parsed.error().message.contains(words(refused)[0]), refused);
      QVERIFY2(!parsed.error().message.contains(u'\n'), refused);
    }
  }

  void valuesSurviveTextAndJson() {
    const std::pair<StoredValue, const char*> values[] = {
        {{true}, "true"},
        {{std::numeric_limits<std::int64_t>::min()}, "-9223372036854775808"},
        {{std::numeric_limits<std::int64_t>::max()}, "9223372036854775807"},
        {{std::numeric_limits<std::uint64_t>::max()}, "18446744073709551615"},
        {{1.0 / 3.0}, "0.3333333333333333"},
        {{-0.0}, "-0"},
        {{std::numeric_limits<double>::infinity()}, "inf"},
        {{text("two words")}, "two words"},
        {dateAt(-1), "1969-12-31T23:59:59.999Z"},
        {dateAt(253402300800001), "@253402300800.001"},
        {dateAt(-99999999999999), "@-99999999999.999"},
    };
    for (const auto& [value, written] : values) {
      QCOMPARE(storedValueText(value), text(written));
      const Result<StoredValue> fromText = parseStoredValue(kindWord(value), text(written));
      QVERIFY2(fromText && fromText.value() == value, written);
      const Result<StoredValue> fromJson = storedValueFromJson(storedValueToJson(value));
      QVERIFY2(fromJson && fromJson.value() == value, written);
    }
  }

  void nestedAndOddValuesSurviveJsonAsText() {
    const auto again = [](const StoredValue& value) {
      const QByteArray document = QJsonDocument(storedValueToJson(value).toObject()).toJson();
      return storedValueFromJson(QJsonDocument::fromJson(document).object()).value();
    };
    const StoredValue value{StoredValue::Dictionary{
        {text("a"), {StoredValue::Array{{std::uint64_t{1}}, {std::int64_t{1}}, {1.0}, {true}, {text("1")}}}},
        {text("b"), {QByteArray("\0\xff", 2)}},
        {text("c"), dateAt(1)},
        {text("d"), {std::numeric_limits<std::uint64_t>::max()}},
        {text("e"), {StoredValue::Dictionary{}}}}};
    QCOMPARE(again(value), value);
    QCOMPARE(storedValueText({StoredValue::Array{{true}}}), text(R"([{"kind":"bool","value":true}])"));
    QCOMPARE(storedValueText({QByteArray("\0\xff", 2)}), text("AP8="));
    QCOMPARE(kindWord(value), text("-dictionary"));
    QVERIFY(std::isnan(*again({std::nan("")}).as<double>()));
    QVERIFY(std::signbit(*again({-0.0}).as<double>()));
    QVERIFY(!again({QDateTime()}).as<QDateTime>()->isValid());
  }

  void jsonThatIsNoValueIsRefused() {
    for (const char* json :
         {"{}", R"({"kind":"bool","value":1})", R"({"kind":"integer","value":1.5})", R"({"kind":"integer"})",
          R"({"kind":"integer","value":"9223372036854775808"})", R"({"kind":"unsigned","value":-1})",
          R"({"kind":"real","value":true})", R"({"kind":"string","value":5})", R"({"kind":"date","value":"soon"})",
          R"({"kind":"data","value":"*"})", R"({"kind":"array","value":[1]})",
          R"({"kind":"dictionary","value":{"a":{"kind":"bool"}}})", R"({"kind":"colour","value":1})"})
      QVERIFY2(!storedValueFromJson(QJsonDocument::fromJson(json).object()), json);
  }
};

QTEST_GUILESS_MAIN(TestStoredPreferences)
#include "test_stored_preferences.moc"
