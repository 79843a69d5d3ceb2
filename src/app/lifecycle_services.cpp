#include "app/lifecycle_services.h"

#include <QCoreApplication>
#include <QFile>

#include "app/main_interface.h"
#include "branding/branding.h"
#include "core/application_identity.h"
#include "platform/ports/standard_folders.h"

namespace halvard {
namespace {

std::optional<QString> applicationSupport(const StandardFolders& folders) {
  const auto folder = folders.applicationSupport();
  return folder ? std::optional(QFile::decodeName(*folder)) : std::nullopt;
}

}  // namespace

LifecycleServices::LifecycleServices(const LifecyclePlatform& platform, DefaultsStore& store, Clock& clock,
                                     DistributedNotificationCenter& distributed, NotificationCenter& notifications,
                                     const Branding& branding)
    : alerts(application_identity::kDisplayName),
      singleInstance(platform.copies, distributed, notifications, application_identity::kBundleIdentifier,
                     MainInterface::kShowMainWindowAndMakeActive),
      moveOffer({store, alerts, platform.copies, platform.folders}, platform.bundle,
                application_identity::kDisplayName),
      sharing(platform.workspace, branding, application_identity::kDisplayName),
      updater({store, platform.fetcher, platform.workspace, alerts, clock}, branding.updateFeed,
              branding.updatePublicKey, application_identity::kDisplayName, QCoreApplication::applicationVersion()),
      documents(platform.objectStore, alerts, applicationSupport(platform.folders)) {}

void LifecycleServices::setSharingButton(MainInterface& interface) {
  std::vector<ShareButton> buttons;
  for (const SharingService& service : sharing.available())
    buttons.push_back({service.title, [this, kind = service.kind] { sharing.share(kind); }});
  interface.setShareButtons(std::move(buttons));
}

void LifecycleServices::startUpdater(MainInterface& interface) {
  QObject::connect(&interface, &MainInterface::checkForUpdates, &updater, &Updater::checkForUpdates);
  interface.setUpdaterVisible(updater.isOn());
  updater.setAutomaticallyChecksForUpdates(true);
  updater.resetUpdateCycle();
}

}  // namespace halvard
