#include "platform/linux/xdg/xdg_login_item_service.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSaveFile>
#include <QStandardPaths>
#include <algorithm>
#include <utility>

#include "platform/linux/xdg/running_programs.h"

namespace halvard {
namespace {

const QString& suffix() {
  static const QString text = QStringLiteral(".desktop");
  return text;
}

// Nothing of what is no file: a pipe would be waited for.
QByteArray contentOf(const QString& path) {
  QFile file(path);
  return QFileInfo(path).isFile() && file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

// Absolute, links resolved; empty when there is no such program.
QString resolvedProgram(const QString& program) {
  const QString found = QStandardPaths::findExecutable(program);
  return found.isEmpty() ? QString() : QFileInfo(found).canonicalFilePath();
}

bool isFileName(const QString& identifier) {
  return !identifier.isEmpty() && !identifier.contains(QLatin1Char('/')) && !identifier.startsWith(QLatin1Char('.'));
}

QStringList entriesIn(const QString& folder) {
  return QDir(folder).entryList({QLatin1Char('*') + suffix()}, QDir::Files | QDir::Hidden | QDir::System);
}

StoredValue arrayOf(const QStringList& texts) {
  StoredValue::Array array;
  for (const QString& text : texts)
    array.push_back({text});
  return {std::move(array)};
}

}  // namespace

XdgLoginItemService::XdgLoginItemService(AutostartDirectories directories, QStringList currentDesktops,
                                         std::vector<LoginJob> jobs, QString procRoot)
    : m_directories(std::move(directories)),
      m_currentDesktops(std::move(currentDesktops)),
      m_jobs(std::move(jobs)),
      m_procRoot(std::move(procRoot)) {}

void XdgLoginItemService::adoptEntries(const QString& movedFrom) {
  for (const LoginJob& job : m_jobs) {
    const QByteArray content = contentOf(userEntry(job.identifier));
    const std::optional<DesktopEntry> entry = parseDesktopEntry(content);
    if (!entry || entry->hidden || entry->arguments == job.command) continue;
    const QString started = resolvedProgram(entry->arguments.value(0));
    const bool isLeft = started.isEmpty() || started == QFileInfo(movedFrom).canonicalFilePath();
    const bool isStartable = !resolvedProgram(job.command.value(0)).isEmpty();
    if (isStartable && isLeft) write(job.identifier, entryWithCommand(content, job.command));
  }
}

bool XdgLoginItemService::setEnabled(const QString& jobIdentifier, bool enabled) {
  const LoginJob* const job = jobWith(jobIdentifier);
  if (!job || !isFileName(jobIdentifier)) return false;
  if (!enabled) return disable(jobIdentifier);
  if (resolvedProgram(job->command.value(0)).isEmpty()) return false;
  return write(jobIdentifier, autostartEntry(job->name, job->command));
}

std::vector<JobDescription> XdgLoginItemService::copyAllJobDictionaries() const {
  const QHash<QString, std::int32_t> running = runningPrograms(m_procRoot);
  const QMap<QString, Startable> entries = startableEntries();
  std::vector<JobDescription> jobs;
  for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
    JobDescription job{{QStringLiteral("Label"), {entry.key()}},
                       {QStringLiteral("Program"), {entry->program}},
                       {QStringLiteral("ProgramArguments"), arrayOf(entry->entry.arguments)},
                       {QStringLiteral("OnDemand"), {std::int64_t{0}}}};
    if (const auto pid = running.find(entry->program); pid != running.end()) {
      job.emplace(QStringLiteral("PID"), StoredValue{std::int64_t{*pid}});
    }
    jobs.push_back(std::move(job));
  }
  return jobs;
}

bool XdgLoginItemService::isJobRunning(const QString& jobIdentifier) const {
  const LoginJob* const job = jobWith(jobIdentifier);
  if (!job) return false;
  return runningPrograms(m_procRoot)
      .contains(resolvedProgram(job->program.isEmpty() ? job->command.value(0) : job->program));
}

std::optional<BundleInformation> XdgLoginItemService::bundleAt(const QString& folder, const QString& executable) const {
  if (!QFileInfo(folder + QStringLiteral("/AppRun")).isExecutable()) return std::nullopt;
  const QStringList names = entriesIn(folder);
  if (names.size() != 1) return std::nullopt;
  const std::optional<DesktopEntry> entry = parseDesktopEntry(contentOf(folder + QLatin1Char('/') + names.first()));
  if (!entry || QFileInfo(entry->arguments.value(0)).fileName() != QFileInfo(executable).fileName()) {
    return std::nullopt;
  }
  BundleInformation bundle{names.first().chopped(suffix().size()), std::nullopt};
  if (!entry->name.isEmpty()) bundle.name = entry->name;
  return bundle;
}

std::vector<SessionLoginItem> XdgLoginItemService::sessionLoginItems() const {
  const QMap<QString, Startable> entries = startableEntries();
  std::vector<SessionLoginItem> items;
  for (auto entry = entries.begin(); entry != entries.end(); ++entry)
    items.push_back({entry.key(), entry->program});
  return items;
}

bool XdgLoginItemService::removeSessionLoginItem(const QString& reference) {
  return isFileName(reference) && disable(reference);
}

bool XdgLoginItemService::appendSessionLoginItem(const QString& location, bool) {
  const QString program = resolvedProgram(location);
  if (program.isEmpty()) return false;
  for (const LoginJob& job : m_jobs) {
    if (resolvedProgram(job.command.value(0)) == program) return setEnabled(job.identifier, true);
  }
  const QString name = QFileInfo(program).fileName();
  return isFileName(name) && write(name, autostartEntry(name, {program}));
}

QMap<QString, XdgLoginItemService::Startable> XdgLoginItemService::startableEntries() const {
  QMap<QString, Startable> entries;
  QStringList seen;
  for (const QString& folder : QStringList{m_directories.user} + m_directories.system) {
    for (const QString& name : entriesIn(folder)) {
      if (seen.contains(name)) continue;
      seen << name;
      const std::optional<DesktopEntry> entry = parseDesktopEntry(contentOf(folder + QLatin1Char('/') + name));
      if (!entry || !entry->startsIn(m_currentDesktops)) continue;
      const QString program = resolvedProgram(entry->arguments.first());
      const bool isThere = entry->tryExec.isEmpty() || !resolvedProgram(entry->tryExec).isEmpty();
      if (!program.isEmpty() && isThere) entries.insert(name.chopped(suffix().size()), {*entry, program});
    }
  }
  return entries;
}

std::optional<QString> XdgLoginItemService::systemEntry(const QString& identifier) const {
  for (const QString& folder : m_directories.system) {
    const QString path = folder + QLatin1Char('/') + identifier + suffix();
    if (QFileInfo::exists(path)) return path;
  }
  return std::nullopt;
}

QString XdgLoginItemService::userEntry(const QString& identifier) const {
  return m_directories.user + QLatin1Char('/') + identifier + suffix();
}

bool XdgLoginItemService::write(const QString& identifier, const QByteArray& content) const {
  if (!QDir().mkpath(m_directories.user)) return false;
  QSaveFile file(userEntry(identifier));
  return file.open(QIODevice::WriteOnly) && file.write(content) == content.size() && file.commit();
}

bool XdgLoginItemService::disable(const QString& identifier) {
  if (const std::optional<QString> masked = systemEntry(identifier)) {
    return write(identifier, maskedEntry(contentOf(*masked)));
  }
  const QString path = userEntry(identifier);
  return QFile::remove(path) || !QFileInfo::exists(path);
}

const LoginJob* XdgLoginItemService::jobWith(const QString& identifier) const {
  const auto found =
      std::find_if(m_jobs.begin(), m_jobs.end(), [&](const LoginJob& job) { return job.identifier == identifier; });
  return found == m_jobs.end() ? nullptr : &*found;
}

}  // namespace halvard
