#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/units.h"
#include "platform/linux/procfs/kept_file.h"

namespace halvard {

/// The machine's zram devices, with the statistics file of each kept open. One thread.
class ZramPools {
 public:
  explicit ZramPools(const std::string& sysRoot = "/sys");

  /// Lists the devices anew.
  void discover();
  /// Bytes of RAM that all pools found by discover() occupy: one pread a pool. Nothing when one of them cannot be read,
  /// as after its removal.
  std::optional<ByteCount> occupiedBytes();

 private:
  std::string m_blockFolder;
  std::vector<KeptFile> m_statistics;
};

/// Bytes, before compression, that zram device `number` holds.
std::optional<ByteCount> zramContents(const std::string& sysRoot, std::uint32_t number);

}  // namespace halvard
