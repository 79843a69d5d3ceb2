#include "memory/purge_journal.h"

#include <utility>

#include "memory/purge_record.h"
#include "memory/zp_purge_controller.h"

namespace halvard {

PurgeJournal::PurgeJournal(ZPPurgeController& controller, HostStatistics& host, const MacOSVersion& version,
                           DefaultsStore& store, Clock& clock, IsAlone isAlone)
    : m_host(host),
      m_clock(clock),
      m_isAlone(std::move(isAlone)),
      m_snapshot(host, version),
      m_history(store),
      m_recheck(clock) {
  m_snapshot.initValues();
  connect(&controller, &ZPPurgeController::purgeStarted, this, [this] { m_recheck.cancel(); });
  connect(&controller, &ZPPurgeController::purgeFinished, this, &PurgeJournal::onPurgeFinished);
}

void PurgeJournal::onPurgeFinished(const PurgeReport& report) {
  if (!report.success) return;
  m_report = report;
  m_history.put(purgeRecord(m_report));
  m_snapshot.updateMemoryStatictics();
  m_after = readLedger(m_snapshot, m_host, m_clock);
  m_recheck.start(kRecheckDelay, [this] { recheck(); });
  Q_EMIT recorded(m_report);
}

void PurgeJournal::recheck() {
  // In this order: a purge that ends in between stands in the history.
  if (m_isAlone && !m_isAlone()) return;
  if (!m_history.isLatest(purgeRecord(m_report))) return;
  if (m_snapshot.updateMemoryStatictics() != HostStatistics::kSuccess) return;
  m_report.recheck = recheckOf(m_report, m_after, readLedger(m_snapshot, m_host, m_clock));
  m_history.put(purgeRecord(m_report));
  Q_EMIT rechecked(m_report);
}

}  // namespace halvard
