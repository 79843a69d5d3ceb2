#pragma once

#include <cstdint>

#include "platform/ports/defaults_store.h"

namespace halvard {

/// The two crash settings. Every change is written out at once.
class CacheManager {
 public:
  /// `store` must outlive this object.
  explicit CacheManager(DefaultsStore& store) : m_store(store) {}

  /// 0 at first; nothing resets it.
  std::uint64_t crashesCount() const;
  void incrementCrashesCount();

  /// False at first.
  bool sendCrashReportsDisabled() const;
  void setSendCrashReportsDisabled(bool disabled);

 private:
  DefaultsStore& m_store;
};

}  // namespace halvard
