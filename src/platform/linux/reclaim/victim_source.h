#pragma once

#include <QByteArray>
#include <QStringList>
#include <functional>
#include <optional>
#include <vector>

#include "core/clock.h"
#include "platform/linux/reclaim/victim_selection.h"

namespace halvard {

/// Everybody, and what is to be left alone. One thread at a time.
class VictimSource {
 public:
  struct Reading {
    std::vector<ReclaimCandidate> candidates;
    ReclaimPolicy policy;
  };
  virtual ~VictimSource() = default;
  /// Blocks for about half a second, over which it sees who uses the processors.
  virtual Reading read() = 0;
  /// Who has the focus now, and nothing else: quickly. Nothing when nobody has it, or the screen does not tell.
  virtual std::optional<std::int32_t> focusedProcess() = 0;
};

/// The processes and applications of this session. Keeps nothing between two readings, because they are minutes apart.
class LinuxVictimSource : public VictimSource {
 public:
  /// `exclusions` is asked at each reading, on the reading thread. `display` and `root` are for tests.
  LinuxVictimSource(Clock& clock, std::function<QStringList()> exclusions, QByteArray display = {},
                    QByteArray root = "/proc");
  Reading read() override;
  std::optional<std::int32_t> focusedProcess() override;

 private:
  class Pass;
  Clock& m_clock;
  const std::function<QStringList()> m_exclusions;
  const QByteArray m_display;
  const QByteArray m_root;
};

/// The size behind "RssAnon:" in the text of /proc/PID/status, in bytes; 0 when it is not there.
ByteCount parseAnonymousResident(std::string_view status);

}  // namespace halvard
