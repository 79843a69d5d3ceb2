#pragma once

#include <QString>
#include <chrono>

#include "core/weak_ref.h"
#include "crash/cache_manager.h"
#include "crash/crash_description.h"

namespace halvard {

/// Nothing is asked of it.
class TessmarFallManagerDelegate : public WeakTarget {
 protected:
  ~TessmarFallManagerDelegate() = default;
};

/// Where crash capture finds its parts.
struct FallManagerSettings {
  CrashIdentity identity;
  /// The reporter's executable.
  QString reporterPath;
  /// What a relaunch starts.
  QString programPath;
  /// Where reports go.
  QString reportFolder;
  /// How long the reporter may say nothing before the dying process gives up on it.
  std::chrono::milliseconds silenceLimit{20'000};

  /// The reporter beside the program's own file, which a relaunch starts; reports in the user's state folder.
  static FallManagerSettings standard(CrashIdentity identity);
};

/// Crash capture of this process. Once started it stays for the life of the process. Main thread.
class TessmarFallManager {
 public:
  /// `cache` must outlive this object.
  TessmarFallManager(CacheManager& cache, FallManagerSettings settings);

  /// Installs the handlers, and counts the crashes that nobody could count when they happened. As early as possible.
  void start();
  /// Part of start(): signals, and exceptions nobody catches.
  void setFallHandlers();

  /// Whether the handlers say on stderr what they do; off at first.
  void turnOnLogs();
  void turnOffLogs();

  void setDelegate(TessmarFallManagerDelegate* delegate) { m_delegate = delegate; }

 private:
  QString reportHead() const;
  void countMissedCrashes();

  CacheManager& m_cache;
  const FallManagerSettings m_settings;
  WeakRef<TessmarFallManagerDelegate> m_delegate;
  bool m_logs = false;
};

}  // namespace halvard
