#pragma once

#include <QStringList>
#include <optional>

namespace halvard {

/// The words behind a command that prints a list: `[-n N] [--json]`.
struct ListOptions {
  /// At most so many entries; nothing: all of them.
  std::optional<int> count;
  bool json = false;
};

/// Nothing when a word is off.
std::optional<ListOptions> parseListOptions(QStringList words);

}  // namespace halvard
