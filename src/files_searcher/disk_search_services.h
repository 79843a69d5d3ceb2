#pragma once

#include <QByteArray>
#include <vector>

#include "core/clock.h"
#include "core/units.h"
#include "files_searcher/bundle_exclude_list.h"
#include "files_searcher/paths_generator.h"
#include "platform/ports/application_catalog.h"
#include "platform/ports/background_priority.h"
#include "platform/ports/defaults_store.h"
#include "platform/ports/file_metadata_query.h"
#include "platform/ports/folder_reader.h"
#include "platform/ports/last_used_dates.h"

namespace halvard {

/// What the searchers work with. All of it must outlive them.
struct DiskSearchServices {
  Clock& clock;
  const FolderReader& reader;
  const ApplicationCatalog& catalog;
  const LastUsedDates& lastUsedDates;
  const BackgroundPriority& priority;
  const PathsGenerator& paths;
  const BundleExcludeList& excludeList;
  FileMetadataQueryService& queries;
  /// Writes what is found to the log.
  bool showsCalculationLog = false;
};

/// What `showsCalculationLog` is to be by the stored settings.
bool isCalculationLogWanted(const DefaultsStore& store);

/// One file or application that counts.
struct FoundFile {
  QByteArray path;
  ByteCount size;
  bool operator==(const FoundFile&) const = default;
};

}  // namespace halvard
