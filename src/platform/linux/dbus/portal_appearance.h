#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>

#include "platform/ports/appearance.h"

namespace halvard {

/// The colour scheme from the desktop portal. The first answer comes a moment after construction and is announced
/// by changed() when it is dark; without a portal the style is light.
class PortalAppearance : public Appearance {
  Q_OBJECT

 public:
  explicit PortalAppearance(const QDBusConnection& connection, QObject* parent = nullptr);

  bool isDark() const override { return m_dark; }

 private Q_SLOTS:
  void settingChanged(const QString& nameSpace, const QString& key, const QDBusVariant& value);

 private:
  void read(const QString& method);
  void readReply(const QString& method, const QDBusMessage& reply);
  void setDark(bool dark);

  QDBusConnection m_connection;
  bool m_dark = false;
};

}  // namespace halvard
