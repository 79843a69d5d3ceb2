#pragma once

#include <QString>
#include <map>
#include <optional>

#include "platform/ports/stored_value.h"

namespace halvard {

/// A domain: its values by key.
using DefaultsValues = std::map<QString, StoredValue>;

/// What is to become of a domain.
struct DefaultsChanges {
  /// Forget every key first.
  bool clear = false;
  /// Nothing removes the key.
  std::map<QString, std::optional<StoredValue>> values;

  bool isEmpty() const { return !clear && values.empty(); }
  /// Applies `later` on top.
  void append(DefaultsChanges later);
  void applyTo(DefaultsValues& domain) const;
};

}  // namespace halvard
