#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <cstdint>
#include <map>
#include <optional>
#include <variant>
#include <vector>

namespace halvard {

/// A value of the defaults store. Kinds survive storing exactly: a string under a number's key stays a string.
struct StoredValue {
  using Array = std::vector<StoredValue>;
  using Dictionary = std::map<QString, StoredValue>;
  std::variant<bool, std::int64_t, std::uint64_t, double, QString, QDateTime, QByteArray, Array, Dictionary> value;

  bool operator==(const StoredValue&) const = default;

  /// True for bool, integers and reals.
  bool isNumber() const;

  /// The number converted to the target, or nothing when this is not a number or does not fit. A bool counts as 0 or 1,
  /// a number other than 0 as true; a real is truncated towards zero.
  std::optional<bool> toBool() const;
  std::optional<std::int64_t> toInteger() const;
  std::optional<std::uint64_t> toUnsigned() const;
  std::optional<double> toReal() const;

  /// The value if it is of that very kind.
  template <class T>
  const T* as() const {
    return std::get_if<T>(&value);
  }
};

}  // namespace halvard
