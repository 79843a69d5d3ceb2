#include "platform/linux/sqlite/defaults_changes.h"

#include <utility>

namespace halvard {

void DefaultsChanges::append(DefaultsChanges later) {
  if (later.clear) {
    *this = std::move(later);
    return;
  }
  for (auto& [key, value] : later.values)
    values.insert_or_assign(key, std::move(value));
}

void DefaultsChanges::applyTo(DefaultsValues& domain) const {
  if (clear) domain.clear();
  for (const auto& [key, value] : values) {
    if (value) {
      domain.insert_or_assign(key, *value);
    } else {
      domain.erase(key);
    }
  }
}

}  // namespace halvard
