#include "platform/linux/procfs/zone_watermarks.h"

#include <algorithm>

#include "platform/linux/procfs/text_scanner.h"

namespace halvard {
namespace {

/// The largest number of "(0, 3019, 24090)" at the start of the text; 0 when there is none.
PageCount largestOfList(TextScanner& scanner) {
  PageCount largest = 0;
  if (!scanner.skip(" (")) return 0;
  while (const auto number = scanner.takeNumber()) {
    largest = std::max(largest, PageCount{*number});
    if (!scanner.skip(",")) break;
  }
  return largest;
}

}  // namespace

PageCount parseBackgroundReclaimMark(std::string_view text) {
  constexpr PageCount kMost = kLargestAmount >> 12;
  PageCount mark = 0;
  PageCount low = 0;
  PageCount managed = 0;
  for (TextScanner scanner(text); !scanner.atEnd(); scanner.takeLine()) {
    const std::string_view label = scanner.takeWord();
    if (label == "low") low = std::min(scanner.takeNumber().value_or(0), kMost);
    if (label == "managed") managed = scanner.takeNumber().value_or(0);
    if (label != "protection:") continue;
    const PageCount kept = low + std::min(largestOfList(scanner), kMost);
    mark = std::min(mark + std::min(managed, kept), kMost);
    low = 0;
    managed = 0;
  }
  return mark;
}

}  // namespace halvard
