#pragma once

#include <QStringList>

#include "platform/ports/object_store.h"

namespace halvard {

/// A store whose state a test sets. The context belongs to the caller, its state to this object.
class FakeObjectStore : public ObjectStore {
 public:
  Result<std::unique_ptr<ObjectContext>> open(const QString& file) override {
    opened << file;
    if (refusesToOpen) return Error{QStringLiteral("no store")};
    return std::unique_ptr<ObjectContext>(std::make_unique<Context>(*this));
  }

  QStringList opened;
  bool refusesToOpen = false;
  bool canCommit = true;
  bool changed = false;
  bool refusesToSave = false;
  int saves = 0;

 private:
  struct Context : ObjectContext {
    explicit Context(FakeObjectStore& owner) : store(owner) {}
    bool commitEditing() override { return store.canCommit; }
    bool hasChanges() const override { return store.changed; }
    Result<void> save() override {
      ++store.saves;
      if (store.refusesToSave) return Error{QStringLiteral("disk full")};
      store.changed = false;
      return {};
    }
    FakeObjectStore& store;
  };
};

}  // namespace halvard
