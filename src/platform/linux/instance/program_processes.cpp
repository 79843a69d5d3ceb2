#include "platform/linux/instance/program_processes.h"

#include <QFile>
#include <algorithm>
#include <functional>
#include <utility>

#include <unistd.h>

#include "platform/linux/processes/executable_name.h"
#include "platform/linux/processes/process_directory.h"
#include "platform/linux/processes/process_facts.h"
#include "platform/linux/processes/stat_line.h"

namespace halvard {
namespace {

void take(std::string_view entry, std::string_view name, QByteArray& value) {
  if (entry.starts_with(name))
    value = QByteArray(entry.substr(name.size()).data(), qsizetype(entry.size() - name.size()));
}

QByteArray programOf(ProcessDirectory& directory, std::int32_t pid) {
  const QByteArray link = directory.readLink(pid, "exe");
  const std::string_view path = withoutDeletedMark({link.constData(), static_cast<std::size_t>(link.size())});
  return {path.data(), static_cast<qsizetype>(path.size())};
}

QByteArray nameOf(const QByteArray& path) {
  return path.mid(path.lastIndexOf('/') + 1);
}

using Wanted = std::function<bool(ProcessDirectory&, std::int32_t pid)>;

/// The oldest first.
ProgramProcesses::Handles collect(const QByteArray& root, const Wanted& isWanted) {
  ProcessDirectory directory(root);
  std::vector<ProcessEntry> entries;
  ProgramProcesses::Handles found;
  if (directory.list(entries) != 0) return found;
  for (const ProcessEntry& entry : entries) {
    if (entry.pid == ::getpid() || directory.owner(entry.pid) != ::geteuid() || !isWanted(directory, entry.pid))
      continue;
    char buffer[1024];
    const auto line = parseStatLine(directory.read(entry.pid, "stat", buffer));
    if (!line || line->exited) continue;
    if (auto handle = ProcessHandle::open(entry.pid, line->startTime, root)) found.push_back(std::move(handle));
  }
  std::stable_sort(found.begin(), found.end(),
                   [](const auto& left, const auto& right) { return left->startTime() < right->startTime(); });
  return found;
}

}  // namespace

SessionMark parseSessionMark(std::string_view environment) {
  SessionMark mark;
  while (!environment.empty()) {
    const std::string_view entry = environment.substr(0, environment.find('\0'));
    take(entry, "DBUS_SESSION_BUS_ADDRESS=", mark.busAddress);
    take(entry, "XDG_RUNTIME_DIR=", mark.runtimeFolder);
    environment.remove_prefix(std::min(entry.size() + 1, environment.size()));
  }
  return mark;
}

ProgramProcesses::ProgramProcesses(QByteArray procRoot) : m_root(std::move(procRoot)) {}

ProgramProcesses::Handles ProgramProcesses::copies() const {
  const SessionMark own{qgetenv("DBUS_SESSION_BUS_ADDRESS"), qgetenv("XDG_RUNTIME_DIR")};
  const QByteArray ownName = nameOf(QFile::encodeName(QFile::symLinkTarget(QStringLiteral("/proc/self/exe"))));
  const auto buffer = std::make_unique<FactsBuffer>();
  return collect(m_root, [&](ProcessDirectory& directory, std::int32_t pid) {
    if (nameOf(programOf(directory, pid)) != ownName) return false;
    if (!(parseSessionMark(directory.read(pid, "environ", *buffer)) == own)) return false;
    const std::string_view arguments = directory.read(pid, "cmdline", *buffer);
    return arguments.find(std::string_view("\0--demo\0", 8)) == std::string_view::npos;
  });
}

ProgramProcesses::Handles ProgramProcesses::inBundle(const QString& bundle) const {
  const QByteArray file = QFile::encodeName(bundle);
  const auto buffer = std::make_unique<FactsBuffer>();
  return collect(m_root, [&](ProcessDirectory& directory, std::int32_t pid) {
    if (programOf(directory, pid).startsWith(file + '/')) return true;
    const LaunchEnvironment launch = parseLaunchEnvironment(directory.read(pid, "environ", *buffer));
    return launch.appImage == file && !launch.appDirectory.isEmpty() &&
           programOf(directory, pid).startsWith(launch.appDirectory + '/');
  });
}

}  // namespace halvard
