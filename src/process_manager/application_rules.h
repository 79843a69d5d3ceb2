#pragma once

#include "process_manager/application_entry.h"

namespace halvard {

/// Where an application goes when a list is built.
enum class Placement {
  /// Listed.
  Apps,
  /// Folded into the application it belongs to, if that is listed.
  Helpers,
  /// Neither listed nor counted anywhere.
  Dropped,
};

/// By the application's present policy; what the entry lacks is asked of the application again.
Placement placementOf(const ApplicationEntry& entry);

/// True when a process of the name `helper` counts for an application of the name `app`, whatever its ancestors.
bool isHelperByName(const std::optional<QString>& helper, const std::optional<QString>& app);

}  // namespace halvard
