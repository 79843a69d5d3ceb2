#include "cli/application_commands.h"

#include <QEventLoop>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <algorithm>

#include "cli/list_options.h"
#include "core/application_identity.h"
#include "core/size_format.h"
#include "process_manager/processes_manager.h"

namespace halvard {
namespace {

QString nameOf(const ApplicationEntry& entry) {
  return entry.name.value_or(QStringLiteral("Unknown"));
}

/// One that does not answer.
bool isTrayProgram(const ApplicationEntry& entry) {
  return entry.url && entry.url->fileName() == application_identity::kBundleIdentifier + QStringLiteral(".desktop");
}

QJsonObject jsonOf(const ApplicationEntry& entry) {
  QJsonArray helpers;
  for (const std::int32_t pid : entry.helpers)
    helpers.append(pid);
  return {{QStringLiteral("pid"), entry.pid},
          {QStringLiteral("name"), nameOf(entry)},
          {QStringLiteral("bytes"), static_cast<qint64>(entry.size.value_or(0))},
          {QStringLiteral("url"), entry.url ? QJsonValue(entry.url->toString()) : QJsonValue()},
          {QStringLiteral("helpers"), helpers}};
}

QString lineOf(const ApplicationEntry& entry) {
  const QString helpers = entry.helpers.empty() ? QString() : QStringLiteral("  +%1").arg(entry.helpers.size());
  return QStringLiteral("%1  %2  %3%4")
      .arg(entry.pid, 8)
      .arg(size_format::stringFromSize(static_cast<std::int64_t>(entry.size.value_or(0))), 9)
      .arg(nameOf(entry), helpers);
}

}  // namespace

ApplicationCommands::ApplicationCommands(ProcessesManager& processes, const CommandOutput& output, std::int32_t program)
    : m_processes(processes), m_output(output), m_program(program) {}

ApplicationList ApplicationCommands::readList() {
  ApplicationEntries others;
  QEventLoop loop;
  m_processes.getTopProcessCompletion(this, [&](const ApplicationList& list) {
    std::remove_copy_if(list->begin(), list->end(), std::back_inserter(others), [this](const ApplicationEntry& entry) {
      return entry.pid == m_program || isTrayProgram(entry);
    });
    loop.quit();
  });
  loop.exec();
  return std::make_shared<const ApplicationEntries>(std::move(others));
}

int ApplicationCommands::runTop(const QStringList& arguments) {
  const std::optional<ListOptions> options = parseListOptions(arguments);
  if (!options) return m_output.fail(QStringLiteral("usage: top [-n N] [--json]"), kExitUsage);
  ApplicationEntries applications = *readList();
  if (options->count && applications.size() > static_cast<std::size_t>(*options->count)) {
    applications.erase(applications.begin() + *options->count, applications.end());
  }
  if (options->json) {
    QJsonArray records;
    for (const ApplicationEntry& entry : applications)
      records.append(jsonOf(entry));
    m_output.print(QString::fromUtf8(QJsonDocument(records).toJson()).trimmed());
    return kExitSuccess;
  }
  for (const ApplicationEntry& entry : applications)
    m_output.print(lineOf(entry));
  return kExitSuccess;
}

Result<ApplicationEntry> ApplicationCommands::find(const ApplicationEntries& applications, const QString& who) const {
  bool isPid = false;
  const int pid = who.toInt(&isPid);
  ApplicationEntries found;
  std::copy_if(applications.begin(), applications.end(), std::back_inserter(found), [&](const ApplicationEntry& entry) {
    return isPid ? entry.pid == pid : nameOf(entry).compare(who, Qt::CaseInsensitive) == 0;
  });
  if (found.empty()) {
    return Error{QStringLiteral("no application '%1' is running; 'top' lists them").arg(who)};
  }
  if (found.size() == 1) return found.front();
  QStringList pids;
  for (const ApplicationEntry& entry : found)
    pids << QString::number(entry.pid);
  return Error{QStringLiteral("'%1' is the name of several applications: give one of the pids %2")
                   .arg(who, pids.join(QStringLiteral(", ")))};
}

int ApplicationCommands::runVerb(Verb verb, const QStringList& arguments) {
  if (arguments.size() != 1) return m_output.fail(QStringLiteral("usage: activate|quit|kill PID|NAME"), kExitUsage);
  const Result<ApplicationEntry> target = find(*readList(), arguments[0]);
  if (!target) return m_output.fail(target.error().message, kExitFailure);
  RunningApplication& application = *target.value().app;
  const bool done = verb == Verb::Activate ? application.activate()
                    : verb == Verb::Quit   ? application.terminate()
                                           : application.forceTerminate();
  if (done) return kExitSuccess;
  const QString reason = verb == Verb::Activate       ? QStringLiteral("'%1' has no window to bring forward")
                         : application.isTerminated() ? QStringLiteral("'%1' has ended already")
                                                      : QStringLiteral("'%1' may not be ended by this user");
  return m_output.fail(reason.arg(arguments[0]), kExitFailure);
}

}  // namespace halvard
