#include "files_searcher/ui/ad_based_on_spotlight_view.h"

#include <QFile>
#include <QIcon>
#include <QLocale>
#include <QPainter>

#include "core/size_format.h"
#include "files_searcher/ui/disk_usage_style.h"
#include "widgets/ui_style.h"

namespace halvard {

using namespace disk_usage_style;

namespace {

constexpr int kHeaderHeight = 36;
constexpr int kFirstLine = 92;
constexpr int kLineHeight = 24;
constexpr int kIconSize = 32;

QString text(ByteCount bytes) {
  return size_format::stringFromSize(static_cast<std::int64_t>(bytes));
}

QLabel* makeLabel(int pixelSize, QFont::Weight weight, const QColor& color, QWidget* parent) {
  auto* const label = new QLabel(parent);
  label->setFont(ui_style::font(pixelSize, weight));
  QPalette palette = label->palette();
  palette.setColor(QPalette::WindowText, color);
  label->setPalette(palette);
  return label;
}

QString purposeOf(SiblingApp type) {
  switch (type) {
    case SiblingApp::JunkCleaner:
      return QObject::tr("to find and remove junk files");
    case SiblingApp::Uninstaller:
      return QObject::tr("to uninstall applications you do not need completely");
    case SiblingApp::DiskAnalyzer:
      return QObject::tr("to see what takes the space on your disk");
    case SiblingApp::DuplicatesTool:
      return QObject::tr("to find and remove duplicates you do not need");
    case SiblingApp::None:
      break;
  }
  return {};
}

}  // namespace

AdBasedOnSpotlightView::AdBasedOnSpotlightView(const QString& title, const QColor& mark, SiblingTools& tools,
                                               QWidget* parent)
    : QWidget(parent),
      m_tools(tools),
      m_mark(mark),
      m_back(new IconButton(IconButton::Picture::Back, tr("Back"), this)),
      m_title(makeLabel(13, QFont::DemiBold, ui_style::primaryTextColor(), this)),
      m_total(makeLabel(24, QFont::DemiBold, ui_style::calmColor(), this)),
      m_icon(new QLabel(this)),
      m_appButton(new CleanMemoryButton(this)) {
  resize(kWidth, kDetailedHeight);
  m_title->setText(title);
  m_title->setAlignment(Qt::AlignCenter);
  m_title->setGeometry(46, 6, kWidth - 92, 24);
  m_back->setGeometry(12, 6, 26, 24);
  m_total->setAlignment(Qt::AlignCenter);
  m_total->setGeometry(kMargin, 44, kWidth - 2 * kMargin, 36);
  m_icon->setGeometry(kMargin, kFootButtonTop + (m_appButton->sizeHint().height() - kIconSize) / 2, kIconSize,
                      kIconSize);
  connect(m_back, &IconButton::clicked, this, &AdBasedOnSpotlightView::backPressed);
  connect(m_appButton, &CleanMemoryButton::clicked, this, &AdBasedOnSpotlightView::getAppPressed);
  hide();
}

QLabel* AdBasedOnSpotlightView::addLine(const QString& name) {
  const int top = kFirstLine + m_lines++ * kLineHeight;
  auto* const label = makeLabel(12, QFont::Normal, ui_style::secondaryTextColor(), this);
  label->setText(name);
  label->setGeometry(kMargin, top, 120, kLineHeight);
  auto* const value = makeLabel(12, QFont::Medium, ui_style::primaryTextColor(), this);
  value->setAlignment(Qt::AlignRight | Qt::AlignVCenter);
  value->setGeometry(kWidth - kMargin - 110, top, 110, kLineHeight);
  return value;
}

void AdBasedOnSpotlightView::prepareForAppearance() {
  const SiblingTools::Offer offer = m_tools.offerForType(getType());
  const QIcon themed = QFile::exists(offer.icon) ? QIcon(offer.icon) : QIcon::fromTheme(offer.icon);
  m_icon->setPixmap(themed.pixmap(QSize(kIconSize, kIconSize), devicePixelRatioF()));
  m_icon->setVisible(!themed.isNull());
  const int left = themed.isNull() ? kMargin : kMargin + kIconSize + 10;
  m_appButton->setGeometry(left, kFootButtonTop, kWidth - kMargin - left, m_appButton->sizeHint().height());
  const QString verb = offer.isInstalled ? tr("Open") : tr("Get");
  const QString title = QStringLiteral("%1 %2").arg(verb, offer.name);
  m_appButton->setTitle(m_appButton->fontMetrics().elidedText(title, Qt::ElideRight, m_appButton->width() - 16));
  m_appButton->setAccessibleName(title);
  m_appButton->setToolTip(
      QStringLiteral("%1 %2 %3")
          .arg(offer.isInstalled ? tr("Open the") : tr("Get the"), offer.name, purposeOf(getType())));
  m_appButton->setVisible(offer.isAvailable);
  m_icon->setVisible(offer.isAvailable && !themed.isNull());
}

void AdBasedOnSpotlightView::getAppPressed() {
  m_tools.openOrGet(getType());
}

void AdBasedOnSpotlightView::paintEvent(QPaintEvent*) {
  QPainter painter(this);
  paintGround(painter, rect());
  painter.fillRect(QRect(0, 0, width(), 1), ui_style::titleBarSeparatorColor());
  painter.fillRect(QRect(kMargin, kHeaderHeight, width() - 2 * kMargin, 1), ui_style::titleBarSeparatorColor());
  painter.setRenderHint(QPainter::Antialiasing);
  painter.setPen(Qt::NoPen);
  painter.setBrush(m_mark);
  painter.drawRoundedRect(QRectF(width() / 2.0 - 16, kHeaderHeight - 1, 32, 3), 1.5, 1.5);
}

JunkFilesView::JunkFilesView(SiblingTools& tools, QWidget* parent)
    : AdBasedOnSpotlightView(tr("Junk Files"), kMarks[0], tools, parent),
      m_clearDiskCacheFilesLabel(addLine(tr("Caches"))),
      m_clearDiskDownloadsLabel(addLine(tr("Downloads"))),
      m_clearDiskTrashLabel(addLine(tr("Trash"))) {}

void JunkFilesView::setInfo(const JunkFilesViewInfo& info) {
  m_pInfo = info;
  totalLabel()->setText(text(info.total()));
  m_clearDiskCacheFilesLabel->setText(text(info.cachesSize));
  m_clearDiskDownloadsLabel->setText(text(info.downloadsSize));
  m_clearDiskTrashLabel->setText(text(info.trashSize));
}

template <class Info, SiblingApp Type>
void CountedView<Info, Type>::showCounted(ByteCount size, std::uint64_t count, QLabel* total, QLabel* countLabel,
                                          QLabel* sizeLabel) {
  total->setText(text(size));
  countLabel->setText(QLocale(QLocale::English).toString(static_cast<qulonglong>(count)));
  sizeLabel->setText(text(size));
}

template class CountedView<ApplicationsUnusedViewInfo, SiblingApp::Uninstaller>;
template class CountedView<LargeAndOldFilesViewInfo, SiblingApp::DiskAnalyzer>;
template class CountedView<DuplicateFilesViewInfo, SiblingApp::DuplicatesTool>;

}  // namespace halvard
