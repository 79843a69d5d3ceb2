#pragma once

#include <QLabel>
#include <QPointer>
#include <QTimer>
#include <QWidget>
#include <array>
#include <functional>

#include "core/notification_center.h"
#include "files_searcher/disk_access_restore_manager.h"
#include "files_searcher/searcher_manager.h"
#include "files_searcher/ui/ad_based_on_spotlight_view.h"
#include "files_searcher/ui/disk_figure_row.h"
#include "files_searcher/ui/disk_usage_summary.h"
#include "files_searcher/ui/grant_panels.h"
#include "preferences/showcase_defaults.h"

namespace halvard {

/// The disk-usage section of the panel. Destroying it removes its view and ends the search it waits for; what was
/// found stays with the manager. Main thread.
class AdBasedOnSpotlightVC : public QObject, private SearcherManagerDelegate {
  Q_OBJECT

 public:
  enum Mode { Detailed = 0, Compact = 1 };
  /// What the section shows: the summary or one of the pages.
  enum State : std::uint32_t { Summary = 0, JunkFiles = 1, Duplicates = 2, LargeAndOld = 3, Applications = 4 };

  struct Services {
    SearcherManager& searchers;
    DiskAccessRestoreManager& access;
    SiblingTools& tools;
    ShowcaseDefaults& defaults;
    NotificationCenter& notifications;
    GrantPanels& panels;
    /// Only the home folder is asked for.
    std::function<bool()> isReviewMode;
    /// Runs after every answer of the grant panel but Cancel: removes what the uninstaller tool left in a wrong place.
    std::function<void()> removeMistakenFolders;
  };

  /// The services must outlive this object.
  AdBasedOnSpotlightVC(Services services, QWidget* parent);
  ~AdBasedOnSpotlightVC() override;

  QWidget* view() const;

  /// Posted on the notification centre when the detailed mode is wanted.
  static QString showDetailedDiskUsagePressedNotificationName();
  /// Logical pixels: detailed 250; compact 100 with the button "Analyze Disk", 120 without.
  float getViewHeightForMode(Mode mode) const;
  void changeToCompactMode(bool compact, bool animated);
  /// The window has reached the size of the mode. In the detailed mode a granted disk is searched.
  void completionChangeToCompactMode(bool compact);

  void showDetailedDiskUsagePressed();
  void showDetailedDiskUsagePressedBlueButton();
  /// Asks for access until the right folder is chosen or the user cancels; tells whether it was granted.
  void showOpenPanelToGrantAccessCompletion(std::function<void(bool granted)> completion);
  /// Nobody looks any more: ends a search that runs; what it has found stays.
  void pauseScanning();
  /// Searches for what pauseScanning() left open.
  void resumeScanning();
  void totalSizeLabelPressed();
  void detailsButtonPressed();
  /// Slides a page in over the summary. Nothing happens while scanning, during another slide, or without a figure.
  void showView(State state);
  void backButtonPressed();

  bool isScanning() const { return m_bIsScanning; }
  State state() const { return m_state; }

 private:
  static constexpr std::size_t kPages = 4;

  void onSpotlightManagerFoundJunkFilesInfo(const JunkFilesViewInfo& info) override;
  void onSpotlightManagerFoundApplicationsInfo(const ApplicationsUnusedViewInfo& info) override;
  void onSpotlightManagerFoundLargetAndOldFilesInfo(const LargeAndOldFilesViewInfo& info) override;
  void onSpotlightManagerFoundDuplicatesInfo(const DuplicateFilesViewInfo& info) override;

  void makeControls();
  void setLabelsActions();
  void arrange();
  bool isAccessGranted() const;
  bool isReviewMode() const { return m_services.isReviewMode && m_services.isReviewMode(); }
  void wrongFolderHasBeenSelectedCompletion(std::function<void(bool granted)> completion);
  void setIsScanning(bool scanning);
  void startScanning(bool forced);
  void resetLabel(std::size_t page);
  void sizeLabelPressed(std::size_t page);
  void updateOverallViewContent();
  /// Moves a page; `ended` may be empty.
  /// Lets the content appear out of nothing.
  void fadeIn();
  void slide(AdBasedOnSpotlightView* page, int from, int to, std::function<void()> ended);
  AdBasedOnSpotlightView* getCurrentView() const;

  Services m_services;
  QPointer<DiskUsageSummary> m_view;
  QLabel* m_title;
  QAbstractButton* m_overallTotalSizeLabel;
  QLabel* m_hint;
  IconButton* diskUsageButton;
  TextButton* m_details;
  CleanMemoryButton* m_pShowDetailedDiskUsageBlueButton;
  /// In the order of the states.
  std::array<DiskFigureRow*, kPages> m_rows{};
  std::array<AdBasedOnSpotlightView*, kPages> m_pages{};
  JunkFilesView* m_pJunkFilesView;
  DuplicateFilesView* m_pDuplicatesFilesView;
  LargeAndOldFilesView* m_pLargerAndOldFilesView;
  ApplicationsUnusedView* m_pApplicationsUnusedView;
  QTimer m_progressTimer;
  State m_state = Summary;
  bool m_bIsScanning = false;
  bool m_paused = false;
  bool m_animating = false;
  bool m_compact = true;
};

}  // namespace halvard
