#pragma once

#include <QString>
#include <cstdint>

#include "core/units.h"

namespace halvard {

class MemorySnapshot;

/// What ZPPurgeController shows: the clean button, the status item and the panel, or a terminal. Main thread.
/// Every operation does nothing by default, so that a view implements what it has.
class PurgeControllerView {
 public:
  virtual ~PurgeControllerView() = default;

  // The clean button.
  virtual void beginProgressUpdate() {}
  virtual void endProgressUpdate() {}
  /// 0 to 1.
  virtual void setProgess(float /*progress*/) {}
  virtual void setCleanButtonEnabled(bool /*enabled*/) {}
  virtual void setCleanButtonTitle(const QString& /*title*/) {}

  // The status item.
  /// Shows the picture of a running purge.
  virtual void showCleaningIcon() {}
  /// A new reading is there.
  virtual void updateStatusItem(const MemorySnapshot& /*snapshot*/) {}

  /// True while somebody may follow the figures: then every round reads the counters.
  virtual bool isWatched() const { return false; }

  // The panel, and the text beside the status item.
  virtual void fillInfoPanel(const MemorySnapshot& /*snapshot*/) {}
  /// `size` is in bytes, -1 when nothing was cleaned yet; `timeDescription` is empty when the cleaning was not today.
  virtual void fillLastCleanedLabelWithSize(std::int64_t /*size*/, const QString& /*timeDescription*/) {}
  virtual void onPurgedMemory() {}

  // Offers that follow a purge; each decides by its own rules whether it really comes.
  virtual void showRateDialogAutomaticallyIfNeeded() {}
  virtual void showAutostartPopupWindow(ByteCount /*cleanedSize*/) {}
};

}  // namespace halvard
