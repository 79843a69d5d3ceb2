#include "promo/free_space_warning.h"

#include "core/size_format.h"
#include "platform/ports/user_notification_center.h"
#include "preferences/showcase_defaults.h"
#include "promo/promo_settings.h"
#include "promo/promo_xml.h"

namespace halvard {

FreeSpaceWarning::FreeSpaceWarning(PromoFreeSpaceChecker& checker, ShowcaseDefaults& defaults,
                                   UserNotificationCenter& notifications, Clock& clock)
    : m_checker(checker), m_defaults(defaults), m_notifications(notifications), m_nextCall(clock) {}

void FreeSpaceWarning::start() {
  ask();
  m_nextCall.start(PromoSettings::TIME_BETWEEN_TRY_TO_CHECK_DISK, [this] { start(); });
}

void FreeSpaceWarning::ask() {
  if (!m_checker.isNeedShowLackOfMemoryWarning()) return;
  const auto index = m_defaults.getLackOfDiskMemoryMessageIDwithTotalCount(kTextCount);
  m_notifications.deliver({.title = tr("Your disk is almost full"),
                           .informativeText = text(index, *m_checker.fullVolume()),
                           .actionButtonTitle = tr("Show"),
                           .userInfo = {{promo_notifications::kNeedOpenDiskUsage, true}}});
}

QString FreeSpaceWarning::text(std::int64_t index, const PromoFreeSpaceChecker::VolumeRecord& volume) const {
  const QString free = size_format::convertToStringFromFileSize(volume.freeSize);
  switch (index) {
    case 0:
      return tr("Only %1 left on \"%2\". See what takes up the space.").arg(free, volume.name);
    case 1:
      return tr("\"%2\" has %1 left. Old downloads and caches are a good place to start.").arg(free, volume.name);
    default:
      return tr("%1 free on \"%2\": programs may soon be unable to save. Find large files now.").arg(free, volume.name);
  }
}

}  // namespace halvard
