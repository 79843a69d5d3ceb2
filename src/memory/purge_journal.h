#pragma once

#include <QObject>
#include <chrono>
#include <functional>

#include "core/clock.h"
#include "memory/memory_snapshot.h"
#include "memory/purge_history.h"
#include "memory/purge_ledger.h"

namespace halvard {

class ZPPurgeController;

/// Writes the history: each purge of the controller when it has ended, and again a minute later with what is left of
/// its gain. The second look is dropped when the next purge starts before it, when another process purges then or has
/// purged since, and when the program ends. Main thread.
class PurgeJournal : public QObject {
  Q_OBJECT

 public:
  static constexpr std::chrono::seconds kRecheckDelay{60};

  /// False while another process purges.
  using IsAlone = std::function<bool()>;

  /// All outlive this object. Without `isAlone` no other process purges as long as this one runs.
  PurgeJournal(ZPPurgeController& controller, HostStatistics& host, const MacOSVersion& version, DefaultsStore& store,
               Clock& clock, IsAlone isAlone = {});

 Q_SIGNALS:
  /// A purge has ended and stands in the history.
  void recorded(const halvard::PurgeReport& report);
  /// The same purge, with its second look.
  void rechecked(const halvard::PurgeReport& report);

 private:
  void onPurgeFinished(const PurgeReport& report);
  void recheck();

  HostStatistics& m_host;
  Clock& m_clock;
  const IsAlone m_isAlone;
  MemorySnapshot m_snapshot;
  PurgeHistory m_history;
  PurgeReport m_report;
  LedgerReading m_after;
  ScheduledCall m_recheck;
};

}  // namespace halvard
