#pragma once

#include <chrono>
#include <string>
#include <string_view>

/// Catches what kills the program. In the dying process only what is async-signal-safe happens: it starts the reporter,
/// tells it what happened, waits until the reporter has finished and leaves with status 0. Everything this needs is
/// made by install(). No Qt, no allocation after install().
namespace halvard::crash_handler {

struct Settings {
  /// Absolute path of the reporter; it gets the program's path as its argument and the environment of install().
  std::string reporterPath;
  /// What the reporter starts for a relaunch.
  std::string programPath;
  /// Where a report goes that no reporter could write. The folder must exist by then.
  std::string reportFolder;
  /// Written as "~" in such a report.
  std::string homeFolder;
  /// The first lines of such a report, each with its end of line.
  std::string reportHead;
  /// For the line on stderr.
  std::string programName;
  /// How long a reporter may say nothing before it counts as hung and is killed.
  std::chrono::milliseconds silenceLimit{20'000};
};

/// Installs the terminate handler and then the signal handlers, and gives the calling thread an alternate signal stack,
/// as every other thread has one. Once a process, on the main thread, best before other threads exist. False when it
/// was done before, or when the system refuses memory or a socket; then nothing is installed.
bool install(const Settings& settings);

/// Whether the handlers log their steps on stderr; off at first. Any thread.
void setLogging(bool on);

/// Which saved previous action a signal with this code calls, by the number of the signal it was saved for; -1: none.
/// The code chooses it, not the signal's number.
int previousActionSlot(int signalCode);

/// The file of this program; empty when unknown.
std::string executablePath();

/// Extensions of a report's file and of the empty mark beside a report that nobody has counted yet.
inline constexpr std::string_view kReportExtension = ".txt";
inline constexpr std::string_view kUncountedExtension = ".uncounted";

/// The name of a report's file inside its folder. `time` in seconds since 1970.
std::string reportFileName(long long time, int process);

}  // namespace halvard::crash_handler
