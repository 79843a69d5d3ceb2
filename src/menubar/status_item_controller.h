#pragma once

#include <QObject>
#include <QString>

#include "core/size_format.h"

namespace halvard {

class Appearance;
class MemorySnapshot;
class PreferencesModel;
class StatusBarItem;

/// Fills the status item: the gauge picture, the text beside it and the tool tip. Main thread.
class StatusItemController : public QObject {
  Q_OBJECT

 public:
  /// All outlive the controller. The item shows "icon_start" and no text until the first reading.
  StatusItemController(StatusBarItem& item, Appearance& appearance, PreferencesModel& preferences, QString displayName);

  /// Shows the gauge picture and the tool tip of a reading.
  void updateStatusItem(const MemorySnapshot& snapshot);

  /// Shows the text beside the icon, by the display mode and the appearance.
  void fillTitle(const MemorySnapshot& snapshot);

  /// The picture of a running purge, until the next updateStatusItem().
  void showCleaningIcon();

 Q_SIGNALS:
  /// The user pressed the item, with either button.
  void statusItemAction();

 private:
  StatusBarItem& m_item;
  Appearance& m_appearance;
  PreferencesModel& m_preferences;
  QString m_displayName;
  size_format::ChangingSize m_usedSize;  // of the tool tip
  size_format::ChangingSize m_freeSize;
};

}  // namespace halvard
