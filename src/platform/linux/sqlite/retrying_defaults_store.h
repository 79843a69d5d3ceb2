#pragma once

#include <QObject>
#include <atomic>

#include "core/clock.h"
#include "platform/linux/sqlite/sqlite_defaults_store.h"

namespace halvard {

/// The settings store of a program whose main thread must not stand still: its first look waits 5 s for
/// a process that keeps the file locked, everything later 200 ms. What could not be written is tried again by itself,
/// after 2 s and then ever more rarely, up to every 5 minutes; saving in between waits for nobody.
class RetryingDefaultsStore : public SqliteDefaultsStore {
 public:
  /// On the thread that tries again. `clock` outlives this object; for the others see SqliteDefaultsStore.
  RetryingDefaultsStore(Clock& clock, const QString& path, const QString& domain, Report report = {});

  bool synchronize() override;

 private:
  void tryLater();
  void tryAgain();

  QObject m_home;
  ScheduledCall m_retry;
  std::chrono::milliseconds m_delay;
  std::atomic<bool> m_hasFailed = false;
};

}  // namespace halvard
