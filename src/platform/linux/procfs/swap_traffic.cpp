#include "platform/linux/procfs/swap_traffic.h"

#include <algorithm>
#include <array>

#include "platform/linux/procfs/text_scanner.h"

namespace halvard {
namespace {

enum Counter : std::size_t { In, Out, ZeroIn, ZeroOut, ZswapIn, ZswapOut, ZswapWritten, Count };

constexpr std::array<std::string_view, Count> kNames{"pswpin", "pswpout", "swpin_zero", "swpout_zero",
                                                     "zswpin", "zswpout", "zswpwb"};

}  // namespace

std::optional<SwapTraffic> parseSwapTraffic(std::string_view text, std::uint32_t pageSize) {
  std::array<std::optional<std::uint64_t>, Count> pages;
  for (TextScanner scanner(text); !scanner.atEnd(); scanner.takeLine()) {
    const auto name = std::ranges::find(kNames, scanner.takeWord());
    if (name == kNames.end()) continue;
    auto& counter = pages[static_cast<std::size_t>(name - kNames.begin())];
    if (!counter) counter = scanner.takeNumber();
    if (counter && *counter > kLargestAmount / pageSize) return std::nullopt;
  }
  if (!pages[In] || !pages[Out]) return std::nullopt;
  const auto count = [&](Counter counter) { return pages[counter].value_or(0); };
  const std::uint64_t takenByZswap = count(ZswapOut) - std::min(count(ZswapOut), count(ZswapWritten));
  return SwapTraffic{(count(Out) + count(ZeroOut) + takenByZswap) * pageSize,
                     (count(In) + count(ZeroIn) + count(ZswapIn)) * pageSize};
}

}  // namespace halvard
