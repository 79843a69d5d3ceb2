#include "platform/linux/reclaim/victim_source.h"

#include <QHash>
#include <QtGlobal>
#include <algorithm>
#include <array>
#include <ctime>
#include <memory>
#include <utility>

#include <unistd.h>

#include "platform/linux/applications/linux_running_applications.h"
#include "platform/linux/processes/application_unit.h"
#include "platform/linux/processes/linux_process_table.h"
#include "platform/linux/procfs/text_scanner.h"
#include "platform/linux/reclaim/protected_programs.h"
#include "platform/linux/x11/x11_windows.h"

namespace halvard {
namespace {

using namespace std::chrono_literals;

constexpr auto kObservation = 500ms;

double ticksPerSecond() {
  return static_cast<double>(::sysconf(_SC_CLK_TCK));
}

double secondsSinceBoot() {
  timespec time{};
  ::clock_gettime(CLOCK_BOOTTIME, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

bool isWayland() {
  return !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY");
}

/// On Wayland the focus may be on a window that the X server does not know: its own focus is then on a hidden window of
/// the compositor.
std::optional<std::int32_t> focusedProgram(const DesktopAttention& attention) {
  const auto isServant = [&](std::int32_t pid) { return std::ranges::count(attention.servants, pid) != 0; };
  if (attention.focused && isWayland() && isServant(*attention.focused)) return std::nullopt;
  return attention.focused;
}

}  // namespace

ByteCount parseAnonymousResident(std::string_view status) {
  for (TextScanner scanner(status); !scanner.atEnd(); scanner.takeLine()) {
    if (!scanner.skip("RssAnon:")) continue;
    const std::optional<std::uint64_t> kilobytes = scanner.takeNumber();
    return kilobytes && *kilobytes <= kLargestAmount / 1024 ? *kilobytes * 1024 : 0;
  }
  return 0;
}

/// One reading in the making.
class LinuxVictimSource::Pass {
 public:
  explicit Pass(const LinuxVictimSource& source)
      : m_source(source),
        m_directory(source.m_root),
        m_table(0, source.m_root),
        m_windows(std::make_shared<X11Windows>(source.m_display)),
        m_applications(m_windows, EntryFolders::ofUser(), source.m_root) {}

  Reading run() {
    const ProcessTable::Reading table = m_table.read();
    if (!table.processes) return {};
    const auto ticksBefore = readTicks(*table.processes);
    const auto start = m_source.m_clock.monotonicNow();
    m_applications.update(*table.processes);
    const DesktopAttention attention = m_windows->attention();
    const auto spent = std::chrono::floor<std::chrono::milliseconds>(m_source.m_clock.monotonicNow() - start);
    if (spent < kObservation) m_source.m_clock.sleepFor(kObservation - spent);
    const std::chrono::duration<double> observed = m_source.m_clock.monotonicNow() - start;
    const auto ticksAfter = readTicks(*table.processes);
    Reading reading;
    for (const ProcessRecord& process : *table.processes) {
      if (process.kernelThread || process.exited) continue;
      const double used = ticksAfter.value(process.pid) - ticksBefore.value(process.pid);
      reading.candidates.push_back(candidateOf(process));
      reading.candidates.back().recentUse = std::max(used, 0.0) / ticksPerSecond() / std::max(observed.count(), 0.1);
      reading.candidates.back().lifetimeUse = ticksAfter.value(process.pid) / ticksPerSecond() / age(process);
    }
    const bool hasScreen = std::ranges::any_of(
        *table.processes, [](const ProcessRecord& process) { return isDisplayServer(process.name); });
    reading.policy = {::getpid(), focusOf(attention, hasScreen), attention.servants, m_source.m_exclusions()};
    return reading;
  }

 private:
  static double age(const ProcessRecord& process) {
    return std::max(secondsSinceBoot() - static_cast<double>(process.startTime) / ticksPerSecond(), 1.0);
  }

  static Focus focusOf(const DesktopAttention& attention, bool hasScreen) {
    if (const auto focused = focusedProgram(attention)) return {Focus::Kind::Process, *focused};
    const bool isKnown = !isWayland() && (attention.hasDisplay || !hasScreen);
    return {isKnown ? Focus::Kind::Nobody : Focus::Kind::Unknown, 0};
  }

  /// Processor time so far, by pid.
  QHash<std::int32_t, double> readTicks(const std::vector<ProcessRecord>& processes) {
    QHash<std::int32_t, double> ticks;
    std::array<char, 1024> buffer;
    for (const ProcessRecord& process : processes) {
      if (process.kernelThread || process.exited) continue;
      const auto line = parseStatLine(m_directory.read(process.pid, "stat", buffer));
      if (!line || line->startTime != process.startTime) continue;
      ticks.insert(process.pid, static_cast<double>(line->userTicks + line->systemTicks));
    }
    return ticks;
  }

  ReclaimCandidate candidateOf(const ProcessRecord& process) {
    ReclaimCandidate candidate;
    candidate.pid = process.pid;
    candidate.parentPid = process.parentPid;
    candidate.startTime = process.startTime;
    candidate.program = process.name;
    candidate.isOwn = m_directory.owner(process.pid) == std::int64_t{::getuid()};
    if (!candidate.isOwn) return candidate;
    std::array<char, 8192> buffer;
    candidate.anonymousBytes = parseAnonymousResident(m_directory.read(process.pid, "status", buffer));
    if (const auto unit = applicationUnit(m_directory.read(process.pid, "cgroup", buffer))) candidate.unit = unit->path;
    if (const auto application = applicationOf(process.pid)) {
      candidate.application = application->processIdentifier();
      candidate.applicationName = application->localizedName().value_or(QString());
      candidate.isRegular = application->activationPolicy() == ActivationPolicy::Regular;
    }
    return candidate;
  }

  /// Itself, that of its group, or the nearest ancestor that is one.
  std::shared_ptr<RunningApplication> applicationOf(std::int32_t pid) {
    const auto handle = [this](std::int32_t one) {
      return m_applications.runningApplicationWithProcessIdentifier(one);
    };
    if (const auto group = m_applications.applicationOfGroup(pid)) return handle(*group);
    constexpr int kDeepest = 64;
    std::optional<std::int32_t> current = pid;
    for (int depth = 0; current && *current > 1 && depth < kDeepest; ++depth) {
      if (auto application = handle(*current)) return application;
      current = m_table.parentPid(*current);
    }
    return nullptr;
  }

  const LinuxVictimSource& m_source;
  ProcessDirectory m_directory;
  LinuxProcessTable m_table;
  std::shared_ptr<X11Windows> m_windows;
  LinuxRunningApplications m_applications;
};

LinuxVictimSource::LinuxVictimSource(Clock& clock, std::function<QStringList()> exclusions, QByteArray display,
                                     QByteArray root)
    : m_clock(clock), m_exclusions(std::move(exclusions)), m_display(std::move(display)), m_root(std::move(root)) {}

std::optional<std::int32_t> LinuxVictimSource::focusedProcess() {
  return focusedProgram(X11Windows(m_display).attention());
}

VictimSource::Reading LinuxVictimSource::read() {
  return Pass(*this).run();
}

}  // namespace halvard
