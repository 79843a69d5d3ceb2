#include "crash/crash_report_files.h"

#include <QDir>
#include <QSaveFile>

#include <algorithm>

#include "crash/handler/crash_handler.h"

namespace halvard {
namespace {

QString pattern(std::string_view extension) {
  return QLatin1Char('*') + QString::fromLatin1(extension.data(), static_cast<qsizetype>(extension.size()));
}

constexpr QFile::Permissions kOwnerOnly = QFile::ReadOwner | QFile::WriteOwner;

}  // namespace

QString crashReportFolder() {
  QString state = qEnvironmentVariable("XDG_STATE_HOME");
  if (!state.startsWith(QLatin1Char('/'))) state = QDir::homePath() + QStringLiteral("/.local/state");
  return state + QStringLiteral("/halvard/crashes");
}

bool CrashReportFiles::makeFolder() const {
  return QDir().mkpath(m_folder) && QFile::setPermissions(m_folder, kOwnerOnly | QFile::ExeOwner);
}

Result<void> CrashReportFiles::save(const QString& name, const QString& report) const {
  QSaveFile file(path(name));
  const QByteArray bytes = report.toUtf8();
  const bool saved = makeFolder() && file.open(QIODevice::WriteOnly) && file.setPermissions(kOwnerOnly) &&
                     file.write(bytes) == bytes.size() && file.commit();
  if (!saved) return Error{file.errorString()};
  prune(kKeptReports, name);
  return {};
}

void CrashReportFiles::prune(int kept, const QString& present) const {
  QDir folder(m_folder);
  QStringList reports = folder.entryList({pattern(crash_handler::kReportExtension)}, QDir::Files, QDir::Name);
  // The clock was set back since these were written: they are older than they say.
  std::stable_partition(reports.begin(), reports.end(), [&](const QString& report) { return report > present; });
  for (qsizetype index = 0; index + kept < reports.size(); ++index)
    folder.remove(reports[index]);
}

int CrashReportFiles::takeUncounted() const {
  QDir folder(m_folder);
  int count = 0;
  for (const QString& mark : folder.entryList({pattern(crash_handler::kUncountedExtension)}, QDir::Files))
    count += folder.remove(mark) ? 1 : 0;  // of several programs starting at once, one removes it
  return count;
}

}  // namespace halvard
