#include "platform/linux/dbus/status_notifier_adaptor.h"

#include "platform/linux/dbus/status_notifier_item.h"

namespace halvard {

StatusNotifierAdaptor::StatusNotifierAdaptor(StatusNotifierItem& item) : QDBusAbstractAdaptor(&item), m_item(item) {
  connect(&item, &StatusNotifierItem::pixmapsChanged, this, &StatusNotifierAdaptor::NewIcon);
  connect(&item, &StatusNotifierItem::toolTipChanged, this, &StatusNotifierAdaptor::NewToolTip);
  connect(&item, &StatusNotifierItem::labelChanged, this,
          [this] { Q_EMIT XAyatanaNewLabel(m_item.label(), m_item.labelGuide()); });
}

QString StatusNotifierAdaptor::id() const {
  return m_item.identity().id;
}

QString StatusNotifierAdaptor::title() const {
  return m_item.identity().title;
}

NotifierPixmaps StatusNotifierAdaptor::iconPixmap() const {
  return m_item.pixmaps();
}

NotifierToolTip StatusNotifierAdaptor::toolTip() const {
  return m_item.toolTip();
}

QString StatusNotifierAdaptor::label() const {
  return m_item.label();
}

QString StatusNotifierAdaptor::labelGuide() const {
  return m_item.labelGuide();
}

void StatusNotifierAdaptor::Activate(int x, int y) {
  m_item.click(StatusBarItem::MouseButton::Left, {x, y});
}

// Some hosts keep the left button for a menu of their own and offer this one alone.
void StatusNotifierAdaptor::SecondaryActivate(int x, int y) {
  m_item.click(StatusBarItem::MouseButton::Left, {x, y});
}

void StatusNotifierAdaptor::ContextMenu(int x, int y) {
  m_item.click(StatusBarItem::MouseButton::Right, {x, y});
}

void StatusNotifierAdaptor::Scroll(int, const QString&) {}

}  // namespace halvard
