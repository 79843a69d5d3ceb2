#include "files_searcher/start_scanning_in_launched_app_manager.h"

#include <utility>

namespace halvard {
namespace {
const QString kDidFinishLaunching = QStringLiteral("com.tessmar.LaunchedAppDidFinishLaunching");
const QString kAskToStartScanning = QStringLiteral("com.tessmar.LaunchedAppAskToStartScanning");
constexpr std::chrono::seconds kPatience{5};
}  // namespace

StartScanningInLaunchedAppManager::StartScanningInLaunchedAppManager(DistributedNotificationCenter& notifications,
                                                                     Clock& clock)
    : m_notifications(notifications), m_launchedAppDidFinishLaunching(clock), m_startScanning(clock) {}

std::optional<QString> StartScanningInLaunchedAppManager::startScanningIdentifierWithType(SiblingApp type) {
  switch (type) {
    case SiblingApp::JunkCleaner:
      return QStringLiteral("com.tessmar.BrimwellIdentifierToStartScanning");
    case SiblingApp::Uninstaller:
      return QStringLiteral("com.tessmar.TarnbyIdentifierToStartScanning");
    case SiblingApp::DiskAnalyzer:
      return QStringLiteral("com.tessmar.QuorrelIdentifierToStartScanning");
    case SiblingApp::DuplicatesTool:
      return QStringLiteral("com.tessmar.PellmoreIdentifierToStartScanning");
    case SiblingApp::None:
      break;
  }
  return {};
}

void StartScanningInLaunchedAppManager::Subscription::start(DistributedNotificationCenter& notifications,
                                                            const QString& name, const QString& object,
                                                            std::function<void()> handler) {
  m_observer = std::make_unique<QObject>();
  const auto waits = std::make_shared<bool>(true);
  notifications.addObserver(name, object, m_observer.get(),
                            [this, waits, handler = std::move(handler)](const QString&) {
                              // Another one may come before the observer, which cannot go while it calls, is gone.
                              if (!std::exchange(*waits, false)) return;
                              m_timeUp.cancel();
                              if (m_observer) m_observer.release()->deleteLater();
                              handler();
                            });
  m_timeUp.start(kPatience, [this] { m_observer.reset(); });
}

void StartScanningInLaunchedAppManager::prepareToAppLaunchingWithType(SiblingApp type) {
  const auto identifier = startScanningIdentifierWithType(type);
  if (!identifier) return;
  m_launchedAppDidFinishLaunching.start(m_notifications, kDidFinishLaunching, *identifier,
                                        [this, id = *identifier] { m_notifications.post(kAskToStartScanning, id); });
}

void StartScanningInLaunchedAppManager::appWithTypeDidFinishLaunching(SiblingApp type) {
  launchedAppType = type;
  const auto identifier = startScanningIdentifierWithType(type);
  if (!identifier) return;
  m_startScanning.start(m_notifications, kAskToStartScanning, *identifier, [this] {
    if (startScaningBlock) startScaningBlock();
  });
  m_notifications.post(kDidFinishLaunching, *identifier);
}

}  // namespace halvard
