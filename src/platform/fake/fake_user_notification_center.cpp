#include "platform/fake/fake_user_notification_center.h"

namespace halvard {

void FakeUserNotificationCenter::deliver(const UserNotification& notification) {
  delivered.push_back(notification);
}

void FakeUserNotificationCenter::click(std::size_t position, bool byActionButton) {
  const QVariantMap userInfo = delivered.at(position).userInfo;
  Q_EMIT activated(userInfo, byActionButton);
}

}  // namespace halvard
