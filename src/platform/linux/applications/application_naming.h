#pragma once

#include <QHash>
#include <QString>
#include <cstdint>
#include <vector>

#include "platform/linux/gio/application_index.h"
#include "platform/linux/processes/process_facts.h"
#include "platform/linux/x11/x11_windows.h"
#include "platform/ports/process_table.h"
#include "platform/ports/running_applications.h"

namespace halvard {

/// A process that is an application.
struct NamedApplication {
  std::int32_t pid = 0;
  ActivationPolicy policy = ActivationPolicy::Prohibited;
  /// Null when no entry describes it.
  InstalledApplicationPointer entry;
  /// What to call it without an entry; empty when nothing is known.
  QString fallbackName;
  /// Path of the AppImage it runs from; empty when it does not.
  QByteArray appImage;
  /// The processes its windows belong to: itself, or those it started in its place.
  std::vector<std::int32_t> windowOwners;
};

struct NamedApplications {
  /// Oldest first. Regular and accessory ones only.
  std::vector<NamedApplication> applications;
  /// For processes in the unit of an application, that application's pid. No application is its own.
  QHash<std::int32_t, std::int32_t> groups;
};

/// What is known about processes, by pid.
using FactsByPid = QHash<std::int32_t, ProcessFacts>;

/// Decides which processes are applications. In this order, one is named by
/// 1. its unit, when it is the topmost process of that and an entry or a window goes with it;
/// 2. a window of its own, unless its starter stands for the same application and has none: then it is the starter's;
/// 3. the desktop entry it was launched for;
/// 4. the entry that starts its program, unless it descends from an application of that entry, as a browser's
///    processes do.
/// With a window an application is regular; without, its entry decides; without both it is none.
NamedApplications nameApplications(const std::vector<ProcessRecord>& processes, const FactsByPid& facts,
                                   const std::vector<ApplicationWindow>& windows, const ApplicationIndex& index);

}  // namespace halvard
