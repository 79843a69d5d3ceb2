#pragma once

#include <QObject>
#include <QStringList>

namespace halvard {

class NotificationCenter;
class RunAtLoginManager;

/// Answers what the desktop tells the application: it has started, it was activated, it was asked to show itself again.
/// Main thread.
class ZPAppDelegate : public QObject {
  Q_OBJECT

 public:
  /// Both outlive the delegate.
  ZPAppDelegate(NotificationCenter& notifications, RunAtLoginManager& startAtLogin);

  /// `arguments` without the program's path. After MainInterface::awakeFromNib().
  void applicationDidFinishLaunching(const QStringList& arguments);
  /// The program was started again, or asked for from outside.
  void applicationShouldHandleReopen();
  /// The program comes to the front. The first time after a start by the launcher nobody asked for it, and nothing is
  /// shown.
  void applicationDidBecomeActive();

 private:
  NotificationCenter& m_notifications;
  RunAtLoginManager& m_startAtLogin;
  bool m_wasActive = false;
};

}  // namespace halvard
