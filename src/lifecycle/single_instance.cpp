#include "lifecycle/single_instance.h"

#include <utility>

#include "core/notification_center.h"
#include "platform/ports/distributed_notification_center.h"
#include "platform/ports/running_copies.h"

namespace halvard {

QString SingleInstance::appCopyHaveJustTriedToLaunchNotificatioName() {
  return QStringLiteral("AppCopyHaveJustTriedToLaunchNotificatioName");
}

SingleInstance::SingleInstance(RunningCopies& copies, DistributedNotificationCenter& distributed,
                               NotificationCenter& notifications, QString bundleIdentifier, QString showRequest)
    : m_copies(copies),
      m_distributed(distributed),
      m_notifications(notifications),
      m_bundleIdentifier(std::move(bundleIdentifier)),
      m_showRequest(std::move(showRequest)) {}

bool SingleInstance::crashTheAppIfCopyIsAlreadyLaunched() {
  if (becomeTheOne()) return false;
  const auto others = m_copies.others();
  // The one that was faster has just quit.
  if (others.empty() && becomeTheOne()) return false;
  for (std::size_t position = 0; position < others.size(); ++position)
    position == 0 ? others[position]->activate() : others[position]->terminate();
  m_distributed.post(appCopyHaveJustTriedToLaunchNotificatioName(), m_bundleIdentifier);
  return true;
}

/// Observes before it claims: from the moment that another copy can lose, its word arrives.
bool SingleInstance::becomeTheOne() {
  m_observation = std::make_unique<QObject>();
  m_distributed.addObserver(appCopyHaveJustTriedToLaunchNotificatioName(), m_bundleIdentifier, m_observation.get(),
                            [this](const QString&) { appCopyHaveJustTriedToLaunch(); });
  if (m_copies.claim()) return true;
  m_observation.reset();
  return false;
}

void SingleInstance::giveWay() {
  m_observation.reset();
  m_copies.release();
}

bool SingleInstance::resume() {
  return becomeTheOne();
}

void SingleInstance::appCopyHaveJustTriedToLaunch() {
  m_notifications.post(m_showRequest);
}

}  // namespace halvard
