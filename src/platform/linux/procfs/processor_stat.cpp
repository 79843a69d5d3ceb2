#include "platform/linux/procfs/processor_stat.h"

#include <algorithm>

#include "platform/linux/procfs/text_scanner.h"

namespace halvard {
namespace {

constexpr std::uint64_t kHighestProcessor = 65535;

/// The numbers behind a processor's name: user nice system idle iowait irq softirq steal, then more.
std::optional<ProcessorCounters> takeCounters(TextScanner& line) {
  std::array<std::uint64_t, 8> ticks;
  for (std::uint64_t& value : ticks) {
    const std::optional<std::uint64_t> number = line.takeNumber();
    if (!number) return std::nullopt;
    value = *number;
  }
  const auto [user, nice, system, idle, iowait, irq, softirq, steal] = ticks;
  ProcessorCounters counters;
  counters[CPU_STATE_USER] = user;
  counters[CPU_STATE_SYSTEM] = system + irq + softirq + steal;
  counters[CPU_STATE_IDLE] = idle + iowait;
  counters[CPU_STATE_NICE] = nice;
  return counters;
}

}  // namespace

bool parseProcessorStat(std::string_view text, std::span<ProcessorCounters> processors) {
  TextScanner scanner(text);
  if (!scanner.skip("cpu ")) return false;
  scanner.takeLine();
  while (scanner.skip("cpu")) {
    const std::optional<std::uint64_t> number = scanner.takeNumber();
    const std::optional<ProcessorCounters> counters = takeCounters(scanner);
    if (!number || !counters) return false;
    if (*number < processors.size()) processors[*number] = *counters;
    scanner.takeLine();
  }
  // The end of the text, or of what could be read, may stand inside the next processor's name.
  return !std::string_view("cpu").starts_with(scanner.rest());
}

std::optional<std::uint32_t> parseProcessorList(std::string_view text) {
  TextScanner scanner(text);
  std::uint64_t highest = 0;
  do {
    const std::optional<std::uint64_t> first = scanner.takeNumber();
    const std::optional<std::uint64_t> last = scanner.skip("-") ? scanner.takeNumber() : first;
    if (!first || !last || *last < *first || *last > kHighestProcessor) return std::nullopt;
    highest = std::max(highest, *last);
  } while (scanner.skip(","));
  if (scanner.rest() != "\n") return std::nullopt;
  return static_cast<std::uint32_t>(highest + 1);
}

}  // namespace halvard
