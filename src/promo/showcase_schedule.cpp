#include "promo/showcase_schedule.h"

#include "preferences/showcase_defaults.h"
#include "promo/html_downloader.h"

namespace halvard {

using namespace std::chrono_literals;

ShowcaseSchedule::ShowcaseSchedule(ShowcaseDefaults& defaults, const HTMLDownloader& showcase, Clock& clock,
                                   std::function<void()> pleaseShowWindow)
    : m_defaults(defaults), m_showcase(showcase), m_pleaseShowWindow(std::move(pleaseShowWindow)), m_call(clock) {}

void ShowcaseSchedule::pleaseShowWindowIfNeedAutomaticallyWithDelay() {
  m_call.start(m_defaults.isShowcaseShowedBefore() ? 300s : 0s, [this] { showIfNeeded(); });
}

void ShowcaseSchedule::showIfNeeded() {
  const std::int32_t version = m_showcase.getVersion();
  if (!m_defaults.isNeedShowShowcaseDialogAutomaticallyWithVersion(version)) {
    m_defaults.notifyAboutShowcaseTryToShowAutomatically();
    return;
  }
  m_defaults.notifyShowcaseDialogDataThatShowedAutomaticallyVersion(version);
  m_pleaseShowWindow();
}

}  // namespace halvard
