#include "preferences/defaults_text.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QRegularExpression>
#include <QStringList>
#include <cmath>

namespace halvard {
namespace {

using Parsed = Result<StoredValue>;

Error mismatch(const QString& text, const QString& expected) {
  return {QStringLiteral("\"%1\" does not fit: %2").arg(text, expected)};
}

Parsed parseBool(const QString& text) {
  const QString word = text.trimmed().toLower();
  static const QStringList yes{QStringLiteral("true"), QStringLiteral("yes"), QStringLiteral("1")};
  static const QStringList no{QStringLiteral("false"), QStringLiteral("no"), QStringLiteral("0")};
  if (yes.contains(word)) return StoredValue{true};
  if (no.contains(word)) return StoredValue{false};
  return mismatch(text, QStringLiteral("-bool takes true, false, yes, no, 1 or 0"));
}

Parsed parseInteger(const QString& text) {
  bool ok = false;
  const QString number = text.trimmed();
  if (const std::int64_t value = number.toLongLong(&ok); ok) return StoredValue{value};
  if (const std::uint64_t value = number.toULongLong(&ok); ok) return StoredValue{value};
  return mismatch(text, QStringLiteral("-int takes a whole number from -9223372036854775808 to 18446744073709551615"));
}

Parsed parseReal(const QString& text) {
  bool ok = false;
  const double value = text.trimmed().toDouble(&ok);
  if (ok) return StoredValue{value};
  return mismatch(text, QStringLiteral("-float takes a number like 0.8, -1e3, inf or nan"));
}

// "@1705320000.25" in milliseconds.
std::optional<std::int64_t> millisecondsInText(const QString& text) {
  static const QRegularExpression form(QStringLiteral("^@(-?\\d{1,16})(?:\\.(\\d{1,3}))?$"));
  const QRegularExpressionMatch match = form.match(text);
  if (!match.hasMatch()) return std::nullopt;
  return (match.captured(1) + match.captured(2).leftJustified(3, QLatin1Char('0'))).toLongLong();
}

Parsed parseDate(const QString& text) {
  const QString date = text.trimmed();
  if (date.startsWith(QLatin1Char('@'))) {
    if (const auto milliseconds = millisecondsInText(date)) {
      return StoredValue{QDateTime::fromMSecsSinceEpoch(*milliseconds, Qt::UTC)};
    }
  } else if (const QDateTime parsed = QDateTime::fromString(date, Qt::ISODateWithMs);
             parsed.isValid() && parsed.timeSpec() != Qt::LocalTime) {
    return StoredValue{parsed.toUTC()};
  }
  return mismatch(text,
                  QStringLiteral("-date takes a date like 2024-01-15T12:00:00Z, or @ and the seconds since 1970"));
}

QString dateText(const QDateTime& date) {
  if (!date.isValid()) return {};
  const QDateTime universal = date.toUTC();
  const int year = universal.date().year();
  if (year >= 1 && year <= 9999) return universal.toString(Qt::ISODateWithMs);
  const qint64 milliseconds = universal.toMSecsSinceEpoch();
  return QStringLiteral("@%1%2.%3")
      .arg(milliseconds < 0 ? QStringLiteral("-") : QString())
      .arg(std::abs(milliseconds / 1000))
      .arg(std::abs(milliseconds % 1000), 3, 10, QLatin1Char('0'));
}

QString realText(double number) {
  if (number == 0.0 && std::signbit(number)) return QStringLiteral("-0");
  return QString::number(number, 'g', QLocale::FloatingPointShortest);
}

struct Texts {
  QString operator()(bool content) const { return content ? QStringLiteral("true") : QStringLiteral("false"); }
  QString operator()(std::int64_t content) const { return QString::number(content); }
  QString operator()(std::uint64_t content) const { return QString::number(content); }
  QString operator()(double content) const { return realText(content); }
  QString operator()(const QString& content) const { return content; }
  QString operator()(const QDateTime& content) const { return dateText(content); }
  QString operator()(const QByteArray& content) const { return QString::fromLatin1(content.toBase64()); }
  QString operator()(const StoredValue::Array& content) const { return json({content}); }
  QString operator()(const StoredValue::Dictionary& content) const { return json({content}); }

  static QString json(const StoredValue& stored) {
    const QJsonValue value = storedValueToJson(stored)[QStringLiteral("value")];
    const QJsonDocument document = value.isArray() ? QJsonDocument(value.toArray()) : QJsonDocument(value.toObject());
    return QString::fromUtf8(document.toJson(QJsonDocument::Compact));
  }
};

struct KindWords {
  QString operator()(bool) const { return QStringLiteral("-bool"); }
  QString operator()(std::int64_t) const { return QStringLiteral("-int"); }
  QString operator()(std::uint64_t) const { return QStringLiteral("-int"); }
  QString operator()(double) const { return QStringLiteral("-float"); }
  QString operator()(const QString&) const { return QStringLiteral("-string"); }
  QString operator()(const QDateTime&) const { return QStringLiteral("-date"); }
  QString operator()(const QByteArray&) const { return QStringLiteral("-data"); }
  QString operator()(const StoredValue::Array&) const { return QStringLiteral("-array"); }
  QString operator()(const StoredValue::Dictionary&) const { return QStringLiteral("-dictionary"); }
};

}  // namespace

Result<StoredValue> parseStoredValue(const QString& kindWord, const QString& text) {
  if (kindWord == QLatin1StringView("-bool")) return parseBool(text);
  if (kindWord == QLatin1StringView("-int")) return parseInteger(text);
  if (kindWord == QLatin1StringView("-float")) return parseReal(text);
  if (kindWord == QLatin1StringView("-string")) return StoredValue{text};
  if (kindWord == QLatin1StringView("-date")) return parseDate(text);
  return mismatch(kindWord, QStringLiteral("the kind is one of -bool, -int, -float, -string and -date"));
}

QString kindWord(const StoredValue& stored) {
  return std::visit(KindWords(), stored.value);
}

QString storedValueText(const StoredValue& stored) {
  return std::visit(Texts(), stored.value);
}

}  // namespace halvard
