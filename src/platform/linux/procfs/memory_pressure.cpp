#include "platform/linux/procfs/memory_pressure.h"

#include <array>
#include <limits>

#include "platform/linux/procfs/text_scanner.h"

namespace halvard {
namespace {

/// "12.34" as 1234.
std::optional<std::uint32_t> takePercentage(TextScanner& scanner) {
  const std::optional<std::uint64_t> whole = scanner.takeNumber();
  if (!whole || *whole > 100 || !scanner.skip(".")) return std::nullopt;
  const std::size_t before = scanner.rest().size();
  const std::optional<std::uint64_t> hundredths = scanner.takeNumber();
  if (!hundredths || before - scanner.rest().size() != 2) return std::nullopt;
  return static_cast<std::uint32_t>(*whole * 100 + *hundredths);
}

/// What follows the name of a line.
std::optional<MemoryPressure> parseAverages(TextScanner scanner) {
  if (!scanner.skip("avg10=")) return std::nullopt;
  const std::optional<std::uint32_t> average10 = takePercentage(scanner);
  if (!average10 || *average10 > 10000 || !scanner.skip(" avg60=") || !takePercentage(scanner)) return std::nullopt;
  if (!scanner.skip(" avg300=") || !takePercentage(scanner) || !scanner.skip(" total=")) return std::nullopt;
  const std::optional<std::uint64_t> total = scanner.takeNumber();
  if (!total || *total > std::numeric_limits<std::int64_t>::max()) return std::nullopt;
  return MemoryPressure{*average10, std::chrono::microseconds(*total)};
}

}  // namespace

std::optional<MemoryPressure> parseMemoryPressure(std::string_view text, PressureLine line) {
  for (TextScanner scanner(text); !scanner.atEnd(); scanner.takeLine()) {
    // The line's newline stays in view: a total without it may have been cut off.
    if (scanner.skip(line == PressureLine::Full ? "full " : "some ")) return parseAverages(scanner);
  }
  return std::nullopt;
}

MemoryPressureReader::MemoryPressureReader(const std::string& procRoot, PressureLine line)
    : m_line(line), m_file(procRoot + "/pressure/memory") {}

std::optional<MemoryPressure> MemoryPressureReader::read() {
  std::array<char, 512> buffer;
  return parseMemoryPressure(m_file.read(buffer), m_line);
}

}  // namespace halvard
