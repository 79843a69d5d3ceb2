#include "lifecycle/document_store.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <utility>

#include "core/alert.h"

namespace halvard {

DocumentStore::DocumentStore(ObjectStore& store, AlertPresenter& alerts, std::optional<QString> applicationSupport)
    : m_store(store), m_alerts(alerts), m_applicationSupport(std::move(applicationSupport)) {}

Result<QString> DocumentStore::applicationFilesDirectory() const {
  if (!m_applicationSupport) return Error{tr("There is no folder for application data.")};
  const QString folder = *m_applicationSupport + QStringLiteral("/Kelvo");
  const QFileInfo information(folder);
  if (information.exists() && !information.isDir())
    return Error{tr("Expected a folder to store application data, found a file (%1).").arg(folder)};
  if (!QDir().mkpath(folder)) return Error{tr("The folder %1 cannot be made.").arg(folder)};
  return folder;
}

ObjectContext* DocumentStore::managedObjectContext() {
  if (m_context) return m_context.get();
  const Result<QString> folder = applicationFilesDirectory();
  if (!folder) {
    presentError(tr("Failed to initialize the store"), folder.error().message);
    return nullptr;
  }
  auto opened = m_store.open(folder.value() + QStringLiteral("/Kelvo.storedata"));
  if (!opened) {
    qWarning().noquote() << opened.error().message;
    presentError(tr("Failed to initialize the store"), tr("There was an error building up the data file."));
    return nullptr;
  }
  m_context = std::move(opened).value();
  return m_context.get();
}

bool DocumentStore::applicationShouldTerminate() {
  if (!m_context) return true;
  if (!m_context->commitEditing()) return false;
  if (!m_context->hasChanges()) return true;
  const Result<void> saved = m_context->save();
  if (saved) return true;
  presentError(tr("The changes could not be saved."), saved.error().message);
  return quitAnyway();
}

bool DocumentStore::quitAnyway() {
  const AlertAnswer answer =
      m_alerts.runModal({.message = tr("Could not save changes while quitting. Quit anyway?"),
                         .informativeText = tr("Quitting now will lose any changes you have made since the last "
                                               "successful save"),
                         .buttons = {tr("Quit anyway"), tr("Cancel")}});
  return answer.button == 0;
}

void DocumentStore::presentError(const QString& description, const QString& reason) {
  qWarning().noquote() << errorDomain() + QStringLiteral(": ") + description + QStringLiteral(": ") + reason;
  m_alerts.runModal({.message = description, .informativeText = reason, .buttons = {tr("OK")}, .isCritical = true});
}

}  // namespace halvard
