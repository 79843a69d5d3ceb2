// The part of PanelWindow that changes its layout: the state word, the parts that come and go with it, the height.
#include <QAbstractButton>

#include "menubar/panel_layout.h"
#include "menubar/panel_parts.h"
#include "menubar/panel_view.h"
#include "menubar/panel_window.h"
#include "menubar/pie_chart_view.h"
#include "menubar/summary_view.h"
#include "preferences/showcase_defaults.h"
#include "widgets/clean_memory_button.h"
#include "widgets/icon_button.h"

namespace halvard {
namespace {
constexpr int kResizeMilliseconds = 250;
}

std::uint64_t PanelWindow::initialState() const {
  std::uint64_t state = m_parts.startsWithDiskUsage() ? std::uint64_t{DetailedAdFlag} : 0;
  // The stored layout switches on the disk usage, not the detailed layout: the panel always starts compact.
  if (m_defaults.isWindowDetailed()) state |= AdFlag;
  if (m_parts.isCanShowAds()) state |= AdFlag;
  return state;
}

void PanelWindow::changeWindowStateTo(std::uint64_t state, bool animated) {
  const bool animates = animated && isVisible();
  m_windowState = state;
  m_lineView->hide();
  m_defaults.saveWindowDetailedState(isWindowStateDetailed());
  updateDiskUsagePart();
  if (!isWindowStateDetailed() && m_procTableViewController) m_procTableViewController->view()->hide();
  if (isWindowStateDetailed()) {
    m_summary->switchToDetailedModeAnimated(animates);
  } else {
    m_summary->switchToCompactModeAnimated(animates);
  }
  if (m_adBasedOnSpotlightVC) m_adBasedOnSpotlightVC->changeToCompactMode(!isWindowWithDetailedAd(), animates);
  const QSize size(panel_layout::kPanelWidth,
                   static_cast<int>(static_cast<float>(summaryHeight()) + diskUsageHeight()));
  modifyWindowToSize(size, animates, [this] { stateChangeCompleted(); });
}

void PanelWindow::updateDiskUsagePart() {
  if (!isWindowStateWithAd()) {
    m_adBasedOnSpotlightVC.reset();
  } else if (!m_adBasedOnSpotlightVC) {
    m_adBasedOnSpotlightVC = m_parts.makeDiskUsage(m_panelView);
    m_diskUsageTop = summaryHeight();
    if (m_adBasedOnSpotlightVC) m_adBasedOnSpotlightVC->view()->show();
  }
}

int PanelWindow::summaryHeight() const {
  return static_cast<int>(isWindowStateDetailed() ? panel_layout::kDetailedHeight : panel_layout::kCompactHeight);
}

float PanelWindow::diskUsageHeight() const {
  if (!isWindowStateWithAd() || !m_adBasedOnSpotlightVC) return 0;
  return m_adBasedOnSpotlightVC->getViewHeightForMode(isWindowWithDetailedAd() ? PanelDiskUsage::Detailed
                                                                               : PanelDiskUsage::Compact);
}

void PanelWindow::modifyWindowToSize(QSize size, bool animated, std::function<void()> completion) {
  delete m_frameAnimation;
  m_animating = false;
  const auto apply = [this](QSize newSize) {
    // The top edge stays, or the bottom edge when the panel stands above its item.
    const int dropped = m_panelView->bodyOffset() != 0 ? height() - newSize.height() : 0;
    // While a window manager takes a window over, pos() may be that in its frame.
    const QPoint corner = isVisible() && isAttached() ? m_attachedPlace.value_or(pos()) : pos();
    const QRect frame = constrainedFrame(QRect(corner + QPoint(0, dropped), newSize));
    if (m_attachedPlace) m_attachedPlace = frame.topLeft();
    setGeometry(frame);
  };
  const int diskUsageTop = summaryHeight();
  if (!animated) {
    m_diskUsageTop = diskUsageTop;
    apply(size);
    completion();
    return;
  }
  m_animating = true;
  m_frameAnimation = new QVariantAnimation(this);
  m_frameAnimation->setDuration(kResizeMilliseconds);
  m_frameAnimation->setEasingCurve(QEasingCurve::InOutQuad);
  m_frameAnimation->setStartValue(0.0);
  m_frameAnimation->setEndValue(1.0);
  connect(m_frameAnimation, &QVariantAnimation::valueChanged, this,
          [this, apply, size, diskUsageTop, oldSize = this->size(), oldTop = m_diskUsageTop](const QVariant& value) {
            const qreal share = value.toReal();
            m_diskUsageTop = oldTop + qRound((diskUsageTop - oldTop) * share);
            apply(oldSize + (size - oldSize) * share);
          });
  connect(m_frameAnimation, &QVariantAnimation::finished, this, [this, completion = std::move(completion)] {
    m_animating = false;
    savePosition();
    completion();
  });
  m_frameAnimation->start(QAbstractAnimation::DeleteWhenStopped);
}

void PanelWindow::stateChangeCompleted() {
  if (!isWindowStateDetailed()) {
    m_procTableViewController.reset();
  } else if (!m_procTableViewController) {
    m_procTableViewController = m_parts.makeProcessList(m_summary);
    if (m_procTableViewController) {
      m_procTableViewController->updateApps();
      const QSize size = panel_layout::kProcessListSize;
      const int bottom = panel_layout::kSummaryHeight - panel_layout::kProcessListDrop;
      m_procTableViewController->view()->setGeometry(panel_layout::rect(0, bottom, size.width(), size.height()));
      m_procTableViewController->view()->show();
      m_procTableViewController->view()->stackUnder(&m_summary->freeButton());
    }
  }
  m_disclosureButton->setChecked(isWindowStateDetailed());
  m_memoryUsageButton->setChecked(isWindowStateDetailed());
  if (m_adBasedOnSpotlightVC) m_adBasedOnSpotlightVC->completionChangeToCompactMode(!isWindowWithDetailedAd());
  layOut();
}

void PanelWindow::showDetailedMemoryUsageButtonPressed() {
  if (m_animating) {
    m_disclosureButton->setChecked(!m_disclosureButton->isChecked());
    return;
  }
  changeWindowStateTo(m_windowState ^ DetailedFlag, true);
}

void PanelWindow::showDetailedAdNotification() {
  if (!m_animating) changeWindowStateTo(m_windowState ^ DetailedAdFlag, true);
}

void PanelWindow::setIsAdEnabled(bool enabled) {
  if (enabled == isWindowStateWithAd()) return;
  changeWindowStateTo(m_windowState ^ AdFlag, enabled);
}

void PanelWindow::checkIsCanShowAds() {
  if (m_parts.isCanShowAds()) setIsAdEnabled(true);
}

void PanelWindow::updateContentData() {
  if (m_procTableViewController) m_procTableViewController->updateApps();
}

void PanelWindow::onPurgedMemory() {
  m_summary->onPurgedMemory(isWindowStateDetailed());
}

}  // namespace halvard
