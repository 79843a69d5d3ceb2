#pragma once

#include <vector>

#include "platform/ports/user_notification_center.h"

namespace halvard {

/// Keeps what was delivered and lets a test click it.
class FakeUserNotificationCenter : public UserNotificationCenter {
 public:
  using UserNotificationCenter::UserNotificationCenter;

  void deliver(const UserNotification& notification) override;

  /// Clicks the delivered notification at `position` (0 is the oldest); emits activated() with its user info.
  void click(std::size_t position, bool byActionButton = false);

  std::vector<UserNotification> delivered;
};

}  // namespace halvard
