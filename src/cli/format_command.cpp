#include "cli/format_command.h"

#include <QVariant>
#include <algorithm>
#include <array>
#include <functional>

#include "core/size_format.h"

namespace halvard {
namespace {

struct Formatter {
  const char* name;
  QString (*format)(ByteCount bytes);
};

constexpr std::array kUnsignedFormatters{
    Formatter{"formatMemoryStringDot0", size_format::formatMemoryStringDot0},
    Formatter{"formatMemoryStringDot1", size_format::formatMemoryStringDot1},
    Formatter{"formatMemoryStringDot1With3DigitsExactly", size_format::formatMemoryStringDot1With3DigitsExactly},
    Formatter{"convertToStringFromFileSize", size_format::convertToStringFromFileSize},
    Formatter{"convertToStringFromFileSizeSpecial", size_format::convertToStringFromFileSizeSpecial},
    Formatter{"convertToStringFromFileSizeOnlyMB", size_format::convertToStringFromFileSizeOnlyMB},
    Formatter{"formatMemoryStringDot0NSnum",
              [](ByteCount bytes) { return size_format::formatMemoryStringDot0NSnum(QVariant::fromValue(bytes)); }},
    Formatter{"formatMemoryStringDot1NSnum",
              [](ByteCount bytes) { return size_format::formatMemoryStringDot1NSnum(QVariant::fromValue(bytes)); }},
};

const QString kSigned = QStringLiteral("stringFromSize");

QString formatterNames() {
  QStringList names{kSigned};
  for (const Formatter& formatter : kUnsignedFormatters) names << QString::fromLatin1(formatter.name);
  return names.join(QStringLiteral(", "));
}

}  // namespace

int runFormatCommand(const QStringList& arguments, const CommandOutput& output) {
  if (arguments.size() != 2) return output.fail(QStringLiteral("usage: format NAME BYTES"), kExitUsage);
  const QString& name = arguments[0];
  bool isNumber = false;
  if (name == kSigned) {
    const qint64 bytes = arguments[1].toLongLong(&isNumber);
    if (!isNumber) return output.fail(QStringLiteral("BYTES must be a whole number, not '%1'").arg(arguments[1]), kExitUsage);
    output.print(size_format::stringFromSize(bytes));
    return kExitSuccess;
  }
  const auto found = std::find_if(kUnsignedFormatters.begin(), kUnsignedFormatters.end(),
                                  [&](const Formatter& entry) { return name == QLatin1String(entry.name); });
  if (found == kUnsignedFormatters.end()) {
    return output.fail(QStringLiteral("unknown formatter '%1': %2").arg(name, formatterNames()), kExitUsage);
  }
  const quint64 bytes = arguments[1].toULongLong(&isNumber);
  if (!isNumber) {
    return output.fail(QStringLiteral("BYTES must be a whole number from 0 on, not '%1'").arg(arguments[1]), kExitUsage);
  }
  output.print(found->format(bytes));
  return kExitSuccess;
}

}  // namespace halvard
