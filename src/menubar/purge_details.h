#pragma once

#include <QString>

namespace halvard {

struct PurgeReport;

/// What the panel tells about a purge beside the figure of its gain.
struct PurgeDetails {
  /// One line for the width of the panel; empty when there is nothing to tell.
  QString line;
  /// The same for half of it.
  QString shortLine;
  /// The whole ledger and how memory was freed, in lines of a readable length.
  QString hint;
};

PurgeDetails purgeDetails(const PurgeReport& report);

}  // namespace halvard
