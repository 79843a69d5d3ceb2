#pragma once

#include "platform/linux/files/idle_priority.h"
#include "platform/linux/files/linux_application_catalog.h"
#include "platform/linux/files/linux_folder_access.h"
#include "platform/linux/files/linux_folder_reader.h"
#include "platform/linux/files/linux_last_used_dates.h"
#include "platform/linux/files/linux_search_mounts.h"
#include "platform/linux/files/xdg_standard_folders.h"

namespace halvard {

/// Everything of a Linux machine that the disk search stands on.
struct LinuxDisk {
  LinuxFolderReader reader;
  LinuxSearchMounts mounts;
  LinuxApplicationCatalog catalog;
  LinuxLastUsedDates lastUsedDates{LinuxLastUsedDates::defaultList()};
  LinuxFolderAccess access;
  IdlePriority priority;
  XdgStandardFolders folders;
};

}  // namespace halvard
