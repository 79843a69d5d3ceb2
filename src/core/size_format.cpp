#include "core/size_format.h"

#include <QStringList>
#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

namespace halvard::size_format {
namespace {

/// The shortest text of `value` with at most `maximumDigits` decimals, halves rounded to even, without trailing zeros.
QString trimmedDecimal(double value, int maximumDigits) {
  QString text = QString::asprintf("%.*f", maximumDigits, value);
  if (!text.contains(u'.')) return text;
  while (text.endsWith(u'0'))
    text.chop(1);
  if (text.endsWith(u'.')) text.chop(1);
  return text;
}

constexpr double kNextUnitFrom = 1000.0;
constexpr std::array kUnits{"KB", "MB", "GB", "TB"};

/// A count of 1000 bytes or more with three digits, by steps of 1024.
struct InUnit {
  double value;
  std::size_t unit;  // of kUnits
  int decimals;
};

InUnit inUnit(std::int64_t bytes, double nextUnitFrom) {
  double value = static_cast<double>(bytes) / 1024.0;
  std::size_t unit = 0;
  while (value >= nextUnitFrom && unit + 1 < kUnits.size()) {
    value /= 1024.0;
    ++unit;
  }
  return {value, unit, value < 10 ? 2 : value < 100 ? 1 : 0};
}

struct Scaled {
  double value;
  std::size_t divisions;
};

Scaled scaledByThousands(ByteCount bytes) {
  Scaled scaled{static_cast<double>(bytes), 0};
  do {
    scaled.value /= 1000.0;
    ++scaled.divisions;
  } while (scaled.value >= 1000.0);
  return scaled;
}

QString unitOf(std::size_t divisions) {
  static constexpr std::array units{"", " KB", " MB", " GB", " TB", " PB"};
  return divisions < units.size() ? QString::fromLatin1(units.at(divisions)) : QString();
}

QString plainBytes(ByteCount bytes) {
  return QString::number(bytes) + QStringLiteral(" B");
}

}  // namespace

QString stringFromSize(std::int64_t bytes) {
  return stringFromSize(bytes, kNextUnitFrom);
}

QString stringFromSize(std::int64_t bytes, double nextUnitFrom) {
  if (bytes <= 999) return QString::number(bytes) + QStringLiteral(" bytes");
  const InUnit size = inUnit(bytes, nextUnitFrom);
  return QString::asprintf("%1.*f %s", size.decimals, size.value, kUnits.at(size.unit));
}

QString stringFromDifference(std::int64_t bytes) {
  constexpr std::int64_t kLeast = -std::numeric_limits<std::int64_t>::max();
  return bytes < 0 ? u'-' + stringFromSize(-std::max(bytes, kLeast)) : stringFromSize(bytes);
}

QString formatMemoryStringDot0(ByteCount bytes) {
  if (bytes == 0) return QStringLiteral("Zero Bytes");
  if (bytes < 1000) return plainBytes(bytes);
  static constexpr std::array units{"B", "KB", "MB", "GB", "TB", "PB"};
  double value = static_cast<double>(bytes);
  for (const char* unit : units) {
    if (value < 1000.0) {
      const double fraction = value - std::floor(value);
      const bool showsDecimal = fraction >= 0.05 && fraction < 0.95 && value < 10;
      return QString::asprintf(showsDecimal ? "%1.1f %s" : "%1.0f %s", value, unit);
    }
    value /= 1000.0;
  }
  return QString::asprintf("%1.0f PB", value);
}

QString formatMemoryStringDot1(ByteCount bytes) {
  if (bytes < 1000) return plainBytes(bytes);
  const Scaled scaled = scaledByThousands(bytes);
  return trimmedDecimal(scaled.value, 1) + unitOf(scaled.divisions);
}

QString formatMemoryStringDot1With3DigitsExactly(ByteCount bytes) {
  if (bytes < 1000) return plainBytes(bytes);
  const Scaled scaled = scaledByThousands(bytes);
  const int decimals = scaled.value < 10 ? 2 : scaled.value < 100 ? 1 : 0;
  return trimmedDecimal(scaled.value, decimals) + unitOf(scaled.divisions);
}

QString convertToStringFromFileSize(ByteCount bytes) {
  return formatMemoryStringDot1(bytes);
}

QString convertToStringFromFileSizeSpecial(ByteCount bytes) {
  const QString text = formatMemoryStringDot1(bytes);
  const QStringList halves = text.split(u'.');
  if (halves.size() != 2 || halves[0].size() < 2) return text;
  const QStringList rest = halves[1].split(u' ');
  return rest.size() == 2 ? halves[0] + u' ' + rest[1] : text;
}

QString convertToStringFromFileSizeOnlyMB(ByteCount bytes) {
  const double megabytes = static_cast<double>(bytes) / 1e6;
  if (megabytes > 1000) {
    const auto whole = static_cast<long long>(megabytes);
    return QString::asprintf("%.0f %.3lld MB", std::floor(megabytes / 1000), whole % 1000);
  }
  if (megabytes > 1) return QString::asprintf("%.1f MB", megabytes);
  const double kilobytes = megabytes * 1000;
  if (kilobytes > 1) return QString::asprintf("%.0f KB", kilobytes);
  return QString::asprintf("%.0f B", megabytes * 1e6);
}

QString formatMemoryStringDot0NSnum(const QVariant& number) {
  return formatMemoryStringDot0(number.toULongLong());
}

QString formatMemoryStringDot1NSnum(const QVariant& number) {
  return formatMemoryStringDot1(number.toULongLong());
}

}  // namespace halvard::size_format
