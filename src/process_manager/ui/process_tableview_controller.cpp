#include "process_manager/ui/process_tableview_controller.h"

#include <QContextMenuEvent>
#include <QKeyEvent>
#include <QListView>
#include <QScrollBar>
#include <QVBoxLayout>

#include "process_manager/processes_manager.h"
#include "process_manager/ui/process_row_delegate.h"
#include "widgets/menu_style.h"
#include "widgets/progress_indicator.h"
#include "widgets/scroll_bar_style.h"

namespace halvard {

ProcessTableviewController::ProcessTableviewController(ProcessesManager& processes, std::function<bool()> isCanShowAds,
                                                       QWidget* parent)
    : m_processes(processes),
      m_isCanShowAds(std::move(isCanShowAds)),
      m_view(new QWidget(parent)),
      m_tableViewApps(new QListView(m_view)),
      m_progressIndicator(new ProgressIndicator(m_view)) {
  auto* layout = new QVBoxLayout(m_view);
  // The panel's rim stays to be seen. Its button reaches a little over the lower edge; four rows fit above it.
  layout->setContentsMargins(1, 0, 2, 8);
  layout->addWidget(m_tableViewApps);
  m_tableViewApps->setModel(&m_model);
  m_tableViewApps->setItemDelegate(new ProcessRowDelegate(m_tableViewApps));
  m_tableViewApps->setFrameShape(QFrame::NoFrame);
  m_tableViewApps->setUniformItemSizes(true);
  m_tableViewApps->setMouseTracking(true);
  m_tableViewApps->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
  m_tableViewApps->setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
  m_tableViewApps->setAccessibleName(tr("Applications by memory"));
  m_tableViewApps->setEditTriggers(QAbstractItemView::NoEditTriggers);
  scroll_bar_style::apply(*m_tableViewApps->verticalScrollBar());
  QPalette white = m_tableViewApps->palette();
  white.setColor(QPalette::Base, Qt::white);
  m_tableViewApps->setPalette(white);
  menu_style::apply(m_contextMenu);
  m_tableViewApps->installEventFilter(this);
  m_tableViewApps->viewport()->installEventFilter(this);
  connect(m_tableViewApps, &QListView::doubleClicked, this,
          [this](const QModelIndex& index) { doubleClickAction(index.row()); });
  m_progressIndicator->startAnimation();
}

ProcessTableviewController::~ProcessTableviewController() {
  delete m_view;
}

QWidget* ProcessTableviewController::view() {
  return m_view;
}

bool ProcessTableviewController::isWaitingForFirstList() const {
  return m_progressIndicator->isAnimating();
}

void ProcessTableviewController::updateApps() {
  if (m_isAsking) return;
  m_isAsking = true;
  m_processes.getTopProcessCompletion(this, [this](ApplicationList applications) {
    m_isAsking = false;
    showApps(std::move(applications));
  });
}

void ProcessTableviewController::showApps(ApplicationList applications) {
  const int selected = m_tableViewApps->currentIndex().row();
  const int scrolled = m_tableViewApps->verticalScrollBar()->value();
  m_model.setApplications(std::move(applications));
  if (selected >= 0 && m_tableViewApps->currentIndex().row() != selected) {
    m_tableViewApps->setCurrentIndex(m_model.index(selected));
    m_tableViewApps->verticalScrollBar()->setValue(scrolled);
  }
  m_progressIndicator->stopAnimation();
}

void ProcessTableviewController::menuNeedsUpdate(QMenu& menu, int row) {
  menu.clear();
  if (!m_model.entryAt(row)) return;
  // The application of this moment: the list may move on while the menu is open.
  const auto application = getClickedRunningApplication(row);
  menu.addAction(tr("Activate"), this, [this, application] { menuActivatePressed(application); });
  if (!m_isCanShowAds()) return;
  menu.addSeparator();
  menu.addAction(tr("Quit"), this, [this, application] { quitFromApplication(application, false); });
  menu.addAction(tr("Force Quit"), this, [this, application] { quitFromApplication(application, true); });
}

void ProcessTableviewController::openRowMenu(int row, QPoint globalPosition) {
  menuNeedsUpdate(m_contextMenu, row);
  if (!m_contextMenu.isEmpty()) m_contextMenu.popup(globalPosition);
}

std::shared_ptr<RunningApplication> ProcessTableviewController::getClickedRunningApplication(int row) const {
  const ApplicationEntry* entry = m_model.entryAt(row);
  if (!entry || !entry->app || entry->app->isTerminated()) return nullptr;
  return entry->app;
}

void ProcessTableviewController::doubleClickAction(int row) {
  // One that has ended meanwhile as well: it starts again.
  const ApplicationEntry* entry = m_model.entryAt(row);
  if (entry && entry->app) entry->app->activate();
}

void ProcessTableviewController::menuActivatePressed(const std::shared_ptr<RunningApplication>& application) {
  if (application && !application->isTerminated()) application->activate();
}

void ProcessTableviewController::quitFromApplication(const std::shared_ptr<RunningApplication>& application,
                                                     bool forced) {
  if (!application || application->isTerminated()) return;
  forced ? application->forceTerminate() : application->terminate();
}

bool ProcessTableviewController::eventFilter(QObject* watched, QEvent* event) {
  if (event->type() == QEvent::ContextMenu) {
    const auto* request = static_cast<QContextMenuEvent*>(event);
    const bool isByKey = request->reason() == QContextMenuEvent::Keyboard;
    const QModelIndex index = isByKey ? m_tableViewApps->currentIndex() : m_tableViewApps->indexAt(request->pos());
    const QPoint below = m_tableViewApps->visualRect(index).bottomLeft() + QPoint(24, 0);
    openRowMenu(index.row(), isByKey ? m_tableViewApps->viewport()->mapToGlobal(below) : request->globalPos());
    return true;
  }
  if (watched == m_tableViewApps && event->type() == QEvent::KeyPress) {
    const int key = static_cast<QKeyEvent*>(event)->key();
    if (key == Qt::Key_Return || key == Qt::Key_Enter) {
      doubleClickAction(m_tableViewApps->currentIndex().row());
      return true;
    }
  }
  return QObject::eventFilter(watched, event);
}

}  // namespace halvard
