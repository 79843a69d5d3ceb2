#pragma once

#include <QDBusAbstractAdaptor>

#include "platform/linux/dbus/status_notifier_types.h"

namespace halvard {

class StatusNotifierItem;

/// The bus face of a StatusNotifierItem: names and types are those of the interface.
class StatusNotifierAdaptor : public QDBusAbstractAdaptor {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierItem")
  Q_PROPERTY(QString Category READ category CONSTANT)
  Q_PROPERTY(QString Id READ id CONSTANT)
  Q_PROPERTY(QString Title READ title CONSTANT)
  Q_PROPERTY(QString Status READ status CONSTANT)
  Q_PROPERTY(QString IconName READ iconName CONSTANT)
  Q_PROPERTY(halvard::NotifierPixmaps IconPixmap READ iconPixmap)
  Q_PROPERTY(halvard::NotifierToolTip ToolTip READ toolTip)
  Q_PROPERTY(bool ItemIsMenu READ itemIsMenu CONSTANT)
  Q_PROPERTY(QString XAyatanaLabel READ label)
  Q_PROPERTY(QString XAyatanaLabelGuide READ labelGuide)

 public:
  /// `item` owns the adaptor.
  explicit StatusNotifierAdaptor(StatusNotifierItem& item);

  QString category() const { return QStringLiteral("SystemServices"); }
  QString id() const;
  QString title() const;
  QString status() const { return QStringLiteral("Active"); }
  /// Empty, so that hosts take the pixmaps.
  QString iconName() const { return QString(); }
  NotifierPixmaps iconPixmap() const;
  NotifierToolTip toolTip() const;
  bool itemIsMenu() const { return false; }
  QString label() const;
  QString labelGuide() const;

 public Q_SLOTS:
  void Activate(int x, int y);
  void SecondaryActivate(int x, int y);
  void ContextMenu(int x, int y);
  void Scroll(int delta, const QString& orientation);

 Q_SIGNALS:
  void NewIcon();
  void NewToolTip();
  void XAyatanaNewLabel(const QString& label, const QString& guide);

 private:
  StatusNotifierItem& m_item;
};

}  // namespace halvard
