#include "platform/linux/reclaim/victim_queue.h"

#include <algorithm>
#include <utility>

namespace halvard {

VictimQueue::VictimQueue(VictimSource& source, Clock& clock, VictimSource::Reading reading, std::vector<Victim> victims,
                         Select select)
    : m_source(source),
      m_clock(clock),
      m_reading(std::move(reading)),
      m_victims(std::move(victims)),
      m_select(select),
      m_looked(clock.monotonicNow()) {
  std::ranges::reverse(m_victims);
}

Victim* VictimQueue::current() {
  if (!m_victims.empty()) spareWhoCameToTheFront();
  return m_victims.empty() ? nullptr : &m_victims.back();
}

void VictimQueue::next() {
  if (!m_victims.empty()) m_victims.pop_back();
}

void VictimQueue::spareWhoCameToTheFront() {
  const auto now = m_clock.monotonicNow();
  if (now - m_looked < kLookInterval) return;
  m_looked = now;
  Focus& focus = m_reading.policy.focus;
  const auto focused = m_source.focusedProcess();
  if (!focused || (focus.kind == Focus::Kind::Process && focus.pid == *focused)) return;
  focus = {Focus::Kind::Process, *focused};
  const std::vector<Victim> still = m_select(m_reading.candidates, m_reading.policy);
  std::erase_if(m_victims, [&](const Victim& victim) {
    return std::ranges::find(still, victim.pid, &Victim::pid) == still.end();
  });
}

}  // namespace halvard
