#pragma once

#include <functional>

#include "core/clock.h"

namespace halvard {

class HTMLDownloader;
class ShowcaseDefaults;

/// Decides when the showcase shows itself: once for each page version, at most once a week. Main thread.
class ShowcaseSchedule {
 public:
  /// The references outlive this object. `pleaseShowWindow` shows the showcase.
  ShowcaseSchedule(ShowcaseDefaults& defaults, const HTMLDownloader& showcase, Clock& clock,
                   std::function<void()> pleaseShowWindow);

  /// Decides in 300 seconds when the showcase has been shown before, else on the next turn of the event loop.
  void pleaseShowWindowIfNeedAutomaticallyWithDelay();

 private:
  void showIfNeeded();

  ShowcaseDefaults& m_defaults;
  const HTMLDownloader& m_showcase;
  const std::function<void()> m_pleaseShowWindow;
  ScheduledCall m_call;
};

}  // namespace halvard
