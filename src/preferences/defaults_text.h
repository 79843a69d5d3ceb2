#pragma once

#include <QJsonValue>
#include <QString>

#include "core/result.h"
#include "platform/ports/stored_value.h"

/// Stored values as a command line shows and takes them.
namespace halvard {

/// A value from a kind word and a text:
///   -bool    true, false, yes, no, 1 or 0, in any case
///   -int     a whole number; one that only fits 64 bits without a sign becomes unsigned
///   -float   a number like 0.8, -1e3, inf or nan
///   -string  the text as it stands
///   -date    ISO 8601 with a zone, like 2024-01-15T12:00:00.250+01:00, or @ and the seconds since 1970 (UTC)
/// The error is one line that says what would be right.
Result<StoredValue> parseStoredValue(const QString& kindWord, const QString& text);

/// "-bool", "-int" (for unsigned too), "-float", "-string", "-date", "-data", "-array" or "-dictionary".
QString kindWord(const StoredValue& stored);

/// One line (unless a string itself has more). For the kinds that parseStoredValue() takes, it gives the value again;
/// a small unsigned as a signed number. Data is Base64; arrays and dictionaries are the JSON of their "value".
QString storedValueText(const StoredValue& stored);

/// {"kind": …, "value": …}, from which storedValueFromJson() makes the identical value (but for the payload of a NaN).
/// Kinds: bool, integer, unsigned, real, string, date, data, array, dictionary. Numbers that JSON readers round, and
/// those that JSON has not, are strings; dates and data as in storedValueText(), an invalid date is null.
QJsonValue storedValueToJson(const StoredValue& stored);
Result<StoredValue> storedValueFromJson(const QJsonValue& json);

}  // namespace halvard
