#include <QJsonArray>
#include <QJsonObject>
#include <cmath>

#include "preferences/defaults_text.h"

// The JSON form of stored values.

namespace halvard {
namespace {

// Beyond it readers that keep every number as a real round.
constexpr std::int64_t greatestExact = std::int64_t{1} << 53;

QJsonObject typed(QLatin1StringView kind, const QJsonValue& value) {
  return {{QStringLiteral("kind"), QString(kind)}, {QStringLiteral("value"), value}};
}

struct JsonWriter {
  QJsonObject operator()(bool content) const { return typed(QLatin1StringView("bool"), content); }
  QJsonObject operator()(std::int64_t content) const {
    const bool exact = content >= -greatestExact && content <= greatestExact;
    return typed(QLatin1StringView("integer"), exact ? QJsonValue(qint64{content}) : text(content));
  }
  QJsonObject operator()(std::uint64_t content) const {
    const bool exact = content <= static_cast<std::uint64_t>(greatestExact);
    return typed(QLatin1StringView("unsigned"), exact ? QJsonValue(static_cast<qint64>(content)) : text(content));
  }
  QJsonObject operator()(double content) const {
    const bool exact = std::isfinite(content) && !(content == 0.0 && std::signbit(content));
    return typed(QLatin1StringView("real"), exact ? QJsonValue(content) : text(content));
  }
  QJsonObject operator()(const QString& content) const { return typed(QLatin1StringView("string"), content); }
  QJsonObject operator()(const QByteArray& content) const { return typed(QLatin1StringView("data"), text(content)); }
  QJsonObject operator()(const QDateTime& content) const {
    return typed(QLatin1StringView("date"), content.isValid() ? text(content) : QJsonValue());
  }
  QJsonObject operator()(const StoredValue::Array& content) const {
    QJsonArray array;
    for (const StoredValue& element : content)
      array.append(storedValueToJson(element));
    return typed(QLatin1StringView("array"), array);
  }
  QJsonObject operator()(const StoredValue::Dictionary& content) const {
    QJsonObject object;
    for (const auto& [key, element] : content)
      object.insert(key, storedValueToJson(element));
    return typed(QLatin1StringView("dictionary"), object);
  }

  template <class T>
  static QJsonValue text(const T& content) {
    return storedValueText({content});
  }
};

Error mismatch(const QString& kind) {
  return {QStringLiteral("no stored value: \"value\" does not fit the kind \"%1\"").arg(kind)};
}

// As text, a number that JSON could hold is what the reader of the command line takes as well.
QString scalarText(const QJsonValue& value) {
  if (value.isString()) return value.toString();
  if (!value.isDouble()) return {};
  const qint64 whole = value.toInteger();
  if (static_cast<double>(whole) == value.toDouble()) return QString::number(whole);
  return storedValueText({value.toDouble()});
}

Result<StoredValue> scalarFromJson(const QString& kind, const QJsonValue& value) {
  const char* const word = kind == QLatin1StringView("real")   ? "-float"
                           : kind == QLatin1StringView("date") ? "-date"
                                                               : "-int";
  const Result<StoredValue> parsed = parseStoredValue(QString::fromLatin1(word), scalarText(value));
  if (!parsed) return parsed.error();
  if (kind == QLatin1StringView("unsigned")) {
    const std::optional<std::uint64_t> number = parsed.value().toUnsigned();
    return number ? Result<StoredValue>(StoredValue{*number}) : mismatch(kind);
  }
  const bool fits = kind != QLatin1StringView("integer") || parsed.value().as<std::int64_t>();
  return fits ? parsed : mismatch(kind);
}

Result<StoredValue> dataFromJson(const QJsonValue& value) {
  const auto decoded =
      QByteArray::fromBase64Encoding(value.toString().toLatin1(), QByteArray::AbortOnBase64DecodingErrors);
  if (!value.isString() || !decoded) return mismatch(QStringLiteral("data"));
  return StoredValue{*decoded};
}

Result<StoredValue> arrayFromJson(const QJsonArray& array) {
  StoredValue::Array content;
  for (const QJsonValue& element : array) {
    Result<StoredValue> stored = storedValueFromJson(element);
    if (!stored) return stored;
    content.push_back(std::move(stored).value());
  }
  return StoredValue{std::move(content)};
}

Result<StoredValue> dictionaryFromJson(const QJsonObject& object) {
  StoredValue::Dictionary content;
  for (auto entry = object.begin(); entry != object.end(); ++entry) {
    Result<StoredValue> stored = storedValueFromJson(entry.value());
    if (!stored) return stored;
    content.insert_or_assign(entry.key(), std::move(stored).value());
  }
  return StoredValue{std::move(content)};
}

}  // namespace

QJsonValue storedValueToJson(const StoredValue& stored) {
  return std::visit(JsonWriter(), stored.value);
}

Result<StoredValue> storedValueFromJson(const QJsonValue& json) {
  const QString kind = json[QStringLiteral("kind")].toString();
  const QJsonValue value = json[QStringLiteral("value")];
  const auto is = [&](const char* name) { return kind == QLatin1StringView(name); };
  if (is("bool") && value.isBool()) return StoredValue{value.toBool()};
  if (is("string") && value.isString()) return StoredValue{value.toString()};
  if (is("date") && value.isNull()) return StoredValue{QDateTime()};
  if (is("integer") || is("unsigned") || is("real") || is("date")) return scalarFromJson(kind, value);
  if (is("data")) return dataFromJson(value);
  if (is("array") && value.isArray()) return arrayFromJson(value.toArray());
  if (is("dictionary") && value.isObject()) return dictionaryFromJson(value.toObject());
  return mismatch(kind);
}

}  // namespace halvard
