#pragma once

#include <QCoreApplication>
#include <QString>
#include <memory>
#include <optional>

#include "core/result.h"
#include "platform/ports/object_store.h"

namespace halvard {

class AlertPresenter;

/// The program's document store, "Kelvo.storedata" in the folder "Kelvo" of the user's application support. Nothing is
/// made before it is asked for, and nothing of the program writes records: it has a say when the program ends. Main
/// thread.
class DocumentStore {
  Q_DECLARE_TR_FUNCTIONS(DocumentStore)

 public:
  /// Of every error of the store; part of the line in the log.
  static QString errorDomain() { return QStringLiteral("YOUR_ERROR_DOMAIN"); }

  /// `applicationSupport` is $XDG_DATA_HOME; nothing when there is none. The references outlive this object.
  DocumentStore(ObjectStore& store, AlertPresenter& alerts, std::optional<QString> applicationSupport);

  /// Made by the first call. Null, after the reason has been presented, when it cannot be; the next call tries again.
  ObjectContext* managedObjectContext();

  /// Whether the program may end: saves what is unsaved, and asks when that fails.
  bool applicationShouldTerminate();

 private:
  Result<QString> applicationFilesDirectory() const;
  bool quitAnyway();
  /// Returns after the user has read it.
  void presentError(const QString& description, const QString& reason);

  ObjectStore& m_store;
  AlertPresenter& m_alerts;
  const std::optional<QString> m_applicationSupport;
  std::unique_ptr<ObjectContext> m_context;
};

}  // namespace halvard
