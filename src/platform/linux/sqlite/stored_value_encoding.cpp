#include "platform/linux/sqlite/stored_value_encoding.h"

#include <QCborArray>
#include <QCborMap>
#include <QCborValue>
#include <QtEndian>
#include <bit>
#include <cmath>
#include <utility>

namespace halvard {
namespace {

constexpr auto unsignedTag = QCborTag(QCborKnownTags::PositiveBignum);
constexpr auto dateTag = QCborTag(0x48444154);
// Deeper nesting than any setting has; keeps a hostile file from exhausting the stack.
constexpr int maximumDepth = 64;

QByteArray bytesOf(std::uint64_t number) {
  QByteArray bytes(sizeof number, Qt::Uninitialized);
  qToBigEndian(number, bytes.data());
  return bytes;
}

std::optional<std::uint64_t> numberIn(const QByteArray& bytes) {
  if (bytes.size() != sizeof(std::uint64_t)) return std::nullopt;
  return qFromBigEndian<std::uint64_t>(bytes.constData());
}

QDateTime dateOf(std::int64_t milliseconds) {
  return QDateTime::fromMSecsSinceEpoch(milliseconds, Qt::UTC);
}

QCborValue toCbor(const StoredValue& stored);

struct CborWriter {
  QCborValue operator()(bool content) const { return QCborValue(content); }
  QCborValue operator()(std::int64_t content) const { return QCborValue(qint64{content}); }
  QCborValue operator()(std::uint64_t content) const { return QCborValue(unsignedTag, bytesOf(content)); }
  QCborValue operator()(double content) const { return QCborValue(content); }
  QCborValue operator()(const QString& content) const { return QCborValue(content); }
  QCborValue operator()(const QByteArray& content) const { return QCborValue(content); }
  QCborValue operator()(const QDateTime& content) const {
    const auto inner = content.isValid() ? QCborValue(content.toMSecsSinceEpoch()) : QCborValue(nullptr);
    return QCborValue(dateTag, inner);
  }
  QCborValue operator()(const StoredValue::Array& content) const {
    QCborArray array;
    for (const StoredValue& element : content)
      array.append(toCbor(element));
    return array;
  }
  QCborValue operator()(const StoredValue::Dictionary& content) const {
    QCborMap map;
    for (const auto& [key, element] : content)
      map.insert(key, toCbor(element));
    return map;
  }
};

QCborValue toCbor(const StoredValue& stored) {
  return std::visit(CborWriter(), stored.value);
}

std::optional<StoredValue> fromCbor(const QCborValue& value, int depth = 0);

std::optional<StoredValue> taggedFromCbor(const QCborValue& value) {
  const QCborValue inner = value.taggedValue();
  if (value.tag() == unsignedTag && inner.isByteArray()) {
    if (const auto number = numberIn(inner.toByteArray())) return StoredValue{*number};
  }
  if (value.tag() == dateTag && inner.isInteger()) return StoredValue{dateOf(inner.toInteger())};
  if (value.tag() == dateTag && inner.isNull()) return StoredValue{QDateTime()};
  return std::nullopt;
}

std::optional<StoredValue> arrayFromCbor(const QCborArray& array, int depth) {
  StoredValue::Array content;
  content.reserve(static_cast<std::size_t>(array.size()));
  for (const QCborValue& element : array) {
    std::optional<StoredValue> stored = fromCbor(element, depth + 1);
    if (!stored) return std::nullopt;
    content.push_back(*std::move(stored));
  }
  return StoredValue{std::move(content)};
}

std::optional<StoredValue> dictionaryFromCbor(const QCborMap& map, int depth) {
  StoredValue::Dictionary content;
  for (const auto& [key, element] : map) {
    std::optional<StoredValue> stored = fromCbor(element, depth + 1);
    if (!key.isString() || !stored) return std::nullopt;
    content.insert_or_assign(key.toString(), *std::move(stored));
  }
  return StoredValue{std::move(content)};
}

std::optional<StoredValue> fromCbor(const QCborValue& value, int depth) {
  if (depth > maximumDepth) return std::nullopt;
  switch (value.type()) {
    case QCborValue::True:
    case QCborValue::False:
      return StoredValue{value.toBool()};
    case QCborValue::Integer:
      return StoredValue{std::int64_t{value.toInteger()}};
    case QCborValue::Double:
      return StoredValue{value.toDouble()};
    case QCborValue::String:
      return StoredValue{value.toString()};
    case QCborValue::ByteArray:
      return StoredValue{value.toByteArray()};
    case QCborValue::Tag:
      return taggedFromCbor(value);
    case QCborValue::Array:
      return arrayFromCbor(value.toArray(), depth);
    case QCborValue::Map:
      return dictionaryFromCbor(value.toMap(), depth);
    default:
      return std::nullopt;
  }
}

struct Encoder {
  EncodedValue operator()(bool content) const { return {QStringLiteral("bool"), std::int64_t{content}}; }
  EncodedValue operator()(std::int64_t content) const { return {QStringLiteral("integer"), content}; }
  EncodedValue operator()(std::uint64_t content) const {
    return {QStringLiteral("unsigned"), QString::number(content)};
  }
  EncodedValue operator()(double content) const {
    const bool fitsACell = std::isfinite(content) && !(content == 0.0 && std::signbit(content));
    if (fitsACell) return {QStringLiteral("real"), content};
    return {QStringLiteral("real"), bytesOf(std::bit_cast<std::uint64_t>(content))};
  }
  EncodedValue operator()(const QString& content) const { return {QStringLiteral("string"), content}; }
  EncodedValue operator()(const QByteArray& content) const { return {QStringLiteral("data"), content}; }
  EncodedValue operator()(const QDateTime& content) const {
    if (!content.isValid()) return {QStringLiteral("date"), nullptr};
    return {QStringLiteral("date"), std::int64_t{content.toMSecsSinceEpoch()}};
  }
  EncodedValue operator()(const StoredValue::Array& content) const {
    return {QStringLiteral("array"), CborWriter()(content).toCbor()};
  }
  EncodedValue operator()(const StoredValue::Dictionary& content) const {
    return {QStringLiteral("dictionary"), CborWriter()(content).toCbor()};
  }
};

std::optional<StoredValue> decodeInteger(const QString& kind, std::int64_t number) {
  if (kind == QLatin1StringView("integer")) return StoredValue{number};
  if (kind == QLatin1StringView("bool") && (number == 0 || number == 1)) return StoredValue{number == 1};
  if (kind == QLatin1StringView("date")) return StoredValue{dateOf(number)};
  return std::nullopt;
}

std::optional<StoredValue> decodeText(const QString& kind, const QString& text) {
  if (kind == QLatin1StringView("string")) return StoredValue{text};
  bool ok = false;
  const std::uint64_t number = text.toULongLong(&ok);
  if (kind == QLatin1StringView("unsigned") && ok) return StoredValue{number};
  return std::nullopt;
}

std::optional<StoredValue> decodeBytes(const QString& kind, const QByteArray& bytes) {
  if (kind == QLatin1StringView("data")) return StoredValue{bytes};
  if (kind == QLatin1StringView("real")) {
    const std::optional<std::uint64_t> bits = numberIn(bytes);
    return bits ? std::optional(StoredValue{std::bit_cast<double>(*bits)}) : std::nullopt;
  }
  QCborParserError error;
  const QCborValue value = QCborValue::fromCbor(bytes, &error);
  const bool kindFits = (kind == QLatin1StringView("array") && value.isArray()) ||
                        (kind == QLatin1StringView("dictionary") && value.isMap());
  if (error.error != QCborError::NoError || !kindFits) return std::nullopt;
  return fromCbor(value);
}

}  // namespace

EncodedValue encode(const StoredValue& stored) {
  return std::visit(Encoder(), stored.value);
}

std::optional<StoredValue> decode(const EncodedValue& encoded) {
  const QString& kind = encoded.kind;
  if (const auto* number = std::get_if<std::int64_t>(&encoded.value)) return decodeInteger(kind, *number);
  if (const auto* text = std::get_if<QString>(&encoded.value)) return decodeText(kind, *text);
  if (const auto* bytes = std::get_if<QByteArray>(&encoded.value)) return decodeBytes(kind, *bytes);
  if (const auto* number = std::get_if<double>(&encoded.value)) {
    return kind == QLatin1StringView("real") ? std::optional(StoredValue{*number}) : std::nullopt;
  }
  return kind == QLatin1StringView("date") ? std::optional(StoredValue{QDateTime()}) : std::nullopt;
}

}  // namespace halvard
