#pragma once

#include <QWidget>
#include <optional>

#include "core/clock.h"
#include "core/units.h"

class QLabel;

namespace halvard {

class CleanMemoryButton;
class HintWindow;
class PanelWindowInfoLabel;
class PieChartView;
class PurgeDetailsLabel;
struct PurgeDetails;

/// The summary area of the panel: the percentage, the subtitle that alternates between the used and the cleaned text,
/// the last cleaning, the chart and the button that frees memory. Panel width x panel_layout::kSummaryHeight.
class SummaryView : public QWidget {
  Q_OBJECT

 public:
  /// What the subtitle shows, as its tag.
  enum SubtitleTag { UsedText = 1, CleanedText = 2 };

  SummaryView(Clock& clock, HintWindow& hint, QWidget* parent = nullptr);

  /// `fraction` is used / total; sizes are in bytes. While the view is hidden the figures are kept, and shown with it.
  void fillInfoPanelWithUsedMemoryPercent(double fraction, ByteCount usedSize, ByteCount totalSize);
  /// Bytes and "at 15:45"; nothing is shown for a size below 1 or an empty description.
  void fillLastCleanedLabelWithSize(std::int64_t size, const QString& timeDescription);
  /// The small line about the last purge; none before the first.
  void fillPurgeDetails(const PurgeDetails& details);
  /// After a purge that gained memory: shows what was cleaned, for 30 s where the subtitle has to make room for it.
  void onPurgedMemory(bool isDetailed);
  /// Bytes of wired and application memory and of everything else.
  void fillChart(ByteCount wired, ByteCount application, ByteCount free);

  /// The controls' places and states in either layout.
  void switchToCompactModeAnimated(bool animated);
  void switchToDetailedModeAnimated(bool animated);
  /// Switches the subtitle between its two texts.
  void subtitleLabelClicked();

  CleanMemoryButton& freeButton() { return *m_pBtnFree; }
  const PanelWindowInfoLabel& subtitle() const { return *m_pInfoSubtitleLastUsedMemorySize; }
  const QLabel& title() const { return *m_pInfoTitleLabel; }
  const QLabel& cleanedSizeLabel() const { return *m_cleanedSizeLabel; }
  const PurgeDetailsLabel& purgeDetailsLabel() const { return *m_purgeDetails; }
  PieChartView& chart() { return *m_chart; }

 protected:
  void showEvent(QShowEvent* event) override;

 private:
  struct UsedMemory {
    double fraction;
    ByteCount used;
    ByteCount total;
  };

  void showUsedMemory();
  void setSubtitleLabel();
  void makeSubtitleClickable(bool clickable);
  void place(QWidget* control, int x, qreal y, int width, int height, bool animated);

  QLabel* m_pInfoTitleLabel;
  PanelWindowInfoLabel* m_pInfoSubtitleLastUsedMemorySize;
  QLabel* m_cleanedSizeLabel;
  PurgeDetailsLabel* m_purgeDetails;
  QLabel* m_listCaption;
  PieChartView* m_chart;
  CleanMemoryButton* m_pBtnFree;
  /// What the labels do not show yet.
  std::optional<UsedMemory> m_unshown;
  QString m_pInfoUsedSizeString;
  QString m_pInfoCleanedSizeString;
  ScheduledCall m_toggleBack;
};

}  // namespace halvard
