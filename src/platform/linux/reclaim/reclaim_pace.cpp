#include "platform/linux/reclaim/reclaim_pace.h"

namespace halvard {
namespace {

using namespace std::chrono_literals;

constexpr auto kOneWait = 100ms;

QString refusalText(const GuardReadings& readings) {
  return isSwapFull(readings) ? QStringLiteral("swap is four fifths full")
                              : QStringLiteral("other programs are waiting for memory");
}

}  // namespace

std::optional<QString> obstacleToPagingOut(const std::optional<GuardReadings>& readings) {
  if (!readings) return QStringLiteral("the machine does not say how much memory it has");
  if (readings->swapTotal == 0) return QStringLiteral("there is no swap to page out to");
  if (judgePageOut(*readings, std::nullopt) == GuardVerdict::Refuse) return refusalText(*readings);
  return std::nullopt;
}

ReclaimPace::ReclaimPace(GuardReadingsSource& readings, Clock& clock)
    : m_readings(readings), m_clock(clock), m_started(clock.monotonicNow()) {}

bool ReclaimPace::refuse(const QString& reason) {
  m_refusal = reason;
  return false;
}

bool ReclaimPace::mayStep() {
  if (!m_refusal.isEmpty()) return false;
  for (std::chrono::milliseconds waited = 0ms;; waited += kOneWait) {
    if (m_clock.monotonicNow() - m_started >= kWorkInAll) return refuse(QStringLiteral("it took too long"));
    const std::optional<GuardReadings> now = m_readings.read();
    if (!now) return refuse(QStringLiteral("the machine does not say how much memory it has"));
    const GuardVerdict verdict = judgePageOut(*now, m_before);
    m_before = now;
    if (verdict == GuardVerdict::Go) return true;
    const bool isPatient = waited < kWaitForStep && m_waited < kWaitInAll;
    if (verdict == GuardVerdict::Refuse || !isPatient) return refuse(refusalText(*now));
    m_clock.sleepFor(kOneWait);
    m_waited += kOneWait;
  }
}

}  // namespace halvard
