#include "files_searcher/copy_applications_task.h"

#include <QDir>
#include <QFile>
#include <QProcess>

#include <utility>

namespace halvard {
namespace {
const QString kFolder = QStringLiteral("/Applications");
}

CopyApplicationsTask::CopyApplicationsTask(QString resourcesFolder, std::optional<QString> applicationSupportFolder,
                                           const ApplicationCatalog& catalog)
    : m_source(std::move(resourcesFolder) + kFolder),
      m_applicationSupportFolder(std::move(applicationSupportFolder)),
      m_catalog(catalog) {}

std::optional<QString> CopyApplicationsTask::createDestinationPath() const {
  if (!m_applicationSupportFolder) return {};
  return *m_applicationSupportFolder + kFolder;
}

void CopyApplicationsTask::copyApplications() const {
  const QDir source(m_source);
  const auto destination = createDestinationPath();
  if (!source.exists() || !destination) return;
  const QStringList archives =
      source.entryList({QStringLiteral("*.zip")}, QDir::Files | QDir::Hidden | QDir::CaseSensitive, QDir::Unsorted);
  for (const QString& archive : archives) {
    const QString target = QStringLiteral("%1/%2.app").arg(*destination, archive.chopped(4));
    if (QFile::exists(target) || !QDir().mkpath(target)) continue;
    // Straight to the tool: file names are no shell text.
    QProcess::startDetached(QStringLiteral("unzip"), {QStringLiteral("-qq"), QStringLiteral("-n"), QStringLiteral("-d"),
                                                      *destination, source.filePath(archive)});
  }
}

std::optional<CopyApplicationsTask::FoundApplication> CopyApplicationsTask::findAppPathForBundleIDs(
    const QStringList& identifiers) const {
  const auto destination = createDestinationPath();
  if (!destination) return {};
  const QDir folder(*destination);
  const QStringList bundles =
      folder.entryList({QStringLiteral("*.app")}, QDir::Dirs | QDir::Hidden | QDir::CaseSensitive, QDir::Unsorted);
  for (const QString& bundle : bundles) {
    const QString path = folder.filePath(bundle);
    const auto identifier = m_catalog.bundleIdentifier(QFile::encodeName(path));
    if (identifier && identifiers.contains(*identifier)) return FoundApplication{path, *identifier};
  }
  return {};
}

bool CopyApplicationsTask::launch(const FoundApplication& application) const {
  return QProcess::startDetached(application.path + QStringLiteral("/AppRun"), {});
}

}  // namespace halvard
