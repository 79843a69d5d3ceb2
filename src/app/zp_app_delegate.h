#pragma once

#include <QObject>
#include <QStringList>

namespace halvard {

class NotificationCenter;

/// Answers what the desktop tells the application: it has started, it was activated, it was asked to show itself again.
/// Main thread.
class ZPAppDelegate : public QObject {
  Q_OBJECT

 public:
  /// `notifications` outlives the delegate.
  explicit ZPAppDelegate(NotificationCenter& notifications);

  /// `arguments` without the program's path. After MainInterface::awakeFromNib().
  void applicationDidFinishLaunching(const QStringList& arguments);
  /// The program was started again, or asked for from outside.
  void applicationShouldHandleReopen();

 private:
  NotificationCenter& m_notifications;
};

}  // namespace halvard
