#include "lifecycle/move_to_applications.h"

#include <QFile>
#include <QFileInfo>
#include <algorithm>
#include <utility>

#include "core/alert.h"
#include "files_searcher/path_utilities.h"
#include "lifecycle/bundle_copy.h"
#include "lifecycle/own_bundle.h"
#include "platform/ports/defaults_store.h"
#include "platform/ports/running_copies.h"
#include "platform/ports/standard_folders.h"
#include "preferences/stored_keys.h"

namespace halvard {

MoveToApplications::MoveToApplications(const MoveServices& services, std::optional<QString> bundle, QString appName)
    : m_services(services), m_bundle(std::move(bundle)), m_appName(std::move(appName)) {}

bool MoveToApplications::isOffered() const {
  if (!m_bundle) return false;
  const QStringList directories = applicationsDirectories(m_services.folders);
  const QByteArray bundle = QFile::encodeName(*m_bundle);
  const bool isThereAlready = std::any_of(directories.begin(), directories.end(), [&](const QString& directory) {
    return path_utilities::isParentPathForPath(QFile::encodeName(directory), bundle);
  });
  if (isThereAlready) return false;
  const auto suppressed = m_services.store.objectForKey(stored_keys::suppressMoveToApplications);
  return !suppressed || !suppressed->toBool().value_or(false);
}

/// The machine's folder where it can be written, else the user's own.
QString MoveToApplications::target() const {
  QString folder = QFile::decodeName(m_services.folders.userApplications());
  for (const QByteArray& local : m_services.folders.localApplications()) {
    const QFileInfo information(QFile::decodeName(local));
    if (!information.isDir() || !information.isWritable()) continue;
    folder = information.filePath();
    break;
  }
  return folder + QLatin1Char('/') + QFileInfo(*m_bundle).fileName();
}

void MoveToApplications::copyAppToApplications(Done done) {
  if (!isOffered()) return done(std::nullopt);
  m_services.alerts.show({.message = tr("Move %1 to Applications folder?").arg(m_appName),
                          .informativeText = tr("The best way to locate the application is the Applications folder. I "
                                                "can move myself if you'd like."),
                          .buttons = {tr("Move to Applications Folder"), tr("Do Not Move")},
                          .suppression = tr("Do not show this message again")},
                         [this, done = std::move(done)](const AlertAnswer& answer) { answered(answer, done); });
}

void MoveToApplications::answered(const AlertAnswer& answer, const Done& done) {
  if (answer.suppressionIsOn) {
    m_services.store.setObject(stored_keys::suppressMoveToApplications, {true});
    m_services.store.synchronize();
  }
  if (answer.button != 0) return done(std::nullopt);
  const QString place = target();
  m_copying.run(
      this, [bundle = *m_bundle, place](std::stop_token) { return bundle_copy::stage(bundle, place); },
      [this, place, done](const Result<QString>& copy) { staged(copy, place, done); });
}

void MoveToApplications::staged(const Result<QString>& copy, const QString& target, const Done& done) {
  if (!copy) {
    showFailure(copy.error());
    return done(std::nullopt);
  }
  if (QFileInfo::exists(target)) m_services.copies.terminateProgramsOf(target);
  if (const Result<void> placed = bundle_copy::putInPlace(copy.value(), target); !placed) {
    showFailure(placed.error());
    return done(std::nullopt);
  }
  done(target);
}

void MoveToApplications::showFailure(const Error& error) {
  m_services.alerts.show(
      {.message = tr("%1 could not be moved.").arg(m_appName),
       .informativeText = tr("It stays where it is and goes on from there.\n\nReason: %1.").arg(error.message),
       .buttons = {tr("OK")},
       .suppression = std::nullopt,
       .isCritical = true},
      {});
}

}  // namespace halvard
