#pragma once

namespace halvard {

/// What a launch sets going beside the delegate's own work, in the order in which it happens.
class LaunchSteps {
 public:
  virtual ~LaunchSteps() = default;
  /// Every window is light, whatever the desktop is.
  virtual void forceLightAppearance() = 0;
  /// Panel, status item and first figures; before everything that a user could see.
  virtual void awakeInterface() = 0;
  /// Unpacks the sibling tools that ship with the program.
  virtual void copyApplications() = 0;
  virtual void setSharingButton() = 0;
  virtual void startUpdater() = 0;
  virtual void startPromotionManager() = 0;
  virtual void removeMistakenFolders() = 0;
  /// Ends this copy: another one takes over.
  virtual void terminate() = 0;
};

}  // namespace halvard
