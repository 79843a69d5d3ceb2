#pragma once

#include <QByteArray>
#include <QString>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <variant>

#include "platform/ports/stored_value.h"

namespace halvard {

/// What a cell of an SQLite table can hold: NULL, INTEGER, REAL, TEXT and BLOB.
using SqliteValue = std::variant<std::nullptr_t, std::int64_t, double, QString, QByteArray>;

/// A stored value as the settings file holds it. Readable with the sqlite3 program wherever a cell can show it:
///
///   kind        value
///   bool        0 or 1
///   integer     the number
///   unsigned    the number as text (a cell cannot hold all 64 bits unsigned)
///   real        the number; NaN, infinities and -0.0, which a cell does not keep, as the 8 bytes of the IEEE format
///   string      the text (as UTF-8: half a surrogate pair becomes U+FFFD)
///   date        milliseconds since 1970-01-01 00:00 UTC; NULL for an invalid date
///   data        the bytes
///   array, dictionary   CBOR, each element by its kind; an unsigned as tag 2 over 8 bytes, a date as
///                       tag 0x48444154 over the milliseconds or null
struct EncodedValue {
  QString kind;
  SqliteValue value;
};

EncodedValue encode(const StoredValue& stored);

/// Nothing when kind and value do not go together or the kind is not known.
std::optional<StoredValue> decode(const EncodedValue& encoded);

}  // namespace halvard
