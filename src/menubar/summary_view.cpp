#include "menubar/summary_view.h"

#include <QLabel>
#include <QPainter>
#include <utility>

#include "core/size_format.h"
#include "menubar/panel_layout.h"
#include "menubar/panel_window_info_label.h"
#include "menubar/pie_chart_view.h"
#include "menubar/purge_details_label.h"
#include "widgets/animated_geometry.h"
#include "widgets/clean_memory_button.h"
#include "widgets/ui_style.h"

namespace halvard {

using namespace std::chrono_literals;

namespace {

constexpr int kMargin = 16;
constexpr int kContentWidth = panel_layout::kPanelWidth - 2 * kMargin;
constexpr int kChartSide = 46;
constexpr double kDangerThreshold = 0.945;

QString sizeText(ByteCount bytes) {
  return size_format::stringFromSize(static_cast<std::int64_t>(bytes));
}

void setTextColor(QLabel& label, const QColor& color) {
  QPalette colors = label.palette();
  if (colors.color(QPalette::WindowText) == color) return;
  colors.setColor(QPalette::WindowText, color);
  label.setPalette(colors);
}

/// Draws its text without the blank that pads a single digit, so that one digit stands where two do, and at the left
/// without the space that a large digit has before it, so that it stands above the small text.
class PercentageLabel : public QLabel {
 public:
  using QLabel::QLabel;

 protected:
  void paintEvent(QPaintEvent*) override {
    QPainter painter(this);
    painter.setPen(palette().color(QPalette::WindowText));
    const QString figures = text().trimmed();
    const bool isLeft = alignment().testFlag(Qt::AlignLeft) && !figures.isEmpty();
    const int bearing = isLeft ? fontMetrics().leftBearing(figures.front()) : 0;
    painter.drawText(rect().translated(-bearing, 0), static_cast<int>(alignment()), figures);
  }
};

void setText(QLabel& label, const QString& text) {
  if (label.text() != text) label.setText(text);
}

}  // namespace

SummaryView::SummaryView(Clock& clock, HintWindow& hint, QWidget* parent)
    : QWidget(parent),
      m_pInfoTitleLabel(new PercentageLabel(this)),
      m_pInfoSubtitleLastUsedMemorySize(new PanelWindowInfoLabel(this)),
      m_cleanedSizeLabel(new QLabel(this)),
      m_purgeDetails(new PurgeDetailsLabel(hint, this)),
      m_listCaption(new QLabel(tr("Applications"), this)),
      m_chart(new PieChartView(clock, hint, this)),
      m_pBtnFree(new CleanMemoryButton(this)),
      m_toggleBack(clock) {
  resize(panel_layout::kPanelWidth, panel_layout::kSummaryHeight);
  m_pInfoTitleLabel->setTextFormat(Qt::PlainText);
  m_cleanedSizeLabel->setTextFormat(Qt::PlainText);
  m_cleanedSizeLabel->setFont(ui_style::font(12));
  m_cleanedSizeLabel->setAlignment(Qt::AlignCenter);
  m_cleanedSizeLabel->setGeometry(kMargin, 128, kContentWidth, 14);
  setTextColor(*m_cleanedSizeLabel, ui_style::cleanedTextColor());
  m_listCaption->setFont(ui_style::font(11, QFont::DemiBold));
  m_listCaption->setGeometry(kMargin, 111, kContentWidth, 16);
  setTextColor(*m_listCaption, QColor(82, 100, 115));
  m_chart->setGeometry(panel_layout::kPanelWidth - kMargin - kChartSide, 43, kChartSide, kChartSide);
  setSubtitleLabel();
}

void SummaryView::setSubtitleLabel() {
  PanelWindowInfoLabel& subtitle = *m_pInfoSubtitleLastUsedMemorySize;
  makeSubtitleClickable(false);
  subtitle.setNormalFont(ui_style::font(12));
  subtitle.setHoveredFont(ui_style::font(12, QFont::Medium));
  subtitle.setTextColor(ui_style::usedTextColor());
  connect(&subtitle, &PanelWindowInfoLabel::clicked, this, &SummaryView::subtitleLabelClicked);
  subtitle.tag = UsedText;
}

void SummaryView::makeSubtitleClickable(bool clickable) {
  m_pInfoSubtitleLastUsedMemorySize->setTracking(clickable);
}

void SummaryView::fillInfoPanelWithUsedMemoryPercent(double fraction, ByteCount usedSize, ByteCount totalSize) {
  m_unshown = UsedMemory{fraction, usedSize, totalSize};
  // The figures change every second, and most of the time nobody looks.
  if (isVisible()) showUsedMemory();
}

void SummaryView::showEvent(QShowEvent* event) {
  QWidget::showEvent(event);
  showUsedMemory();
}

void SummaryView::showUsedMemory() {
  const std::optional<UsedMemory> memory = std::exchange(m_unshown, std::nullopt);
  if (!memory) return;
  const auto [fraction, usedSize, totalSize] = *memory;
  setTextColor(*m_pInfoTitleLabel, fraction > kDangerThreshold ? ui_style::dangerColor() : ui_style::calmColor());
  setText(*m_pInfoTitleLabel, QString::asprintf("%2.0f%c", fraction * 100, '%'));
  m_pInfoUsedSizeString = tr("%1 used of %2").arg(sizeText(usedSize), sizeText(totalSize));
  if (m_pInfoSubtitleLastUsedMemorySize->tag == UsedText) {
    setText(*m_pInfoSubtitleLastUsedMemorySize, m_pInfoUsedSizeString);
  }
}

void SummaryView::fillLastCleanedLabelWithSize(std::int64_t size, const QString& timeDescription) {
  m_pInfoCleanedSizeString.clear();
  if (size >= 1 && !timeDescription.isEmpty()) {
    m_pInfoCleanedSizeString = tr("%1 cleaned %2").arg(size_format::stringFromSize(size), timeDescription);
  }
  setText(*m_cleanedSizeLabel, m_pInfoCleanedSizeString);
}

void SummaryView::fillPurgeDetails(const PurgeDetails& details) {
  m_purgeDetails->setDetails(details);
}

void SummaryView::fillChart(ByteCount wired, ByteCount application, ByteCount free) {
  const double total = static_cast<double>(wired + application + free);
  m_chart->setWiredSize(wired, application, free);
  if (total > 0) {
    m_chart->setSystemUsagePercent(static_cast<double>(wired) / total, static_cast<double>(application) / total);
  }
}

void SummaryView::subtitleLabelClicked() {
  m_toggleBack.cancel();
  PanelWindowInfoLabel& subtitle = *m_pInfoSubtitleLastUsedMemorySize;
  if (subtitle.tag != UsedText) {
    subtitle.tag = UsedText;
    setText(subtitle, m_pInfoUsedSizeString);
    subtitle.setTextColor(ui_style::usedTextColor());
    return;
  }
  subtitle.tag = CleanedText;
  setText(subtitle, m_pInfoCleanedSizeString);
  subtitle.setTextColor(ui_style::cleanedTextColor());
  m_toggleBack.start(30s, [this] { subtitleLabelClicked(); });
}

void SummaryView::onPurgedMemory(bool isDetailed) {
  if (!isDetailed) m_cleanedSizeLabel->show();
  makeSubtitleClickable(isDetailed);
  m_pInfoSubtitleLastUsedMemorySize->tag = isDetailed ? UsedText : CleanedText;
  subtitleLabelClicked();
}

void SummaryView::switchToCompactModeAnimated(bool animated) {
  constexpr auto places = panel_layout::kCompact;
  m_pInfoTitleLabel->setFont(ui_style::font(48, QFont::Light));
  m_pInfoTitleLabel->setAlignment(Qt::AlignHCenter | Qt::AlignBottom);
  m_pInfoSubtitleLastUsedMemorySize->setAlignment(Qt::AlignCenter);
  place(m_pInfoTitleLabel, kMargin, places.title, kContentWidth, 62, animated);
  place(m_pInfoSubtitleLastUsedMemorySize, kMargin, places.subtitle, kContentWidth, 18, animated);
  place(m_pBtnFree, kMargin, places.freeButton, kContentWidth, m_pBtnFree->sizeHint().height(), animated);
  m_purgeDetails->place(QRect(kMargin, 142, kContentWidth, 13), false);
  m_chart->hide();
  m_listCaption->hide();
  m_cleanedSizeLabel->setVisible(!m_pInfoCleanedSizeString.isEmpty());
  makeSubtitleClickable(false);
  if (!m_pInfoUsedSizeString.isEmpty()) {
    m_pInfoSubtitleLastUsedMemorySize->tag = CleanedText;
    subtitleLabelClicked();
  }
}

void SummaryView::switchToDetailedModeAnimated(bool animated) {
  constexpr auto places = panel_layout::kDetailed;
  constexpr int titleWidth = kContentWidth - kChartSide - 8;
  m_pInfoTitleLabel->setFont(ui_style::font(38, QFont::Light));
  m_pInfoTitleLabel->setAlignment(Qt::AlignLeft | Qt::AlignBottom);
  m_pInfoSubtitleLastUsedMemorySize->setAlignment(Qt::AlignLeft | Qt::AlignVCenter);
  place(m_pInfoTitleLabel, kMargin, places.title, titleWidth, 46, animated);
  place(m_pInfoSubtitleLastUsedMemorySize, kMargin, places.subtitle, kContentWidth, 18, animated);
  place(m_pBtnFree, kMargin, places.freeButton, kContentWidth, m_pBtnFree->sizeHint().height(), animated);
  // Beside the caption of the list.
  constexpr int captionWidth = 80;
  m_purgeDetails->place(QRect(kMargin + captionWidth, 112, kContentWidth - captionWidth, 16), true);
  m_chart->show();
  m_listCaption->show();
  m_cleanedSizeLabel->hide();
  if (!m_pInfoCleanedSizeString.isEmpty()) makeSubtitleClickable(true);
}

void SummaryView::place(QWidget* control, int x, qreal y, int width, int height, bool animated) {
  animated_geometry::setFrame(control, panel_layout::rect(x, y, width, height), animated);
}

}  // namespace halvard
