#pragma once

#include <QObject>
#include <QString>
#include <functional>
#include <memory>
#include <optional>

#include "branding/sibling_app.h"
#include "core/clock.h"
#include "platform/ports/distributed_notification_center.h"

namespace halvard {

/// Asks a sibling tool that is being launched to start scanning at once. The same class runs in the launcher and in the
/// launched tool. Main thread.
class StartScanningInLaunchedAppManager {
 public:
  /// The references must outlive this object.
  StartScanningInLaunchedAppManager(DistributedNotificationCenter& notifications, Clock& clock);

  /// Nothing for a type without a tool.
  static std::optional<QString> startScanningIdentifierWithType(SiblingApp type);

  /// In the launcher, before the launch: for five seconds a tool of this type that says it has started is asked to
  /// scan.
  void prepareToAppLaunchingWithType(SiblingApp type);

  /// In the launched tool, at its start: says so, and for five seconds runs `startScaningBlock` when asked to scan.
  void appWithTypeDidFinishLaunching(SiblingApp type);

  SiblingApp launchedAppType = SiblingApp::None;
  std::function<void()> startScaningBlock;

 private:
  /// Observes one notification until it comes or time is up.
  class Subscription {
   public:
    explicit Subscription(Clock& clock) : m_timeUp(clock) {}
    void start(DistributedNotificationCenter& notifications, const QString& name, const QString& object,
               std::function<void()> handler);

   private:
    std::unique_ptr<QObject> m_observer;
    ScheduledCall m_timeUp;
  };

  DistributedNotificationCenter& m_notifications;
  Subscription m_launchedAppDidFinishLaunching;
  Subscription m_startScanning;
};

}  // namespace halvard
