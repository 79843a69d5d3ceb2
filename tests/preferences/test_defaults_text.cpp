#include <QJsonDocument>
#include <QJsonObject>
#include <QtTest>
#include <cmath>
#include <limits>

#include "preferences/defaults_text.h"

using namespace halvard;

namespace {

QString latin(const char* text) {
  return QString::fromLatin1(text);
}

StoredValue dateAt(qint64 milliseconds) {
  return {QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC)};
}

}  // namespace

class TestDefaultsText : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void textOfAKindIsParsed_data() {
    QTest::addColumn<QString>("kind");
    QTest::addColumn<QString>("text");
    QTest::addColumn<std::optional<StoredValue>>("expected");
    const auto row = [](const char* kind, const char* text, std::optional<StoredValue> expected) {
      QTest::addRow("%s %s", kind, text) << latin(kind) << QString::fromUtf8(text) << expected;
    };
    row("-bool", "YES", StoredValue{true});
    row("-bool", "1", StoredValue{true});
    row("-bool", "no", StoredValue{false});
    row("-bool", "2", std::nullopt);
    row("-int", "-42", StoredValue{std::int64_t{-42}});
    row("-int", " 7 ", StoredValue{std::int64_t{7}});
    row("-int", "9223372036854775808", StoredValue{std::uint64_t{9223372036854775808u}});
    row("-int", "18446744073709551616", std::nullopt);
    row("-int", "1.5", std::nullopt);
    row("-int", "0x10", std::nullopt);
    row("-float", "0.8", StoredValue{0.8});
    row("-float", "-1e3", StoredValue{-1000.0});
    row("-float", "inf", StoredValue{std::numeric_limits<double>::infinity()});
    row("-float", "0,8", std::nullopt);
    row("-string", " 5 ", StoredValue{QStringLiteral(" 5 ")});
    row("-date", "2024-01-15T12:00:00Z", dateAt(1705320000000));
    row("-date", "2024-01-15T13:00:00.250+01:00", dateAt(1705320000250));
    row("-date", "@1705320000", dateAt(1705320000000));
    row("-date", "@1705320000.25", dateAt(1705320000250));
    row("-date", "@-0.001", dateAt(-1));
    row("-date", "2024-01-15T12:00:00", std::nullopt);
    row("-date", "2024-02-30T12:00:00Z", std::nullopt);
    row("-date", "@1.2345", std::nullopt);
    row("-date", "@99999999999999999999", std::nullopt);
    row("-colour", "red", std::nullopt);
  }

  void textOfAKindIsParsed() {
    QFETCH(QString, kind);
    QFETCH(QString, text);
    QFETCH(std::optional<StoredValue>, expected);
    const Result<StoredValue> parsed = parseStoredValue(kind, text);
    QCOMPARE(parsed ? std::optional(parsed.value()) : std::nullopt, expected);
    if (!parsed) {
      QVERIFY2(parsed.error().message.contains(kind), qPrintable(parsed.error().message));
      QVERIFY(!parsed.error().message.contains(QLatin1Char('\n')));
    }
  }

  void valuesSurviveTextAndJson_data() {
    QTest::addColumn<StoredValue>("value");
    QTest::addColumn<QString>("text");
    const auto row = [](StoredValue value, const char* text) {
      QTest::addRow("%s %s", qPrintable(kindWord(value)), text) << value << latin(text);
    };
    row({true}, "true");
    row({std::numeric_limits<std::int64_t>::min()}, "-9223372036854775808");
    row({std::numeric_limits<std::int64_t>::max()}, "9223372036854775807");
    row({std::numeric_limits<std::uint64_t>::max()}, "18446744073709551615");
    row({0.8}, "0.8");
    row({1.0 / 3.0}, "0.3333333333333333");
    row({-0.0}, "-0");
    row({std::numeric_limits<double>::infinity()}, "inf");
    row({QStringLiteral("two words")}, "two words");
    row(dateAt(1705320000250), "2024-01-15T12:00:00.250Z");
    row(dateAt(-1), "1969-12-31T23:59:59.999Z");
    row(dateAt(253402300800001), "@253402300800.001");
    row(dateAt(-99999999999999), "@-99999999999.999");
  }

  void valuesSurviveTextAndJson() {
    QFETCH(StoredValue, value);
    QCOMPARE(kindWord(value).isEmpty(), false);
    QTEST(storedValueText(value), "text");
    const Result<StoredValue> fromText = parseStoredValue(kindWord(value), storedValueText(value));
    QVERIFY(fromText);
    QCOMPARE(fromText.value(), value);
    const Result<StoredValue> fromJson = storedValueFromJson(storedValueToJson(value));
    QVERIFY2(fromJson, fromJson ? "" : qPrintable(fromJson.error().message));
    QCOMPARE(fromJson.value(), value);
  }

  void nestedValuesSurviveJsonAsText() {
    const StoredValue value{StoredValue::Dictionary{
        {latin("a"), {StoredValue::Array{{std::uint64_t{1}}, {std::int64_t{1}}, {1.0}, {true}, {latin("1")}}}},
        {latin("b"), {QByteArray("\0\xff", 2)}},
        {latin("c"), dateAt(1)},
        {latin("d"), {std::numeric_limits<std::uint64_t>::max()}},
        {latin("e"), {StoredValue::Dictionary{}}}}};
    const QByteArray document = QJsonDocument(storedValueToJson(value).toObject()).toJson();
    const Result<StoredValue> read = storedValueFromJson(QJsonDocument::fromJson(document).object());
    QVERIFY(read);
    QCOMPARE(read.value(), value);
    QCOMPARE(storedValueText({StoredValue::Array{{true}}}), latin(R"([{"kind":"bool","value":true}])"));
    QCOMPARE(storedValueText({QByteArray("\0\xff", 2)}), latin("AP8="));
    QCOMPARE(kindWord(value), latin("-dictionary"));
  }

  void oddValuesSurviveJson() {
    const auto again = [](StoredValue value) { return storedValueFromJson(storedValueToJson(value)).value(); };
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

QTEST_GUILESS_MAIN(TestDefaultsText)
#include "test_defaults_text.moc"
