#pragma once

#include <QByteArray>
#include <QDBusArgument>
#include <QList>
#include <QMetaType>
#include <QString>

namespace halvard {

/// (iiay): one picture as a status notifier host reads it. Bytes as in StatusImage::argb.
struct NotifierPixmap {
  int width = 0;
  int height = 0;
  QByteArray bytes;

  bool operator==(const NotifierPixmap&) const = default;
};
using NotifierPixmaps = QList<NotifierPixmap>;

/// (sa(iiay)ss): a tool tip. The description is markup, so plain text in it is escaped.
struct NotifierToolTip {
  QString iconName;
  NotifierPixmaps pixmaps;
  QString title;
  QString description;

  bool operator==(const NotifierToolTip&) const = default;
};

QDBusArgument& operator<<(QDBusArgument& argument, const NotifierPixmap& pixmap);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierPixmap& pixmap);
QDBusArgument& operator<<(QDBusArgument& argument, const NotifierToolTip& toolTip);
const QDBusArgument& operator>>(const QDBusArgument& argument, NotifierToolTip& toolTip);

/// Tells QtDBus of the types above. Any number of calls.
void registerNotifierTypes();

}  // namespace halvard

Q_DECLARE_METATYPE(halvard::NotifierPixmap)
Q_DECLARE_METATYPE(halvard::NotifierToolTip)
