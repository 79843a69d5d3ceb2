#pragma once

#include <QPointer>
#include <QVariantAnimation>
#include <QWidget>
#include <functional>
#include <memory>
#include <optional>

#include "core/clock.h"
#include "core/weak_ref.h"
#include "widgets/draggable_window.h"

class QAbstractButton;
class QLabel;

namespace halvard {

class HintWindow;
class IconButton;
class NotificationCenter;
class PanelDiskUsage;
class PanelParts;
class PanelProcessList;
class PanelView;
class ShowcaseDefaults;
class StatusBarItem;
class SummaryView;
class WindowHints;

/// Held weakly by the panel.
class PanelWindowDelegate : public WeakTarget {
 public:
  virtual ~PanelWindowDelegate() = default;
  virtual void panelWindowWantsToOpenPreferences() = 0;
  /// The status item was clicked while the panel is open.
  virtual void panelWindowHidesNews() {}
  /// True while the news or the showcase are open: the panel does not close when they take the keyboard.
  virtual bool panelWindowHasPageOpen() const { return false; }
};

/// The drop-down panel: attached ("locked") to the status item, with a triangle that points at it and closing when the
/// program loses the focus, or detached where the user dragged it, staying open and remembering its place.
/// Main thread.
class PanelWindow : public DraggableWindow {
  Q_OBJECT

 public:
  /// Flags of the state word.
  enum WindowState : std::uint64_t { DetailedFlag = 2, AdFlag = 4, DetailedAdFlag = 8 };

  /// How long the item may be without a tray: longer than hosts take to answer at the start, and than a substitute for
  /// the item takes to come.
  static constexpr std::chrono::milliseconds kTrayPatience{3000};
  enum class WithoutTray { Opens, Minimizes };

  /// "Close the panel unless it is in use."
  inline static const QString kCloseMainWindowIfNotActive = QStringLiteral("CloseMainWindowIfNotActive");

  /// All outlive the panel.
  PanelWindow(Clock& clock, ShowcaseDefaults& defaults, NotificationCenter& notifications, StatusBarItem& statusItem,
              PanelParts& parts, WindowHints& hints);
  ~PanelWindow() override;

  /// First state and attachment, from the stored settings.
  void awakeFromNib();
  void setPanelWindowDelegate(PanelWindowDelegate* delegate) { m_panelWindowDelegate = delegate; }

  bool isLocked() const;
  void setLocked(bool locked);
  /// Attaches or detaches: stores it, and shows or hides the triangle.
  void showTriangle(bool show);
  void closeAndMakeItLocked();
  void closeButtonPressed();
  /// The status item was clicked. `canBeClosed`: an attached panel that is open closes.
  void processActionOfStatusItem(bool canBeClosed);
  /// At start-up: a detached panel comes back to its place.
  void showWindowIfNotLocked();
  /// Shows the panel where it belongs and gives it the keyboard.
  void bringToFront();
  /// Visible, and not minimised to the window list.
  bool isOpen() const { return isVisible() && !isMinimized(); }
  /// From now on the panel stands in the desktop's window list while no tray shows the item: there it stays open when
  /// the program loses the focus, and closing minimises it. Nothing of that is stored. A panel that is closed then
  /// opens when the item is missing from the start, if `atStart` says so, else it is minimised.
  void followTray(WithoutTray atStart);

  std::uint64_t windowState() const { return m_windowState; }
  bool isWindowStateDetailed() const { return (m_windowState & DetailedFlag) != 0; }
  bool isWindowStateWithAd() const { return (m_windowState & AdFlag) != 0; }
  bool isWindowWithDetailedAd() const { return (m_windowState & DetailedAdFlag) != 0; }
  bool isAnimating() const { return m_animating; }
  void changeWindowStateTo(std::uint64_t state, bool animated);
  void showDetailedMemoryUsageButtonPressed();
  void showDetailedAdNotification();
  void setIsAdEnabled(bool enabled);
  void checkIsCanShowAds();

  /// Refreshes the process list, if it is there.
  void updateContentData();
  /// After a purge that gained memory.
  void onPurgedMemory();

  SummaryView& summary() { return *m_summary; }
  IconButton& settingsButton() { return *m_prefecencesButton; }

 Q_SIGNALS:
  void preferencesButtonPressed();
  /// The open panel was closed or minimised, by whatever way.
  void willClose();
  /// The panel is open.
  void didShow();
  /// No tray shows the item: the panel is in the window list now.
  void trayMissed();

 protected:
  void moveEvent(QMoveEvent* event) override;
  void resizeEvent(QResizeEvent* event) override;
  void showEvent(QShowEvent* event) override;
  void closeEvent(QCloseEvent* event) override;
  bool event(QEvent* event) override;
  void changeEvent(QEvent* event) override;
  void keyPressEvent(QKeyEvent* event) override;
  void mouseReleaseEvent(QMouseEvent* event) override;
  void draggedByUser() override;

 private:
  void buildControls();
  void connectControls();
  void windowDidResignKey();
  /// Attached to an item that is there: closes when it is not in use.
  bool isAttached() const { return isLocked() && !m_isInWindowList; }
  bool isInUse() const;
  void trayChanged();
  void enterWindowList();
  void leaveWindowList();
  void setWindowType(Qt::WindowType type);
  void reappearMinimized();
  void closeWindowIfNotActive();
  void placeBesideStatusItem();
  /// Every write is flushed, so a drag is saved once, at its end.
  void savePosition();
  void show_makeKey();
  std::uint64_t initialState() const;
  void updateDiskUsagePart();
  float diskUsageHeight() const;
  /// Of the summary area.
  int summaryHeight() const;
  /// Cancels every sheet that is attached to the panel.
  void endSheets();
  void modifyWindowToSize(QSize size, bool animated, std::function<void()> completion);
  void stateChangeCompleted();
  void layOut();
  void cutOutShape();

  Clock& m_clock;
  ShowcaseDefaults& m_defaults;
  StatusBarItem& m_statusItem;
  PanelParts& m_parts;
  WindowHints& m_hints;
  /// What the desktop did with transparent windows when this one was shown last.
  bool m_blends = false;
  WeakRef<PanelWindowDelegate> m_panelWindowDelegate;
  ScheduledCall m_trayWait;
  WithoutTray m_withoutTray = WithoutTray::Minimizes;
  bool m_isInWindowList = false;
  std::uint64_t m_windowState = 0;
  /// Where the panel was attached last.
  std::optional<QPoint> m_attachedPlace;
  bool m_animating = false;
  /// Where the disk usage begins below the panel's top: under the summary area, in an animation on the way there.
  int m_diskUsageTop = 0;
  bool m_savesPosition = false;
  std::optional<std::chrono::steady_clock::time_point> m_closedByFocusLoss;
  std::unique_ptr<HintWindow> m_hint;
  PanelView* m_panelView;
  SummaryView* m_summary;
  IconButton* m_closeButton;
  IconButton* m_prefecencesButton;
  QLabel* m_nameLabel;
  IconButton* m_disclosureButton;
  QAbstractButton* m_memoryUsageButton;
  QWidget* m_lineView;
  std::unique_ptr<PanelProcessList> m_procTableViewController;
  std::unique_ptr<PanelDiskUsage> m_adBasedOnSpotlightVC;
  QPointer<QVariantAnimation> m_frameAnimation;
};

}  // namespace halvard
