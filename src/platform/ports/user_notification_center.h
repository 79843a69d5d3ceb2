#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

namespace halvard {

struct UserNotification {
  QString title;
  QString informativeText;
  /// Text of the one button; empty for none.
  QString actionButtonTitle;
  /// Comes back with the click.
  QVariantMap userInfo;
};

/// Notifications shown by the desktop. Main thread. No service: delivering does nothing.
class UserNotificationCenter : public QObject {
  Q_OBJECT

 public:
  using QObject::QObject;
  virtual void deliver(const UserNotification& notification) = 0;

 Q_SIGNALS:
  /// The user clicked the body (or the action button) of a notification delivered by this process.
  void activated(const QVariantMap& userInfo, bool byActionButton);
};

}  // namespace halvard
