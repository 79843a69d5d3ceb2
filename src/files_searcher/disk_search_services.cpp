#include "files_searcher/disk_search_services.h"

#include "preferences/stored_keys.h"

namespace halvard {

bool isCalculationLogWanted(const DefaultsStore& store) {
  const auto wanted = store.objectForKey(stored_keys::testShowCalculationLog);
  return wanted && wanted->toBool().value_or(false);
}

}  // namespace halvard
