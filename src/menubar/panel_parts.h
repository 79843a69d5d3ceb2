#pragma once

#include <memory>

class QWidget;

namespace halvard {

/// The list of applications as the panel needs it. Destroying it removes its view.
class PanelProcessList {
 public:
  virtual ~PanelProcessList() = default;
  virtual QWidget* view() = 0;
  /// Asks for a fresh list.
  virtual void updateApps() = 0;
};

/// The disk-usage summary as the panel needs it. Destroying it removes its view.
class PanelDiskUsage {
 public:
  enum Mode { Detailed = 0, Compact = 1 };
  virtual ~PanelDiskUsage() = default;
  virtual QWidget* view() = 0;
  /// Logical pixels.
  virtual float getViewHeightForMode(Mode mode) = 0;
  virtual void changeToCompactMode(bool compact, bool animated) = 0;
  /// The window has reached the size of the mode.
  virtual void completionChangeToCompactMode(bool compact) = 0;
};

/// Makes the parts of the panel that other subsystems draw. Null: the program has no such part.
class PanelParts {
 public:
  virtual ~PanelParts() = default;
  virtual std::unique_ptr<PanelProcessList> makeProcessList(QWidget* parent) = 0;
  virtual std::unique_ptr<PanelDiskUsage> makeDiskUsage(QWidget* parent) = 0;
  /// True when promotional content, and with it the disk-usage summary, may be shown.
  virtual bool isCanShowAds() const = 0;
  /// True when the disk is to be scanned at start-up and its owner has granted access.
  virtual bool startsWithDiskUsage() const = 0;
};

}  // namespace halvard
