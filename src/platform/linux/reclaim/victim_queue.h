#pragma once

#include <chrono>
#include <cstddef>
#include <vector>

#include "core/clock.h"
#include "platform/linux/reclaim/victim_source.h"

namespace halvard {

/// The victims of one session, one after another. Who gets the focus meanwhile is a victim no more, with all that
/// belongs to it.
class VictimQueue {
 public:
  /// selectVictims() or selectUnits().
  using Select = std::vector<Victim> (*)(const std::vector<ReclaimCandidate>&, const ReclaimPolicy&);
  /// How often it asks who has the focus, at most.
  static constexpr std::chrono::milliseconds kLookInterval{250};

  /// `victims` are those of `reading`. `source` and `clock` outlive this object.
  VictimQueue(VictimSource& source, Clock& clock, VictimSource::Reading reading, std::vector<Victim> victims,
              Select select);

  /// Null at the end. Valid until the next call.
  Victim* current();
  void next();
  void clear() { m_victims.clear(); }

 private:
  void spareWhoCameToTheFront();

  VictimSource& m_source;
  Clock& m_clock;
  VictimSource::Reading m_reading;
  std::vector<Victim> m_victims;  // the next one last
  Select m_select;
  std::chrono::steady_clock::time_point m_looked;
};

}  // namespace halvard
