#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <optional>
#include <vector>

#include "core/units.h"

namespace halvard {

/// One process, as far as it matters for choosing whose memory is paged out.
struct ReclaimCandidate {
  std::int32_t pid = 0;
  std::int32_t parentPid = 0;
  /// Clock ticks after boot.
  std::uint64_t startTime = 0;
  /// File name of the executable, or the command name.
  QString program;
  /// Belongs to the user of this program.
  bool isOwn = false;
  /// Resident memory of no file.
  ByteCount anonymousBytes = 0;
  /// Processors it used between the two latest readings, and since it started. 1: one processor without a pause.
  double recentUse = 0;
  double lifetimeUse = 0;
  /// The application it is or belongs to, by the pid of that.
  std::optional<std::int32_t> application;
  /// In the user's language; empty when it belongs to none.
  QString applicationName;
  /// That application has windows, or normally opens some.
  bool isRegular = false;
  /// Path of the control group that the service manager made for the application; empty when there is none.
  QByteArray unit;
};

/// Who has the keyboard's attention.
struct Focus {
  enum class Kind {
    /// Nobody sits at a screen of this user, or no program's window has the focus.
    Nobody,
    Process,
    /// There is a screen, but it does not tell: then no application with windows is touched.
    Unknown,
  };
  Kind kind = Kind::Nobody;
  std::int32_t pid = 0;
};

struct ReclaimPolicy {
  /// This very program.
  std::int32_t self = 0;
  Focus focus;
  /// Processes that the desktop itself names as its window manager, compositor, tray host or input method.
  std::vector<std::int32_t> servants;
  /// Names of programs and applications that the user wants left alone, in any case.
  QStringList exclusions;
};

/// A process whose memory may be paged out.
struct Victim {
  std::int32_t pid = 0;
  std::uint64_t startTime = 0;
  /// Of its application, else of its program.
  QString name;
  ByteCount bytes = 0;
  QByteArray unit;
};

/// What holds less is not worth the trouble.
inline constexpr ByteCount kLeastVictimBytes = ByteCount{2} << 20;
/// Who used more of a processor lately is at work, and would fetch its memory back at once.
inline constexpr double kBusyUse = 0.02;

/// Whose memory to page out, in this order: processes of applications in the background before others; among each the
/// coldest first, by processor time lately, then since the start; of equally cold ones the larger first.
///
/// Never: other users' processes, kernel services and the desktop's own programs (isProtectedProgram, `servants`), the
/// application with the focus, its relatives and its unit, this program with its helpers and those that it was started
/// from, what the user excludes, what is at work, and what holds hardly anything.
std::vector<Victim> selectVictims(const std::vector<ReclaimCandidate>& candidates, const ReclaimPolicy& policy);

/// The units all of whose processes may be paged out or hold hardly anything, in the order of their first victim. Its
/// victims' bytes are the unit's sum.
std::vector<Victim> selectUnits(const std::vector<ReclaimCandidate>& candidates, const ReclaimPolicy& policy);

}  // namespace halvard
