#pragma once

#include <QString>
#include <QUrl>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

#include "core/units.h"
#include "platform/ports/running_applications.h"

namespace halvard {

/// One application in a list, as it was when the list was built.
struct ApplicationEntry {
  std::int32_t pid = 0;
  /// Resident memory, that of the folded helpers included. Every list of ProcessesManager fills it.
  std::optional<ByteCount> size;
  /// Keeps the identity of the process: a later process with the same pid is not this application.
  std::shared_ptr<RunningApplication> app;
  std::optional<QString> name;
  /// Name of a themed icon, or the absolute path of an image.
  std::optional<QString> icon;
  /// The desktop entry or bundle; a local file.
  std::optional<QUrl> url;
  /// Pids of the processes whose memory is part of `size`, in the order they were folded in.
  std::vector<std::int32_t> helpers;
};

using ApplicationEntries = std::vector<ApplicationEntry>;

/// A finished list, largest first. Immutable and shared: the thread that builds lists never writes into one it has
/// handed out, so any number of clients read it without a lock, and each keeps seeing the pass it was given.
using ApplicationList = std::shared_ptr<const ApplicationEntries>;

}  // namespace halvard
