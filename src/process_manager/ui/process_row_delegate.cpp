#include "process_manager/ui/process_row_delegate.h"

#include <QPainter>
#include <QToolTip>

#include "process_manager/ui/process_list_model.h"
#include "widgets/ui_style.h"

namespace halvard {
namespace {

/// With the margins of the list these are the panel's.
constexpr int kLeftMargin = 15;
constexpr int kRightMargin = 14;
constexpr int kIconSide = 18;
constexpr int kGap = 8;

QRect contentOf(const QRect& row) {
  return row.adjusted(kLeftMargin, 0, -kRightMargin, 0);
}

/// Between the icon and the size.
QRect nameFrame(const QRect& row, const QString& size) {
  const int sizeWidth = QFontMetrics(ui_style::font(12)).horizontalAdvance(size);
  return contentOf(row).adjusted(kIconSide + kGap, 0, -sizeWidth - kGap, 0);
}

/// The stand-in for an application without an icon: its initial on a tile whose colour is always the same for a name.
void paintInitial(QPainter& painter, const QRect& frame, const QString& name) {
  painter.setPen(Qt::NoPen);
  painter.setBrush(QColor::fromHsl(static_cast<int>(qHash(name, 0) % 360), 70, 150));
  painter.drawRoundedRect(frame, 4, 4);
  painter.setPen(Qt::white);
  painter.setFont(ui_style::font(11, QFont::DemiBold));
  painter.drawText(frame, Qt::AlignCenter, name.left(1).toUpper());
}

/// True when hardly a pixel is drawn: no picture, or one that uses what the renderer does not know.
bool isBlank(const QImage& image) {
  int drawn = 0;
  for (int y = 0; y < image.height(); ++y) {
    for (int x = 0; x < image.width(); ++x)
      drawn += qAlpha(image.pixel(x, y)) > 64 ? 1 : 0;
  }
  return drawn * 12 < image.width() * image.height() || image.isNull();
}

}  // namespace

QSize ProcessRowDelegate::sizeHint(const QStyleOptionViewItem&, const QModelIndex&) const {
  return {0, kRowHeight};
}

bool ProcessRowDelegate::helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                                   const QModelIndex& index) {
  const QRect frame = nameFrame(option.rect, index.data(ProcessListModel::SizeRole).toString());
  const QString name = index.data(Qt::DisplayRole).toString();
  if (QFontMetrics(ui_style::font(12)).horizontalAdvance(name) > frame.width())
    return QStyledItemDelegate::helpEvent(event, view, option, index);
  QToolTip::hideText();
  return true;
}

void ProcessRowDelegate::paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const {
  painter->save();
  painter->setRenderHint(QPainter::Antialiasing);
  painter->setRenderHint(QPainter::SmoothPixmapTransform);
  const bool isSelected = option.state.testFlag(QStyle::State_Selected);
  if (isSelected || option.state.testFlag(QStyle::State_MouseOver)) {
    painter->setPen(Qt::NoPen);
    painter->setBrush(isSelected ? ui_style::pressedColor() : ui_style::hoverColor());
    painter->drawRoundedRect(QRectF(option.rect).adjusted(6, 0.5, -6, -0.5), 5, 5);
  }
  const QString name = index.data(Qt::DisplayRole).toString();
  const QString size = index.data(ProcessListModel::SizeRole).toString();
  const QRect row = contentOf(option.rect);
  const QRect icon(row.left(), row.top() + (row.height() - kIconSide) / 2, kIconSide, kIconSide);
  paintIcon(*painter, icon, index.data(ProcessListModel::IconNameRole).toString(), name);

  const QFont face = ui_style::font(12);
  const QFontMetrics metrics(face);
  painter->setFont(face);
  painter->setPen(ui_style::secondaryTextColor());
  painter->drawText(row, Qt::AlignRight | Qt::AlignVCenter, size);
  painter->setPen(ui_style::primaryTextColor());
  const QRect text = nameFrame(option.rect, size);
  painter->drawText(text, Qt::AlignLeft | Qt::AlignVCenter, metrics.elidedText(name, Qt::ElideRight, text.width()));
  painter->restore();
}

void ProcessRowDelegate::paintIcon(QPainter& painter, const QRect& frame, const QString& iconName,
                                   const QString& name) const {
  const QIcon& icon = iconNamed(iconName);
  if (icon.isNull()) {
    paintInitial(painter, frame, name);
  } else {
    icon.paint(&painter, frame);
  }
}

const QIcon& ProcessRowDelegate::iconNamed(const QString& name) const {
  const auto known = m_icons.constFind(name);
  if (known != m_icons.constEnd()) return *known;
  QIcon icon = name.isEmpty() ? QIcon() : name.startsWith(u'/') ? QIcon(name) : QIcon::fromTheme(name);
  // A theme answers for names that it has no picture of, too, and some pictures are too odd to be drawn.
  if (isBlank(icon.pixmap(kIconSide).toImage())) icon = QIcon();
  return *m_icons.insert(name, icon);
}

}  // namespace halvard
