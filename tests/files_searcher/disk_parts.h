#pragma once

#include "files_searcher/disk_search_services.h"
#include "files_searcher/disk_tree.h"
#include "platform/fake/fake_clock.h"
#include "platform/fake/fake_defaults_store.h"
#include "platform/fake/fake_disk.h"
#include "platform/linux/files/linux_folder_reader.h"

namespace halvard {

/// What a search stands on: a home folder of its own, and queries that the test answers.
struct DiskParts {
  DiskParts() {
    for (const char* folder : {".cache", "Downloads", ".local", ".local/share", ".local/share/Trash", "opt", "Library"})
      tree.addFolder(folder);
  }
  /// Lets the junk searcher start, and everything come to rest that needs no answer.
  void startJunk() {
    for (const int step : {0, 200, 200, 200})
      clock.advance(std::chrono::milliseconds(step));
  }

  DiskTree tree;
  FakeClock clock;
  FakeDefaultsStore store;
  LinuxFolderReader reader;
  FakeApplicationCatalog catalog;
  FakeLastUsedDates dates;
  FakeBackgroundPriority priority;
  FakeStandardFolders folders{tree.path()};
  PathsGenerator paths{folders};
  BundleExcludeList excludeList;
  FakeFileMetadataQueries queries;
  DiskSearchServices services{clock, reader, catalog, dates, priority, paths, excludeList, queries};
};

}  // namespace halvard
