#pragma once

#include <QObject>
#include <QStringList>
#include <functional>
#include <optional>

namespace halvard {

class DocumentStore;
class LaunchSteps;
class MoveToApplications;
class NotificationCenter;
class RunAtLoginManager;
class SingleInstance;

/// What the delegate works with. All of it outlives the delegate.
struct AppDelegateServices {
  NotificationCenter& notifications;
  RunAtLoginManager& startAtLogin;
  SingleInstance& singleInstance;
  MoveToApplications& moveOffer;
  DocumentStore& documents;
  LaunchSteps& steps;
  /// Starts a program file that lives on without this one. False when it could not be started.
  std::function<bool(const QString& program)> launch;
  /// The suite edition is never offered to be moved.
  bool isSuite = false;
};

/// Answers what the desktop tells the application: it has started, it was activated, it was asked to show itself again,
/// it is to end. Main thread.
class ZPAppDelegate : public QObject {
  Q_OBJECT

 public:
  explicit ZPAppDelegate(AppDelegateServices services);

  /// `arguments` without the program's path. False when another copy runs: then nothing has been shown, and this one
  /// must end. The later steps may wait for the user's answer to the move offer.
  bool applicationDidFinishLaunching(const QStringList& arguments);
  /// The program was started again, or asked for from outside. True: there is nothing else to be done.
  bool applicationShouldHandleReopen();
  /// The program comes to the front. The first time after a start by the launcher nobody asked for it, and nothing is
  /// shown.
  void applicationDidBecomeActive();
  /// Whether the program may end now.
  bool applicationShouldTerminate();

 private:
  void moveOfferAnswered(const std::optional<QString>& newPath, const QStringList& arguments);
  void finishLaunching(const QStringList& arguments);
  void relaunch(const QString& bundle);

  const AppDelegateServices m_services;
  bool m_wasActive = false;
  bool m_asksToMove = false;
};

}  // namespace halvard
