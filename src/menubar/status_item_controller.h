#pragma once

#include <QObject>
#include <QString>
#include <cstdint>
#include <optional>

#include "core/units.h"

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

  /// Shows the gauge picture of a reading, and its figures in the tool tip: at once when they moved by a thousandth of
  /// the memory, else with every kRoundsPerToolTip-th reading, because each costs the host and this program more than
  /// all else in a minute.
  void updateStatusItem(const MemorySnapshot& snapshot);

  /// Shows the text beside the icon, by the display mode and the appearance.
  void fillTitle(const MemorySnapshot& snapshot);

  static constexpr int kRoundsPerToolTip = 60;

  /// The picture of a running purge, until the next updateStatusItem().
  void showCleaningIcon();

 Q_SIGNALS:
  /// The user pressed the item, with either button.
  void statusItemAction();

 private:
  /// What the text beside the icon is made of.
  struct TitleSource {
    std::int64_t visionIndex;
    std::int64_t figure;
    bool isOnDarkBar;
    bool operator==(const TitleSource&) const = default;
  };
  void fillToolTip(const MemorySnapshot& snapshot);

  StatusBarItem& m_item;
  Appearance& m_appearance;
  PreferencesModel& m_preferences;
  QString m_displayName;
  int m_shownStep = 0;                 // of the gauge; 0: another picture
  std::optional<TitleSource> m_title;  // none before the first
  ByteCount m_toldSize = 0;            // in the tool tip
  int m_roundsToToolTip = 0;
};

}  // namespace halvard
