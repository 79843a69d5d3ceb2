#pragma once

#include "platform/ports/object_store.h"

namespace halvard {

/// Store files that are SQLite databases. What is changed between two saves is one transaction.
class SqliteObjectStore : public ObjectStore {
 public:
  Result<std::unique_ptr<ObjectContext>> open(const QString& file) override;
};

}  // namespace halvard
