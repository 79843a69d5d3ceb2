#pragma once

#include <QString>
#include <memory>

#include "core/result.h"

namespace halvard {

/// The records of one store file, with the changes made to them since the last save. Main thread.
class ObjectContext {
 public:
  virtual ~ObjectContext() = default;
  /// Takes over what is still being edited. False when something of it cannot be.
  virtual bool commitEditing() = 0;
  virtual bool hasChanges() const = 0;
  /// After a failure the changes are still there.
  virtual Result<void> save() = 0;
};

/// Opens store files. Main thread.
class ObjectStore {
 public:
  virtual ~ObjectStore() = default;
  /// Makes the file when it is missing; its folder must exist.
  virtual Result<std::unique_ptr<ObjectContext>> open(const QString& file) = 0;
};

}  // namespace halvard
