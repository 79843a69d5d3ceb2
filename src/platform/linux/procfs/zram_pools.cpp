#include "platform/linux/procfs/zram_pools.h"

#include <array>
#include <filesystem>
#include <system_error>

#include "platform/linux/procfs/swap_devices.h"
#include "platform/linux/procfs/text_scanner.h"

namespace halvard {

ZramPools::ZramPools(const std::string& sysRoot) : m_blockFolder(sysRoot + "/block") {}

void ZramPools::discover() {
  m_statistics.clear();
  std::error_code failure;
  std::filesystem::directory_iterator entry(m_blockFolder, failure);
  while (!failure && entry != std::filesystem::directory_iterator()) {
    if (zramNumber(entry->path().filename().native())) {
      m_statistics.emplace_back(entry->path().native() + "/mm_stat");
    }
    entry.increment(failure);
  }
}

std::optional<ByteCount> ZramPools::occupiedBytes() {
  ByteCount sum = 0;
  for (KeptFile& file : m_statistics) {
    std::array<char, 256> buffer;
    const std::optional<ZramStatistics> statistics = parseZramStatistics(file.read(buffer));
    if (!statistics) return std::nullopt;
    sum += statistics->pool;
    if (sum > kLargestAmount) return std::nullopt;
  }
  return sum;
}

std::optional<ByteCount> zramContents(const std::string& sysRoot, std::uint32_t number) {
  std::array<char, 256> buffer;
  const std::string path = sysRoot + "/block/zram" + std::to_string(number) + "/mm_stat";
  const std::optional<ZramStatistics> statistics = parseZramStatistics(readFile(path, buffer));
  return statistics ? std::optional(statistics->contents) : std::nullopt;
}

}  // namespace halvard
