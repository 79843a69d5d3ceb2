#pragma once

#include <QDBusConnection>
#include <QPointer>
#include <optional>

#include "platform/linux/dbus/status_notifier_types.h"
#include "platform/ports/status_bar_item.h"
#include "platform/ports/status_images.h"

class QDBusMessage;
class QDBusPendingCallWatcher;

namespace halvard {

/// Where the item's text goes: into the label that some hosts show beside the icon, or into the picture itself.
enum class TitlePlacement { BesideIcon, InsideIcon };

/// What kind of text the hosts of a desktop show. `currentDesktop` is the value of XDG_CURRENT_DESKTOP, names
/// separated by colons. Inside the icon when in doubt, for there every host shows it.
TitlePlacement titlePlacement(const QString& currentDesktop);

/// The status item as an org.kde.StatusNotifierItem. It registers with the watcher that is there, that appears, and
/// again with one that restarts; without a session bus it stays quiet. Hosts know no alternate picture or title, so
/// those are not shown. No call of it waits for another program.
class StatusNotifierItem : public StatusBarItem {
  Q_OBJECT

 public:
  struct Identity {
    /// Stays the same over restarts, so that hosts remember the user's arrangement.
    QString id;
    /// The program's name, for people.
    QString title;
  };

  StatusNotifierItem(const QDBusConnection& connection, Identity identity, StatusImageSource images,
                     TitlePlacement placement, QObject* parent = nullptr);
  ~StatusNotifierItem() override;

  void setImage(const QString& imageName) override;
  void setAlternateImage(const QString&) override {}
  void setTitle(const AttributedTitle& title) override;
  void setAlternateTitle(const AttributedTitle&) override {}
  void setToolTip(const QString& toolTip) override;
  /// A square around the last click, in the host's coordinates.
  std::optional<QRect> geometry() const override;
  bool isShown() const override { return m_shown; }

  // What the host reads and calls.
  const Identity& identity() const { return m_identity; }
  const NotifierPixmaps& pixmaps() const { return m_pixmaps; }
  QString label() const;
  /// The widest text that the label is likely to hold, so that the host can reserve its room.
  QString labelGuide() const;
  NotifierToolTip toolTip() const;
  void click(MouseButton button, QPoint position);

 Q_SIGNALS:
  void pixmapsChanged();
  void labelChanged();
  void toolTipChanged();

 private Q_SLOTS:
  void askForHost();
  void forgetWatcher();

 private:
  void registerWithWatcher();
  /// Sends `message`; an answer that arrives after a newer question is dropped.
  template <class Handler>
  void ask(const QDBusMessage& message, Handler handler);
  void setShown(bool shown);
  void updatePixmaps();

  QDBusConnection m_connection;
  Identity m_identity;
  StatusImageSource m_images;
  TitlePlacement m_placement;
  QString m_serviceName;
  QPointer<QDBusPendingCallWatcher> m_question;

  QString m_imageName;
  QString m_title;
  QString m_toolTip;
  NotifierPixmaps m_pixmaps;
  std::optional<QPoint> m_lastClick;
  bool m_registered = false;
  bool m_shown = false;
};

}  // namespace halvard
