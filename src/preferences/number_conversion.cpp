#include "preferences/number_conversion.h"

#include <QString>

namespace halvard {
namespace {

// The number object the text spells. Whole numbers are tried first: a real could not hold all of their digits.
std::optional<StoredValue> numberInText(const QString& text) {
  bool ok = false;
  if (const std::int64_t number = text.toLongLong(&ok); ok) return StoredValue{number};
  if (const std::uint64_t number = text.toULongLong(&ok); ok) return StoredValue{number};
  if (const double number = text.toDouble(&ok); ok) return StoredValue{number};
  return std::nullopt;
}

template <class Target>
std::optional<Target> converted(const StoredValue& stored, std::optional<Target> (StoredValue::*convert)() const) {
  const QString* text = stored.as<QString>();
  if (!text) return (stored.*convert)();
  const std::optional<StoredValue> number = numberInText(text->trimmed());
  return number ? ((*number).*convert)() : std::nullopt;
}

std::optional<bool> boolInWords(const QString& text) {
  for (const QLatin1StringView word : {QLatin1StringView("true"), QLatin1StringView("yes")}) {
    if (text.compare(word, Qt::CaseInsensitive) == 0) return true;
  }
  for (const QLatin1StringView word : {QLatin1StringView("false"), QLatin1StringView("no")}) {
    if (text.compare(word, Qt::CaseInsensitive) == 0) return false;
  }
  return std::nullopt;
}

}  // namespace

std::optional<std::int64_t> convertedInteger(const StoredValue& stored) {
  return converted(stored, &StoredValue::toInteger);
}

std::optional<std::uint64_t> convertedUnsigned(const StoredValue& stored) {
  return converted(stored, &StoredValue::toUnsigned);
}

std::optional<double> convertedReal(const StoredValue& stored) {
  return converted(stored, &StoredValue::toReal);
}

std::optional<bool> convertedBool(const StoredValue& stored) {
  if (const QString* text = stored.as<QString>()) {
    if (const std::optional<bool> word = boolInWords(text->trimmed())) return word;
  }
  return converted(stored, &StoredValue::toBool);
}

}  // namespace halvard
