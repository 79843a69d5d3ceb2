#include "platform/linux/procfs/memory_info.h"

#include <array>
#include <cstdint>

#include "platform/linux/procfs/text_scanner.h"

namespace halvard {
namespace {

struct Line {
  std::string_view name;
  ByteCount MemoryInfo::*member;
};

// In the order of the file, so that the search below mostly hits at once; the last three may be missing.
constexpr std::array<Line, 15> kLines{{
    {"MemTotal:", &MemoryInfo::total},
    {"MemFree:", &MemoryInfo::free},
    {"MemAvailable:", &MemoryInfo::available},
    {"Active:", &MemoryInfo::active},
    {"Inactive:", &MemoryInfo::inactive},
    {"Active(anon):", &MemoryInfo::activeAnonymous},
    {"Inactive(anon):", &MemoryInfo::inactiveAnonymous},
    {"SwapTotal:", &MemoryInfo::swapTotal},
    {"SwapFree:", &MemoryInfo::swapFree},
    {"AnonPages:", &MemoryInfo::anonymousMapped},
    {"Shmem:", &MemoryInfo::shared},
    {"SReclaimable:", &MemoryInfo::reclaimableSlab},
    {"SwapCached:", &MemoryInfo::swapCached},
    {"Zswap:", &MemoryInfo::zswapPool},
    {"Zswapped:", &MemoryInfo::zswapContents},
}};
constexpr std::uint32_t kAll = (1U << kLines.size()) - 1;
constexpr std::uint32_t kRequired = kAll >> 3;

/// The rest of a line behind its name: "  24684084 kB".
std::optional<ByteCount> parseKilobytes(std::string_view text) {
  TextScanner scanner(text);
  const std::optional<std::uint64_t> number = scanner.takeNumber();
  if (!number || *number > kLargestAmount / 1024 || scanner.rest() != " kB") return std::nullopt;
  return *number * 1024;
}

}  // namespace

std::optional<MemoryInfo> parseMemoryInfo(std::string_view text) {
  MemoryInfo info;
  std::uint32_t found = 0;
  for (TextScanner scanner(text); !scanner.atEnd() && found != kAll;) {
    TextScanner line(scanner.takeLine());
    for (std::size_t index = 0; index < kLines.size(); ++index) {
      if (found & (1U << index) || !line.skip(kLines[index].name)) continue;
      const std::optional<ByteCount> bytes = parseKilobytes(line.rest());
      if (!bytes) return std::nullopt;
      info.*kLines[index].member = *bytes;
      found |= 1U << index;
      break;
    }
  }
  if ((found & kRequired) != kRequired || info.total == 0) return std::nullopt;
  return info;
}

PageCount parseProcessorFreePages(std::string_view text) {
  constexpr std::string_view kLabel = " count:";
  constexpr PageCount kMost = kLargestAmount >> 12;
  PageCount sum = 0;
  for (std::size_t at = text.find(kLabel); at != std::string_view::npos; at = text.find(kLabel, at + 1)) {
    TextScanner scanner(text.substr(at + kLabel.size()));
    const std::optional<std::uint64_t> pages = scanner.takeNumber();
    if (!pages || !scanner.skip("\n")) continue;
    if (*pages > kMost - sum) return 0;
    sum += *pages;
  }
  return sum;
}

}  // namespace halvard
