#include "platform/linux/applications/linux_running_applications.h"

#include <ctime>
#include <utility>

#include <unistd.h>

namespace halvard {

namespace {

constexpr std::uint64_t kEarlySeconds = 10;
/// Passes between two looks at the folders of desktop entries while no process comes or goes.
constexpr std::uint32_t kPassesPerEntries = 4;

// In the unit of ProcessRecord::startTime.
std::uint64_t ticksSinceBoot() {
  timespec time{};
  ::clock_gettime(CLOCK_BOOTTIME, &time);
  return static_cast<std::uint64_t>(time.tv_sec) * static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
}

std::uint64_t earlyTicks() {
  return kEarlySeconds * static_cast<std::uint64_t>(::sysconf(_SC_CLK_TCK));
}

}  // namespace

LinuxRunningApplications::LinuxRunningApplications(std::shared_ptr<X11Windows> windows, EntryFolders folders,
                                                   QByteArray root)
    : m_display(std::move(windows)),
      m_installed(std::move(folders)),
      m_root(std::move(root)),
      m_directory(m_root),
      m_buffer(std::make_unique<FactsBuffer>()) {}

std::int32_t LinuxRunningApplications::currentApplication() const {
  return ::getpid();
}

void LinuxRunningApplications::update(const std::vector<ProcessRecord>& processes) {
  bool changed = refreshFacts(processes);
  std::vector<ApplicationWindow> windows = changed ? m_display->windows() : m_display->rememberedWindows();
  changed = changed || windows != m_windows;
  m_windows = std::move(windows);
  const bool isTurnOfEntries = changed || !m_index || m_pass % kPassesPerEntries == 0;
  std::shared_ptr<const ApplicationIndex> index = isTurnOfEntries ? m_installed.current() : m_index;
  changed = changed || index != m_index;
  m_index = std::move(index);
  if (changed) nameAgain(processes);
}

bool LinuxRunningApplications::refreshFacts(const std::vector<ProcessRecord>& processes) {
  ++m_pass;
  const std::uint64_t now = ticksSinceBoot();
  bool changed = false;
  for (const ProcessRecord& process : processes) {
    if (!process.kernelThread && !process.exited && refreshFactsOf(process, now)) changed = true;
  }
  const auto gone = m_readings.removeIf([this](const auto& reading) { return reading.value().pass != m_pass; });
  if (gone == 0) return changed;
  m_facts.removeIf([this](const auto& facts) { return !m_readings.contains(facts.key()); });
  return true;
}

// True when the process is new or was read again.
bool LinuxRunningApplications::refreshFactsOf(const ProcessRecord& process, std::uint64_t now) {
  Reading& reading = m_readings[process.pid];
  const bool isKnown = std::exchange(reading.pass, m_pass) != 0;
  const bool isYoung = process.startTime + earlyTicks() > now;
  const bool isSameProgram = reading.startTime == process.startTime && reading.programMark == process.programMark;
  if (isKnown && isSameProgram && (!reading.isEarly || isYoung)) return false;
  reading.startTime = process.startTime;
  reading.programMark = process.programMark;
  reading.isEarly = isYoung;
  m_facts.insert(process.pid, readProcessFacts(m_directory, process.pid, ::getuid(), *m_buffer));
  return true;
}

void LinuxRunningApplications::nameAgain(const std::vector<ProcessRecord>& processes) {
  NamedApplications named = nameApplications(processes, m_facts, m_windows, *m_index);
  m_groups = std::move(named.groups);
  QHash<std::int32_t, std::shared_ptr<LinuxApplication>> applications;
  for (NamedApplication& application : named.applications) {
    const std::int32_t pid = application.pid;
    if (const auto handle = handleFor(std::move(application))) applications.insert(pid, handle);
  }
  m_applications = std::move(applications);
}

std::shared_ptr<LinuxApplication> LinuxRunningApplications::handleFor(NamedApplication application) {
  const std::uint64_t startTime = m_readings.value(application.pid).startTime;
  auto known = m_applications.value(application.pid);
  if (known && known->is(startTime, application.entry)) {
    known->describe(std::move(application));
    return known;
  }
  auto process = ProcessHandle::open(application.pid, startTime, m_root);
  if (!process) return nullptr;
  return std::make_shared<LinuxApplication>(std::move(process), m_display, std::move(application));
}

std::shared_ptr<RunningApplication> LinuxRunningApplications::runningApplicationWithProcessIdentifier(
    std::int32_t pid) {
  return m_applications.value(pid);
}

std::optional<std::int32_t> LinuxRunningApplications::applicationOfGroup(std::int32_t pid) {
  const auto found = m_groups.constFind(pid);
  if (found == m_groups.constEnd()) return std::nullopt;
  return *found;
}

}  // namespace halvard
