#include "platform/linux/procfs/swap_devices.h"

#include <charconv>

#include "platform/linux/procfs/text_scanner.h"

namespace halvard {
namespace {

/// One line: file name, type, size and use in kB, priority. Blanks inside the name stand as octal escapes.
bool addSwapArea(std::string_view line, SwapDevices& devices) {
  TextScanner scanner(line);
  std::string_view name = scanner.takeWord();
  const std::string_view type = scanner.takeWord();
  const std::optional<std::uint64_t> size = scanner.takeNumber();
  const std::optional<std::uint64_t> used = scanner.takeNumber();
  const bool whole = size && used && *used <= *size && !type.empty() && !scanner.takeWord().empty();
  if (!whole || *used > kLargestAmount / 1024) return false;

  constexpr std::string_view kFolder = "/dev/";
  const bool device = name.starts_with(kFolder);
  if (device) name.remove_prefix(kFolder.size());
  const std::optional<std::uint32_t> number = device ? zramNumber(name) : std::nullopt;
  if (number) {
    if (devices.zramCount == SwapDevices::kMaxZram) return false;
    devices.zramNumbers[devices.zramCount++] = *number;
    return true;
  }
  devices.usedElsewhere += *used * 1024;
  return devices.usedElsewhere <= kLargestAmount;
}

}  // namespace

std::optional<ZramStatistics> parseZramStatistics(std::string_view text) {
  TextScanner scanner(text);
  const std::optional<std::uint64_t> contents = scanner.takeNumber();
  const std::optional<std::uint64_t> compressed = scanner.takeNumber();
  const std::optional<std::uint64_t> pool = scanner.takeNumber();
  if (!contents || !compressed || !pool) return std::nullopt;
  if (*contents > kLargestAmount || *pool > kLargestAmount) return std::nullopt;
  return ZramStatistics{*contents, *pool};
}

std::optional<SwapDevices> parseSwapDevices(std::string_view text) {
  TextScanner scanner(text);
  if (!scanner.takeLine().starts_with("Filename")) return std::nullopt;
  SwapDevices devices;
  while (!scanner.atEnd()) {
    if (!addSwapArea(scanner.takeLine(), devices)) return std::nullopt;
  }
  return devices;
}

std::optional<std::uint32_t> zramNumber(std::string_view name) {
  constexpr std::string_view kPrefix = "zram";
  if (!name.starts_with(kPrefix)) return std::nullopt;
  name.remove_prefix(kPrefix.size());
  std::uint32_t number = 0;
  const char* const end = name.data() + name.size();
  const auto [next, error] = std::from_chars(name.data(), end, number);
  if (error != std::errc() || next != end) return std::nullopt;
  return number;
}

}  // namespace halvard
