#pragma once

#include <QString>
#include <cstdint>

namespace halvard::test {

/// A zram swap device for the length of a test, when none is active and one is idle. Needs root.
class ZramSwap {
 public:
  ZramSwap() = default;
  ~ZramSwap();
  ZramSwap(const ZramSwap&) = delete;
  ZramSwap& operator=(const ZramSwap&) = delete;

  /// Sees to an active zram swap: one that is there already, or a new one that holds `bytes` before compression.
  /// Empty on success, else the reason why there is none.
  QString start(std::uint64_t bytes);

 private:
  bool m_ours = false;
};

}  // namespace halvard::test
