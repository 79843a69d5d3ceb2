#include "platform/linux/processes/process_facts.h"

#include <algorithm>
#include <charconv>

#include "platform/linux/processes/executable_name.h"
#include "platform/linux/processes/process_directory.h"

namespace halvard {

namespace {

constexpr std::size_t kLongestArguments = 4'096;

QByteArray bytes(std::string_view text) {
  return QByteArray(text.data(), static_cast<qsizetype>(text.size()));
}

// Calls `action` with each of the zero-ended strings.
template <class Action>
void forEachString(std::string_view text, Action action) {
  while (!text.empty()) {
    const std::size_t length = std::min(text.find('\0'), text.size());
    action(text.substr(0, length));
    text.remove_prefix(std::min(length + 1, text.size()));
  }
}

QByteArrayList parseArguments(std::string_view text) {
  QByteArrayList arguments;
  forEachString(text, [&](std::string_view argument) { arguments << bytes(argument); });
  return arguments;
}

// An environment is inherited, so the file counts only for the process it was meant for, the image only for programs
// inside it.
void applyEnvironment(const LaunchEnvironment& environment, std::int32_t pid, ProcessFacts& facts) {
  if (environment.desktopFilePid == pid) facts.desktopFile = environment.desktopFile;
  const bool isInside =
      !environment.appDirectory.isEmpty() && facts.executable.startsWith(environment.appDirectory + '/');
  if (isInside) facts.appImage = environment.appImage;
}

}  // namespace

LaunchEnvironment parseLaunchEnvironment(std::string_view environment) {
  LaunchEnvironment result;
  forEachString(environment, [&](std::string_view variable) {
    const std::size_t equals = variable.find('=');
    if (equals == variable.npos) return;
    const std::string_view name = variable.substr(0, equals);
    const std::string_view value = variable.substr(equals + 1);
    if (name == "GIO_LAUNCHED_DESKTOP_FILE") result.desktopFile = bytes(value);
    if (name == "APPIMAGE") result.appImage = bytes(value);
    if (name == "APPDIR") result.appDirectory = bytes(value);
    if (name != "GIO_LAUNCHED_DESKTOP_FILE_PID") return;
    std::int32_t pid = 0;
    const auto [end, error] = std::from_chars(value.data(), value.data() + value.size(), pid);
    if (error == std::errc() && end == value.data() + value.size()) result.desktopFilePid = pid;
  });
  return result;
}

ProcessFacts readProcessFacts(ProcessDirectory& directory, std::int32_t pid, std::uint32_t user, FactsBuffer& buffer) {
  ProcessFacts facts;
  facts.isOwn = directory.owner(pid) == user;
  facts.unit = applicationUnit(directory.read(pid, "cgroup", buffer));
  const bool isForeignUnit = facts.unit && facts.unit->user ? facts.unit->user != user : !facts.isOwn;
  if (isForeignUnit) facts.unit.reset();
  if (!facts.isOwn) return facts;
  const QByteArray executable = directory.readLink(pid, "exe");
  facts.executable = bytes(withoutDeletedMark({executable.constData(), std::size_t(executable.size())}));
  facts.arguments = parseArguments(directory.read(pid, "cmdline", std::span(buffer).first(kLongestArguments)));
  applyEnvironment(parseLaunchEnvironment(directory.read(pid, "environ", buffer)), pid, facts);
  return facts;
}

}  // namespace halvard
