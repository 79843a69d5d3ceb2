#include "files_searcher/ui/ad_based_on_spotlight_vc.h"

#include <QGraphicsOpacityEffect>
#include <QPropertyAnimation>
#include <QVariantAnimation>

#include <algorithm>

#include "core/size_format.h"
#include "files_searcher/ui/disk_usage_style.h"
#include "preferences/stored_keys.h"
#include "widgets/animated_geometry.h"
#include "widgets/ui_style.h"

namespace halvard {

using namespace disk_usage_style;

namespace {

constexpr int kProgressMilliseconds = 200;
constexpr int kSlideMilliseconds = 250;
const QString kSearching = QStringLiteral("...");

/// The types of the searches, in the order of the pages.
constexpr std::array kTypes{DiskInfoType::Junk, DiskInfoType::Duplicates, DiskInfoType::LargeAndOld,
                            DiskInfoType::Applications};

QString text(ByteCount bytes) {
  return size_format::stringFromSize(static_cast<std::int64_t>(bytes));
}

}  // namespace

AdBasedOnSpotlightVC::AdBasedOnSpotlightVC(Services services, QWidget* parent)
    : m_services(std::move(services)), m_view(new DiskUsageSummary(parent)) {
  m_view->setFixedWidth(kWidth);
  makeControls();
  setLabelsActions();
  // Resolving the stored grants here makes them hold for the rest of the run.
  m_services.access.isUserFolderAccessible();
  m_services.access.isDiskAccessible();
  m_services.access.isApplicationsFolderAccessible();
  m_progressTimer.setInterval(kProgressMilliseconds);
  connect(&m_progressTimer, &QTimer::timeout, this, [this] { m_view->setProgress(m_services.searchers.progress()); });
  changeToCompactMode(true, false);
}

AdBasedOnSpotlightVC::~AdBasedOnSpotlightVC() {
  if (m_bIsScanning) m_services.searchers.cancelSearches();
  delete m_view;
}

QWidget* AdBasedOnSpotlightVC::view() const {
  return m_view;
}

void AdBasedOnSpotlightVC::makeControls() {
  m_title = new QLabel(tr("Disk Usage"), m_view);
  m_title->setFont(ui_style::font(13, QFont::DemiBold));
  m_overallTotalSizeLabel = new TextButton({}, m_view);
  m_overallTotalSizeLabel->setToolTip(tr("Search again"));
  m_hint = new QLabel(m_view);
  m_hint->setFont(ui_style::font(12));
  m_hint->setWordWrap(true);
  m_hint->setAlignment(Qt::AlignCenter);
  diskUsageButton = new IconButton(IconButton::Picture::Disclosure, tr("Show the disk usage"), m_view);
  diskUsageButton->setCheckable(true);
  m_details = new TextButton(tr("Details"), m_view);
  m_pShowDetailedDiskUsageBlueButton = new CleanMemoryButton(m_view);
  m_pShowDetailedDiskUsageBlueButton->setTitle(tr("Analyze Disk"));
  const std::array names{tr("Junk files"), tr("Duplicates"), tr("Large and old files"), tr("Applications")};
  for (std::size_t page = 0; page < kPages; ++page)
    m_rows[page] = new DiskFigureRow(names[page], kMarks[page], m_view);
  SiblingTools& tools = m_services.tools;
  m_pJunkFilesView = new JunkFilesView(tools, m_view);
  m_pDuplicatesFilesView = new DuplicateFilesView(tr("Duplicates"), tr("Files"), kMarks[1], tools, m_view);
  m_pLargerAndOldFilesView = new LargeAndOldFilesView(tr("Large and Old Files"), tr("Files"), kMarks[2], tools, m_view);
  m_pApplicationsUnusedView =
      new ApplicationsUnusedView(tr("Applications"), tr("Applications"), kMarks[3], tools, m_view);
  m_pages = {m_pJunkFilesView, m_pDuplicatesFilesView, m_pLargerAndOldFilesView, m_pApplicationsUnusedView};
  for (QLabel* const label : {m_title, m_hint}) {
    QPalette palette = label->palette();
    palette.setColor(QPalette::WindowText,
                     label == m_title ? ui_style::primaryTextColor() : ui_style::secondaryTextColor());
    label->setPalette(palette);
  }
}

void AdBasedOnSpotlightVC::setLabelsActions() {
  connect(m_overallTotalSizeLabel, &QAbstractButton::clicked, this, &AdBasedOnSpotlightVC::totalSizeLabelPressed);
  connect(diskUsageButton, &QAbstractButton::clicked, this, [this](bool checked) {
    // The panel answers with the mode; until then the button shows the old one.
    diskUsageButton->setChecked(!checked);
    if (checked) {
      showDetailedDiskUsagePressedBlueButton();
    } else {
      showDetailedDiskUsagePressed();
    }
  });
  connect(m_details, &QAbstractButton::clicked, this, &AdBasedOnSpotlightVC::detailsButtonPressed);
  connect(m_pShowDetailedDiskUsageBlueButton, &QAbstractButton::clicked, this,
          &AdBasedOnSpotlightVC::showDetailedDiskUsagePressedBlueButton);
  for (std::size_t page = 0; page < kPages; ++page) {
    connect(m_rows[page], &DiskFigureRow::clicked, this, [this, page] { showView(static_cast<State>(page + 1)); });
    connect(m_rows[page], &DiskFigureRow::sizeLabelPressed, this, [this, page] { sizeLabelPressed(page); });
    connect(m_pages[page], &AdBasedOnSpotlightView::backPressed, this, &AdBasedOnSpotlightVC::backButtonPressed);
  }
}

QString AdBasedOnSpotlightVC::showDetailedDiskUsagePressedNotificationName() {
  return QStringLiteral("showDetailedDiskUsagePressedNotification");
}

float AdBasedOnSpotlightVC::getViewHeightForMode(Mode mode) const {
  if (mode == Detailed) return kDetailedHeight;
  return static_cast<float>(m_pShowDetailedDiskUsageBlueButton->isHidden() ? kCompactHeight : kCompactHeightWithButton);
}

void AdBasedOnSpotlightVC::changeToCompactMode(bool compact, bool animated) {
  m_compact = compact;
  if (compact && m_state != Summary) {
    getCurrentView()->hide();
    m_state = Summary;
  }
  arrange();
  const QSize size(kWidth, static_cast<int>(getViewHeightForMode(compact ? Compact : Detailed)));
  animated_geometry::setSize(m_view, size, animated);
  if (animated) fadeIn();
}

void AdBasedOnSpotlightVC::fadeIn() {
  auto* const effect = new QGraphicsOpacityEffect(m_view);
  effect->setOpacity(0);
  m_view->setGraphicsEffect(effect);
  auto* const animation = new QPropertyAnimation(effect, "opacity", effect);
  animation->setDuration(static_cast<int>(animated_geometry::kLayoutDuration.count()));
  animation->setEndValue(1.0);
  // Drawing through an effect costs, so it goes when it has done its work.
  connect(
      animation, &QPropertyAnimation::finished, m_view, [view = m_view] { view->setGraphicsEffect(nullptr); },
      Qt::QueuedConnection);
  animation->start();
}

void AdBasedOnSpotlightVC::completionChangeToCompactMode(bool compact) {
  diskUsageButton->setChecked(!compact);
  m_pShowDetailedDiskUsageBlueButton->setEnabled(true);
  if (!compact && isAccessGranted() && !m_bIsScanning) startScanning(false);
}

/// Places what the mode shows: the compact section is a title, the total and a button; the detailed one has the
/// figures.
void AdBasedOnSpotlightVC::arrange() {
  // A hidden control would hand its focus on, as if the keyboard had moved it.
  if (QWidget* const focused = m_view->focusWidget()) focused->clearFocus();
  const bool asks = !isAccessGranted();
  const bool detailed = !m_compact && !asks;
  m_title->setGeometry(kMargin, 12, 120, 20);
  // Its mark stands above those of the rows.
  diskUsageButton->setGeometry(kWidth - 31, 10, 26, 24);
  for (std::size_t page = 0; page < kPages; ++page) {
    m_rows[page]->move(0, 74 + static_cast<int>(page) * 34);
    m_rows[page]->setVisible(detailed);
  }
  m_details->setVisible(detailed);
  m_details->setGeometry(kMargin - 4, 216, m_details->sizeHint().width(), 24);
  m_overallTotalSizeLabel->setFont(ui_style::font(detailed ? 22 : 12, detailed ? QFont::DemiBold : QFont::Normal));
  const int width = m_overallTotalSizeLabel->fontMetrics().horizontalAdvance(m_overallTotalSizeLabel->text()) + 8;
  m_overallTotalSizeLabel->setGeometry(detailed ? QRect(kMargin - 4, 40, width, 30)
                                                : QRect(kWidth - 32 - width, 10, width, 24));
  m_overallTotalSizeLabel->setVisible(!asks && !m_overallTotalSizeLabel->text().isEmpty());
  m_hint->setVisible(!m_compact && asks);
  m_hint->setText(
      tr("Grant access to your disk, and see what fills it: junk, duplicates, large and old files, "
         "applications."));
  m_hint->setGeometry(kMargin, 72, kWidth - 2 * kMargin, 90);
  m_pShowDetailedDiskUsageBlueButton->setVisible(!detailed);
  m_pShowDetailedDiskUsageBlueButton->setGeometry(kMargin, m_compact ? 50 : kFootButtonTop, kButtonWidth,
                                                  m_pShowDetailedDiskUsageBlueButton->sizeHint().height());
}

void AdBasedOnSpotlightVC::setIsScanning(bool scanning) {
  m_bIsScanning = scanning;
  m_paused = false;
  diskUsageButton->setEnabled(!scanning);
  m_pShowDetailedDiskUsageBlueButton->setTitle(scanning ? tr("Scanning...") : tr("Review"));
  m_details->setText(scanning ? tr("Scanning...") : tr("Details"));
  m_details->setEnabled(!scanning);
  m_details->resize(m_details->sizeHint());
  // A row leads to its page when the search has ended.
  for (std::size_t page = 0; page < kPages; ++page)
    m_rows[page]->setLeadsOn(!scanning && m_pages[page]->isCanShow());
  if (scanning) {
    m_progressTimer.start();
  } else {
    m_progressTimer.stop();
  }
  m_view->setProgress(scanning ? 0 : -1);
}

void AdBasedOnSpotlightVC::startScanning(bool forced) {
  for (std::size_t page = 0; page < kPages; ++page)
    resetLabel(page);
  m_overallTotalSizeLabel->setText(kSearching);
  setIsScanning(true);
  arrange();
  m_services.searchers.startSearchWithDelegate(*this, forced);
}

void AdBasedOnSpotlightVC::pauseScanning() {
  if (!m_bIsScanning) return;
  m_services.searchers.cancelSearches();
  m_progressTimer.stop();
  m_paused = true;
}

void AdBasedOnSpotlightVC::resumeScanning() {
  if (m_bIsScanning && m_paused) startScanning(false);
}

void AdBasedOnSpotlightVC::resetLabel(std::size_t page) {
  m_pages[page]->clearInfo();
  m_rows[page]->setFigure(kSearching, false);
}

void AdBasedOnSpotlightVC::totalSizeLabelPressed() {
  if (m_bIsScanning) return;
  if (m_compact) showDetailedDiskUsagePressed();
  startScanning(true);
}

void AdBasedOnSpotlightVC::sizeLabelPressed(std::size_t page) {
  resetLabel(page);
  setIsScanning(true);
  m_services.searchers.startSearchForType(kTypes[page]);
}

void AdBasedOnSpotlightVC::updateOverallViewContent() {
  ByteCount total = 0;
  bool complete = true;
  for (std::size_t page = 0; page < kPages; ++page) {
    const bool canShow = m_pages[page]->isCanShow();
    complete = complete && canShow;
    if (!canShow) continue;
    total += m_pages[page]->size();
    m_rows[page]->setFigure(text(m_pages[page]->size()), true);
  }
  if (!complete) return;
  m_overallTotalSizeLabel->setText(text(total));
  m_overallTotalSizeLabel->setAccessibleName(tr("Total: %1").arg(text(total)));
  setIsScanning(false);
  arrange();
}

void AdBasedOnSpotlightVC::onSpotlightManagerFoundJunkFilesInfo(const JunkFilesViewInfo& info) {
  m_pJunkFilesView->setInfo(info);
  updateOverallViewContent();
}

void AdBasedOnSpotlightVC::onSpotlightManagerFoundApplicationsInfo(const ApplicationsUnusedViewInfo& info) {
  m_pApplicationsUnusedView->setInfo(info);
  updateOverallViewContent();
}

void AdBasedOnSpotlightVC::onSpotlightManagerFoundLargetAndOldFilesInfo(const LargeAndOldFilesViewInfo& info) {
  m_pLargerAndOldFilesView->setInfo(info);
  updateOverallViewContent();
}

void AdBasedOnSpotlightVC::onSpotlightManagerFoundDuplicatesInfo(const DuplicateFilesViewInfo& info) {
  m_pDuplicatesFilesView->setInfo(info);
  updateOverallViewContent();
}

AdBasedOnSpotlightView* AdBasedOnSpotlightVC::getCurrentView() const {
  return m_state == Summary ? nullptr : m_pages[m_state - 1];
}

void AdBasedOnSpotlightVC::detailsButtonPressed() {
  const auto last = m_services.defaults.getUnsignedLongLongValueForKey(stored_keys::lastViewedSearchResults, 0);
  if (last >= JunkFiles && last <= Applications && m_pages[last - 1]->isCanShow())
    return showView(static_cast<State>(last));
  for (std::size_t page = 0; page < kPages; ++page) {
    if (m_pages[page]->isCanShow()) return showView(static_cast<State>(page + 1));
  }
}

void AdBasedOnSpotlightVC::showView(State state) {
  AdBasedOnSpotlightView* const page = m_pages[state - 1];
  if (m_bIsScanning || m_animating || !page->isCanShow()) return;
  m_state = state;
  m_services.defaults.saveUnsignedLongLongValue(state, stored_keys::lastViewedSearchResults);
  page->prepareForAppearance();
  slide(page, kWidth, 0, {});
}

void AdBasedOnSpotlightVC::backButtonPressed() {
  AdBasedOnSpotlightView* const page = getCurrentView();
  if (m_bIsScanning || m_animating || !page) return;
  m_state = Summary;
  slide(page, 0, kWidth, [page] { page->hide(); });
}

void AdBasedOnSpotlightVC::slide(AdBasedOnSpotlightView* page, int from, int to, std::function<void()> ended) {
  m_animating = true;
  page->move(from, 0);
  page->show();
  page->raise();
  auto* const animation = new QVariantAnimation(page);
  animation->setDuration(kSlideMilliseconds);
  animation->setEasingCurve(QEasingCurve::InOutQuad);
  animation->setStartValue(from);
  animation->setEndValue(to);
  connect(animation, &QVariantAnimation::valueChanged, page, [page](const QVariant& x) { page->move(x.toInt(), 0); });
  connect(animation, &QVariantAnimation::finished, this, [this, ended = std::move(ended)] {
    m_animating = false;
    if (ended) ended();
  });
  animation->start(QAbstractAnimation::DeleteWhenStopped);
}

}  // namespace halvard
