#pragma once

#include <QMenu>
#include <QObject>
#include <QPointer>
#include <functional>
#include <memory>

#include "process_manager/ui/process_list_model.h"

class QListView;

namespace halvard {

class ProcessesManager;
class ProgressIndicator;

/// The list of applications in the panel: brings them to the front, quits them, forces them to quit.
/// Owns its view; destroying the controller removes it. Main thread.
class ProcessTableviewController : public QObject {
  Q_OBJECT

 public:
  /// `processes` outlives the controller. `isCanShowAds` decides whether the row menu offers quitting.
  ProcessTableviewController(ProcessesManager& processes, std::function<bool()> isCanShowAds, QWidget* parent);
  ~ProcessTableviewController() override;

  QWidget* view();

  /// Asks for the full list; does nothing while one is on its way.
  void updateApps();
  /// What updateApps() does with a list. Keeps the selection on its row, whatever application stands there now.
  void showApps(ApplicationList applications);

  /// Fills `menu` for a row: empty for a row outside the list.
  void menuNeedsUpdate(QMenu& menu, int row);
  void doubleClickAction(int row);

  QListView& table() { return *m_tableViewApps; }
  bool isWaitingForFirstList() const;

 private:
  void openRowMenu(int row, QPoint globalPosition);
  /// The application of a row, unless it has ended meanwhile.
  std::shared_ptr<RunningApplication> getClickedRunningApplication(int row) const;
  void menuActivatePressed(const std::shared_ptr<RunningApplication>& application);
  void quitFromApplication(const std::shared_ptr<RunningApplication>& application, bool forced);
  bool eventFilter(QObject* watched, QEvent* event) override;

  ProcessesManager& m_processes;
  std::function<bool()> m_isCanShowAds;
  ProcessListModel m_model;
  QPointer<QWidget> m_view;
  QListView* m_tableViewApps;
  ProgressIndicator* m_progressIndicator;
  QMenu m_contextMenu;
  bool m_isAsking = false;
};

}  // namespace halvard
