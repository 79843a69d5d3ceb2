#pragma once

#include <QString>
#include <QVariant>
#include <cstdint>

#include "core/units.h"

/// Byte counts as text. No text here is localised: the decimal separator is always a point.
namespace halvard::size_format {

/// Steps of 1024, the next unit from 1000 on, three significant digits: "999 bytes", "0.98 KB", "10.0 GB", "100 GB".
/// TB is the last unit. A negative count is printed in bytes.
QString stringFromSize(std::int64_t bytes);

/// The same with the next unit from `nextUnitFrom` on.
QString stringFromSize(std::int64_t bytes, double nextUnitFrom);

/// The same for what may be a loss: a negative count is the amount with a sign, "-1.50 MB".
QString stringFromDifference(std::int64_t bytes);

/// Steps of 1000: "Zero Bytes", "999 B", "1.5 MB", "16 MB". From 10^18 on a figure in PB after one division too many.
QString formatMemoryStringDot0(ByteCount bytes);

/// Steps of 1000, at most one decimal, rounded half to even: "999 B", "1.5 MB", "2 GB". No unit from 10^18 on.
QString formatMemoryStringDot1(ByteCount bytes);

/// Like formatMemoryStringDot1() with at most three significant digits.
QString formatMemoryStringDot1With3DigitsExactly(ByteCount bytes);

/// The same as formatMemoryStringDot1().
QString convertToStringFromFileSize(ByteCount bytes);

/// Like formatMemoryStringDot1(), the decimal dropped from figures of two and more digits: "1.5 MB", "15 MB".
QString convertToStringFromFileSizeSpecial(ByteCount bytes);

/// Megabytes with grouped thousands ("12 345 MB"), below one megabyte KB or B.
QString convertToStringFromFileSizeOnlyMB(ByteCount bytes);

/// formatMemoryStringDot0() and formatMemoryStringDot1() of a number of any type, read as unsigned 64-bit.
QString formatMemoryStringDot0NSnum(const QVariant& number);
QString formatMemoryStringDot1NSnum(const QVariant& number);

}  // namespace halvard::size_format
