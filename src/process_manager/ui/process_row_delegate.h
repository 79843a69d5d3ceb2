#pragma once

#include <QHash>
#include <QIcon>
#include <QStyledItemDelegate>

namespace halvard {

/// Paints one application: icon, name, memory.
class ProcessRowDelegate : public QStyledItemDelegate {
  Q_OBJECT

 public:
  static constexpr int kRowHeight = 23;

  using QStyledItemDelegate::QStyledItemDelegate;

  /// The name, where the row has no room for all of it.
  bool helpEvent(QHelpEvent* event, QAbstractItemView* view, const QStyleOptionViewItem& option,
                 const QModelIndex& index) override;
  void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override;
  QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override;

 private:
  void paintIcon(QPainter& painter, const QRect& frame, const QString& iconName, const QString& name) const;
  const QIcon& iconNamed(const QString& name) const;

  mutable QHash<QString, QIcon> m_icons;  // by name or path; as many as there were applications
};

}  // namespace halvard
