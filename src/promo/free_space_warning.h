#pragma once

#include <QObject>

#include "core/clock.h"
#include "promo/promo_free_space_checker.h"

namespace halvard {

class UserNotificationCenter;

/// Asks once a day whether a disk is nearly full, and says so in one of three texts, in turn. A click on it asks for
/// the disk section. Main thread.
class FreeSpaceWarning : public QObject {
  Q_OBJECT

 public:
  static constexpr int kTextCount = 3;

  /// The references outlive this object.
  FreeSpaceWarning(PromoFreeSpaceChecker& checker, ShowcaseDefaults& defaults, UserNotificationCenter& notifications,
                   Clock& clock);

  /// Asks at once, and from then on once a day.
  void start();

 private:
  void ask();
  QString text(std::int64_t index, const PromoFreeSpaceChecker::VolumeRecord& volume) const;

  PromoFreeSpaceChecker& m_checker;
  ShowcaseDefaults& m_defaults;
  UserNotificationCenter& m_notifications;
  ScheduledCall m_nextCall;
};

}  // namespace halvard
