#include "cli/list_options.h"

namespace halvard {

std::optional<ListOptions> parseListOptions(QStringList words) {
  ListOptions options;
  while (!words.isEmpty()) {
    const QString word = words.takeFirst();
    if (word == QStringLiteral("--json")) {
      options.json = true;
      continue;
    }
    bool isNumber = false;
    const int count = word == QStringLiteral("-n") && !words.isEmpty() ? words.takeFirst().toInt(&isNumber) : 0;
    if (!isNumber || count < 0) return std::nullopt;
    options.count = count;
  }
  return options;
}

}  // namespace halvard
