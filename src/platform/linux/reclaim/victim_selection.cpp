#include "platform/linux/reclaim/victim_selection.h"

#include <QHash>
#include <QSet>
#include <algorithm>
#include <tuple>

#include "platform/linux/reclaim/protected_programs.h"

namespace halvard {
namespace {

/// The questions whose answers need the other processes.
class Judge {
 public:
  Judge(const std::vector<ReclaimCandidate>& candidates, const ReclaimPolicy& policy) : m_policy(policy) {
    for (const ReclaimCandidate& candidate : candidates)
      m_byPid.insert(candidate.pid, &candidate);
    m_focused = policy.focus.kind == Focus::Kind::Process ? m_byPid.value(policy.focus.pid) : nullptr;
  }

  /// Not to be touched, however much it holds.
  bool isSpared(const ReclaimCandidate& candidate) const {
    return !candidate.isOwn || candidate.pid <= 1 || candidate.recentUse >= kBusyUse || servesDesktop(candidate) ||
           isOwnFamily(candidate) || hasAttention(candidate) || isExcluded(candidate);
  }

 private:
  /// Bounded, because parents are read at another moment than children and may form a ring.
  bool descendsFrom(const ReclaimCandidate& candidate, std::int32_t ancestor) const {
    const ReclaimCandidate* current = &candidate;
    for (qsizetype steps = 0; current && steps <= m_byPid.size(); ++steps) {
      if (current->pid == ancestor) return true;
      current = m_byPid.value(current->parentPid);
    }
    return false;
  }

  bool servesDesktop(const ReclaimCandidate& candidate) const {
    return isProtectedProgram(candidate.program) ||
           std::ranges::find(m_policy.servants, candidate.pid) != m_policy.servants.end();
  }

  bool isOwnFamily(const ReclaimCandidate& candidate) const {
    const ReclaimCandidate* self = m_byPid.value(m_policy.self);
    return descendsFrom(candidate, m_policy.self) || (self && descendsFrom(*self, candidate.pid));
  }

  bool hasAttention(const ReclaimCandidate& candidate) const {
    if (m_policy.focus.kind == Focus::Kind::Unknown) return candidate.isRegular;
    if (m_policy.focus.kind == Focus::Kind::Nobody) return false;
    if (descendsFrom(candidate, m_policy.focus.pid)) return true;
    if (!m_focused) return false;
    const bool isSameUnit = !candidate.unit.isEmpty() && candidate.unit == m_focused->unit;
    const auto application = m_focused->application;
    return isSameUnit || (application && candidate.application == application) ||
           (application && descendsFrom(candidate, *application));
  }

  bool isExcluded(const ReclaimCandidate& candidate) const {
    return std::ranges::any_of(m_policy.exclusions, [&](const QString& name) {
      return name.compare(candidate.program, Qt::CaseInsensitive) == 0 ||
             (!candidate.applicationName.isEmpty() &&
              name.compare(candidate.applicationName, Qt::CaseInsensitive) == 0);
    });
  }

  const ReclaimPolicy& m_policy;
  QHash<std::int32_t, const ReclaimCandidate*> m_byPid;
  const ReclaimCandidate* m_focused = nullptr;
};

bool isColder(const ReclaimCandidate* left, const ReclaimCandidate* right) {
  const auto rank = [](const ReclaimCandidate& candidate) {
    return std::tuple(!candidate.application, candidate.recentUse, candidate.lifetimeUse);
  };
  if (rank(*left) != rank(*right)) return rank(*left) < rank(*right);
  return left->anonymousBytes > right->anonymousBytes;
}

std::vector<const ReclaimCandidate*> chosen(const std::vector<ReclaimCandidate>& candidates, const Judge& judge) {
  std::vector<const ReclaimCandidate*> result;
  for (const ReclaimCandidate& candidate : candidates) {
    if (candidate.anonymousBytes >= kLeastVictimBytes && !judge.isSpared(candidate)) result.push_back(&candidate);
  }
  std::ranges::stable_sort(result, isColder);
  return result;
}

Victim victimOf(const ReclaimCandidate& candidate) {
  const QString& name = candidate.applicationName.isEmpty() ? candidate.program : candidate.applicationName;
  return {candidate.pid, candidate.startTime, name, candidate.anonymousBytes, candidate.unit};
}

}  // namespace

std::vector<Victim> selectVictims(const std::vector<ReclaimCandidate>& candidates, const ReclaimPolicy& policy) {
  const Judge judge(candidates, policy);
  std::vector<Victim> victims;
  for (const ReclaimCandidate* candidate : chosen(candidates, judge))
    victims.push_back(victimOf(*candidate));
  return victims;
}

std::vector<Victim> selectUnits(const std::vector<ReclaimCandidate>& candidates, const ReclaimPolicy& policy) {
  const Judge judge(candidates, policy);
  QSet<QByteArray> spared{QByteArray()};
  for (const ReclaimCandidate& candidate : candidates) {
    if (judge.isSpared(candidate)) spared.insert(candidate.unit);
  }
  std::vector<Victim> units;
  for (const ReclaimCandidate* candidate : chosen(candidates, judge)) {
    if (spared.contains(candidate->unit)) continue;
    const auto known = std::ranges::find(units, candidate->unit, &Victim::unit);
    if (known == units.end())
      units.push_back(victimOf(*candidate));
    else
      known->bytes += candidate->anonymousBytes;
  }
  return units;
}

}  // namespace halvard
