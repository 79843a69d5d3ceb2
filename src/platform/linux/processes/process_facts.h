#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <array>
#include <optional>
#include <string_view>

#include "platform/linux/processes/application_unit.h"

namespace halvard {

class ProcessDirectory;

/// What an environment says about how its program was started. Empty where it says nothing.
struct LaunchEnvironment {
  /// Path of the desktop entry, and the process it was meant for; those started later inherit both.
  QByteArray desktopFile;
  std::optional<std::int32_t> desktopFilePid;
  /// An AppImage and the folder it is mounted on while it runs.
  QByteArray appImage;
  QByteArray appDirectory;
};

/// `environment` is the text of /proc/PID/environ.
LaunchEnvironment parseLaunchEnvironment(std::string_view environment);

/// What stays the same about a process as long as it runs one program. Empty where it may not be read.
struct ProcessFacts {
  /// Belongs to the user of this program, and may be inspected.
  bool isOwn = false;
  /// Path of the program, as it was when that was started.
  QByteArray executable;
  /// The program's name first; the first 4 KiB.
  QByteArrayList arguments;
  std::optional<ApplicationUnit> unit;
  /// The desktop entry this very process was started for.
  QByteArray desktopFile;
  /// The AppImage its program lies in.
  QByteArray appImage;
};

/// Room for the longest file that is read; what does not fit is ignored.
using FactsBuffer = std::array<char, 262'144>;

/// `user` is that of this program; `buffer` is scratch space.
ProcessFacts readProcessFacts(ProcessDirectory& directory, std::int32_t pid, std::uint32_t user, FactsBuffer& buffer);

}  // namespace halvard
