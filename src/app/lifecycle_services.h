#pragma once

#include <optional>
#include <vector>

#include "lifecycle/document_store.h"
#include "lifecycle/move_to_applications.h"
#include "lifecycle/sharing_services.h"
#include "lifecycle/single_instance.h"
#include "lifecycle/updater.h"
#include "widgets/alert_window.h"

namespace halvard {

class MainInterface;

/// What the life cycle needs of the machine and the desktop.
struct LifecyclePlatform {
  RunningCopies& copies;
  const StandardFolders& folders;
  ObjectStore& objectStore;
  HttpFetcher& fetcher;
  Workspace& workspace;
  /// The bundle that runs; nothing where the program is installed otherwise.
  std::optional<QString> bundle;
};

/// The services of the program's life from start to end, each made once. Main thread.
struct LifecycleServices {
  LifecycleServices(const LifecyclePlatform& platform, DefaultsStore& store, Clock& clock,
                    DistributedNotificationCenter& distributed, NotificationCenter& notifications,
                    const Branding& branding);

  /// Shows a button for each sharing service that is there.
  void setSharingButton(MainInterface& interface);
  /// Makes the updater the target of the menu's item and starts its checks.
  void startUpdater(MainInterface& interface);

  AlertWindows alerts;
  SingleInstance singleInstance;
  MoveToApplications moveOffer;
  SharingServices sharing;
  Updater updater;
  DocumentStore documents;
};

}  // namespace halvard
