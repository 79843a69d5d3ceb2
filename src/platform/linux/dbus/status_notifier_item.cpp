#include "platform/linux/dbus/status_notifier_item.h"

#include <QCoreApplication>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QRegularExpression>
#include <algorithm>
#include <array>
#include <limits>
#include <utility>

#include "platform/linux/dbus/status_notifier_adaptor.h"

namespace halvard {

namespace {

const QLatin1String kItemPath("/StatusNotifierItem");
const QLatin1String kWatcherService("org.kde.StatusNotifierWatcher");
const QLatin1String kWatcherPath("/StatusNotifierWatcher");

/// Heights of common panels, and twice those for dense screens.
constexpr std::array kPixmapSizes = {16, 22, 24, 32, 44, 48, 64};
/// Side of the square that geometry() puts around a click.
constexpr int kItemSide = 24;
/// Milliseconds: for ever. A panel that is busy at login answers in the end, and nobody waits for it.
constexpr int kPatience = std::numeric_limits<int>::max();

/// A call that starts no service: without a watcher there is nothing to register with.
QDBusMessage watcherCall(const QString& interface, const QString& method, const QVariantList& arguments) {
  QDBusMessage message = QDBusMessage::createMethodCall(kWatcherService, kWatcherPath, interface, method);
  message.setArguments(arguments);
  message.setAutoStartService(false);
  return message;
}

QString nextServiceName() {
  static int number = 0;
  const qint64 pid = QCoreApplication::applicationPid();
  return QStringLiteral("org.kde.StatusNotifierItem-%1-%2").arg(pid).arg(++number);
}

}  // namespace

TitlePlacement titlePlacement(const QString& currentDesktop) {
  static const QStringList labelling = {QStringLiteral("gnome"), QStringLiteral("unity"), QStringLiteral("budgie")};
  const QStringList names = currentDesktop.toLower().split(QLatin1Char(':'));
  const bool showsLabels = std::any_of(names.begin(), names.end(), [](const QString& name) {
    return labelling.contains(name.section(QLatin1Char('-'), 0, 0));  // "GNOME-Classic", "Budgie-Desktop"
  });
  return showsLabels ? TitlePlacement::BesideIcon : TitlePlacement::InsideIcon;
}

StatusNotifierItem::StatusNotifierItem(const QDBusConnection& connection, Identity identity, StatusImageSource images,
                                       TitlePlacement placement, QObject* parent)
    : StatusBarItem(parent),
      m_connection(connection),
      m_identity(std::move(identity)),
      m_images(std::move(images)),
      m_placement(placement),
      m_serviceName(nextServiceName()) {
  if (!m_connection.isConnected()) return;
  registerNotifierTypes();
  new StatusNotifierAdaptor(*this);
  m_connection.registerObject(kItemPath, this, QDBusConnection::ExportAdaptors);
  m_connection.registerService(m_serviceName);

  auto* watcher =
      new QDBusServiceWatcher(kWatcherService, m_connection, QDBusServiceWatcher::WatchForOwnerChange, this);
  connect(watcher, &QDBusServiceWatcher::serviceOwnerChanged, this,
          [this](const QString&, const QString&, const QString& newOwner) {
            forgetWatcher();
            if (!newOwner.isEmpty()) registerWithWatcher();
          });
  for (const char* name : {"StatusNotifierHostRegistered", "StatusNotifierHostUnregistered"}) {
    m_connection.connect(QString(), kWatcherPath, kWatcherService, QLatin1String(name), this, SLOT(askForHost()));
  }
  m_connection.connect(QString(), QStringLiteral("/org/freedesktop/DBus/Local"),
                       QStringLiteral("org.freedesktop.DBus.Local"), QStringLiteral("Disconnected"), this,
                       SLOT(forgetWatcher()));
  registerWithWatcher();
}

StatusNotifierItem::~StatusNotifierItem() {
  if (!m_connection.isConnected()) return;
  m_connection.unregisterObject(kItemPath);
  m_connection.unregisterService(m_serviceName);
}

void StatusNotifierItem::setImage(const QString& imageName) {
  if (imageName == m_imageName) return;
  m_imageName = imageName;
  updatePixmaps();
}

void StatusNotifierItem::setTitle(const AttributedTitle& title) {
  if (title.text == m_title) return;  // the colour is the host's
  m_title = title.text;
  if (m_placement == TitlePlacement::InsideIcon) {
    updatePixmaps();
  } else {
    Q_EMIT labelChanged();
  }
}

void StatusNotifierItem::setToolTip(const QString& toolTip) {
  if (toolTip == m_toolTip) return;
  m_toolTip = toolTip;
  Q_EMIT toolTipChanged();
}

std::optional<QRect> StatusNotifierItem::geometry() const {
  if (!m_shown || !m_lastClick) return std::nullopt;
  return QRect(m_lastClick->x() - kItemSide / 2, m_lastClick->y() - kItemSide / 2, kItemSide, kItemSide);
}

QString StatusNotifierItem::label() const {
  return m_placement == TitlePlacement::BesideIcon ? m_title : QString();
}

QString StatusNotifierItem::labelGuide() const {
  static const QRegularExpression digit(QStringLiteral("\\d"));
  QString guide = label();
  if (guide.contains(QLatin1Char('%'))) return QStringLiteral("100%");
  return guide.replace(digit, QStringLiteral("8"));
}

NotifierToolTip StatusNotifierItem::toolTip() const {
  const qsizetype end = m_toolTip.indexOf(QLatin1Char('\n'));
  if (end < 0) return {QString(), {}, m_toolTip, QString()};
  return {QString(), {}, m_toolTip.left(end), m_toolTip.mid(end + 1).toHtmlEscaped()};
}

void StatusNotifierItem::click(MouseButton button, QPoint position) {
  m_lastClick = position;
  Q_EMIT activated(button);
}

void StatusNotifierItem::updatePixmaps() {
  const QString drawnTitle = m_placement == TitlePlacement::InsideIcon ? m_title : QString();
  NotifierPixmaps pixmaps;
  for (const int size : kPixmapSizes) {
    const StatusImage image = m_images(m_imageName, drawnTitle, size);
    if (image.size > 0) pixmaps.append({image.size, image.size, image.argb});
  }
  if (pixmaps == m_pixmaps) return;
  m_pixmaps = pixmaps;
  Q_EMIT pixmapsChanged();
}

void StatusNotifierItem::forgetWatcher() {
  delete m_question;
  m_registered = false;
  setShown(false);
}

void StatusNotifierItem::registerWithWatcher() {
  ask(watcherCall(kWatcherService, QStringLiteral("RegisterStatusNotifierItem"), {m_serviceName}),
      [this](const QDBusMessage& reply) {
        m_registered = reply.type() == QDBusMessage::ReplyMessage;
        askForHost();
      });
}

void StatusNotifierItem::askForHost() {
  if (!m_registered) return;
  const QVariantList property = {QString(kWatcherService), QStringLiteral("IsStatusNotifierHostRegistered")};
  ask(watcherCall(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"), property),
      [this](const QDBusMessage& reply) {
        // A watcher that took the item and cannot say whether somebody shows it gets the benefit of the doubt.
        const QVariant value = reply.arguments().value(0).value<QDBusVariant>().variant();
        setShown(value.isValid() ? value.toBool() : true);
      });
}

template <class Handler>
void StatusNotifierItem::ask(const QDBusMessage& message, Handler handler) {
  delete m_question;
  m_question = new QDBusPendingCallWatcher(m_connection.asyncCall(message, kPatience), this);
  connect(m_question, &QDBusPendingCallWatcher::finished, this, [handler](QDBusPendingCallWatcher* finished) {
    finished->deleteLater();
    handler(finished->reply());
  });
}

void StatusNotifierItem::setShown(bool shown) {
  if (shown == m_shown) return;
  m_shown = shown;
  m_lastClick.reset();
  Q_EMIT shownChanged();
}

}  // namespace halvard
