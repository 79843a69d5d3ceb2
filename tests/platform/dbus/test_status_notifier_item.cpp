#include <QDBusVariant>
#include <QtTest>

#include "fake_service.h"
#include "platform/linux/dbus/status_notifier_item.h"
#include "support/private_bus.h"

using namespace halvard;
using namespace halvard::test;

namespace {

/// A picture that is filled with a number made of its name and title.
StatusImage testImage(const QString& name, const QString& title, int size) {
  if (name.isEmpty()) return {};
  return {size, QByteArray(qsizetype(size) * size * 4, static_cast<char>(qHash(name + title)))};
}

QString memory(int percent) {
  return QStringLiteral("icon_memory_%1").arg(percent);
}

const QString kInterface = text("org.kde.StatusNotifierItem");
const QString kPath = text("/StatusNotifierItem");

/// A session with a watcher for items that may have a host.
class Session : public QObject {
  Q_OBJECT

 public:
  PrivateBus bus;
  QDBusConnection connection = bus.connect();
  bool hasHost = true;
  FakeService watcher{connection, "org.kde.StatusNotifierWatcher", "/StatusNotifierWatcher",
                      "org.kde.StatusNotifierWatcher", [this](const QDBusMessage& question) {
                        const bool asksForHost = question.member() == text("Get");
                        return asksForHost ? question.createReply(QVariant::fromValue(QDBusVariant(hasHost)))
                                           : question.createReply();
                      }};
  QStringList heard;  // what items told their hosts

  Session() {
    for (const char* name : {"NewIcon", "NewToolTip", "XAyatanaNewLabel"})
      connection.connect(QString(), kPath, kInterface, text(name), this, SLOT(hear(QDBusMessage)));
    watcher.start();
  }

  QList<QVariantList> registered() const { return watcher.asked("RegisterStatusNotifierItem"); }
  void setHost(bool there) {
    hasHost = there;
    watcher.emitSignal(there ? "StatusNotifierHostRegistered" : "StatusNotifierHostUnregistered");
  }

  std::unique_ptr<StatusNotifierItem> makeItem(TitlePlacement placement = TitlePlacement::BesideIcon,
                                               const StatusImageSource& images = testImage) {
    const StatusNotifierItem::Identity identity{text("halvard"), text("Halvard")};
    return std::make_unique<StatusNotifierItem>(bus.connect(), identity, images, placement);
  }

  QDBusMessage callItem(const QString& interface, const char* method, const QVariantList& arguments) {
    const QString newest = registered().value(registered().size() - 1).value(0).toString();
    QDBusMessage message = QDBusMessage::createMethodCall(newest, kPath, interface, text(method));
    message.setArguments(arguments);
    return waitForReply(bus.connect().asyncCall(message));
  }
  QVariantMap properties() {
    const QDBusMessage reply = callItem(text("org.freedesktop.DBus.Properties"), "GetAll", {kInterface});
    return qdbus_cast<QVariantMap>(reply.arguments().value(0));
  }
  NotifierPixmaps pixmaps() { return qdbus_cast<NotifierPixmaps>(properties()[text("IconPixmap")]); }

 public Q_SLOTS:
  void hear(const QDBusMessage& message) {
    heard << message.member();
    for (const QVariant& argument : message.arguments())
      heard.last() += u'|' + argument.toString();
  }
};

}  // namespace

class TestStatusNotifierItem : public QObject {
  Q_OBJECT

 private Q_SLOTS:
  void isShownWhileThereIsAWatcherWithAHost() {
    Session session;
    session.hasHost = false;
    const auto item = session.makeItem();
    QTRY_COMPARE(session.registered().size(), 1);
    QVERIFY(session.registered()[0][0].toString().startsWith(kInterface +
                                                             QStringLiteral("-%1-").arg(qApp->applicationPid())));
    QVERIFY(!item->isShown());
    const QSignalSpy changes(item.get(), &StatusBarItem::shownChanged);
    for (const bool there : {true, false, true}) {
      session.setHost(there);
      QTRY_COMPARE(item->isShown(), there);
    }
    session.watcher.stop();
    QTRY_VERIFY(!item->isShown());
    session.watcher.start();
    QTRY_VERIFY(item->isShown());
    QCOMPARE(session.registered().size(), 1);
    QCOMPARE(changes.size(), 5);
  }

  void describesItselfAndOffersThePictureInAllSizes() {
    Session session;
    const auto item = session.makeItem();
    item->setToolTip(text("Halvard\nUsed: 1 < 2\nFree: 3"));
    item->setImage(memory(75));
    QTRY_VERIFY(item->isShown());
    const QVariantMap all = session.properties();
    QVERIFY(all[text("ItemIsMenu")] == QVariant(false) && !all.contains(text("Menu")));
    const auto toolTip = qdbus_cast<NotifierToolTip>(all[text("ToolTip")]);
    QCOMPARE(toolTip.description, text("Used: 1 &lt; 2\nFree: 3"));
    QVERIFY(session.pixmaps().size() > 1);
    for (const NotifierPixmap& pixmap : session.pixmaps())
      QCOMPARE(pixmap.bytes, testImage(memory(75), {}, pixmap.height).argb);
    item->setImage(QString());
    QVERIFY(session.pixmaps().isEmpty());
  }

  void tellsHostsOfChangesAlone() {
    Session session;
    const auto item = session.makeItem();
    const auto setAll = [&item](int percent) {
      item->setImage(memory(percent));
      item->setTitle({QStringLiteral(" %1% ").arg(percent), {255, 255, 255}});
      item->setToolTip(QStringLiteral("Halvard\nUsed Memory: %1").arg(percent));
    };
    setAll(50);
    setAll(50);
    item->setTitle({text(" 50% "), {70, 86, 103}});
    setAll(55);
    QTRY_COMPARE(session.heard, texts({"NewIcon", "XAyatanaNewLabel| 50% |100%", "NewToolTip", "NewIcon",
                                       "XAyatanaNewLabel| 55% |100%", "NewToolTip"}));
    session.heard.clear();
    const auto withoutTitle = [](const QString& name, const QString&, int size) { return testImage(name, {}, size); };
    const auto inside = session.makeItem(TitlePlacement::InsideIcon, withoutTitle);
    inside->setImage(memory(50));
    inside->setTitle({text("7.42 GB"), {}});
    inside->setToolTip(text("last"));
    QTRY_COMPARE(session.heard, texts({"NewIcon", "NewToolTip"}));
  }

  void aTitleIsALabelBesideTheIconOrDrawnIntoThePicture() {
    Session session;
    const auto beside = session.makeItem();
    beside->setImage(memory(50));
    beside->setTitle({text("7.42 GB"), {}});
    QTRY_VERIFY(beside->isShown());
    QCOMPARE(session.properties()[text("XAyatanaLabel")], QVariant(text("7.42 GB")));
    QCOMPARE(session.properties()[text("XAyatanaLabelGuide")], QVariant(text("8.88 GB")));
    QCOMPARE(session.pixmaps().value(1).bytes, testImage(memory(50), {}, 22).argb);
    const auto inside = session.makeItem(TitlePlacement::InsideIcon);
    inside->setImage(memory(50));
    inside->setTitle({text(" 50% "), {}});
    QTRY_VERIFY(inside->isShown());
    QCOMPARE(session.pixmaps().value(1).bytes, testImage(memory(50), text(" 50% "), 22).argb);
    QCOMPARE(session.properties()[text("XAyatanaLabel")], QVariant(QString()));
    QCOMPARE(session.heard, texts({"NewIcon", "XAyatanaNewLabel|7.42 GB|8.88 GB", "NewIcon", "NewIcon"}));
  }

  void aClickArrivesWithItsButtonAndPlaceWhileThereIsABus() {
    Session session;
    const auto item = session.makeItem();
    QTRY_VERIFY(item->isShown());
    QVERIFY(!item->geometry());
    using Button = StatusBarItem::MouseButton;
    QList<Button> clicks;
    connect(item.get(), &StatusBarItem::activated, this, [&](auto button) { clicks.append(button); });

    QCOMPARE(session.callItem(kInterface, "Activate", {1200, 14}).type(), QDBusMessage::ReplyMessage);
    QCOMPARE(item->geometry(), QRect(1188, 2, 24, 24));
    session.callItem(kInterface, "ContextMenu", {40, 700});
    QCOMPARE(item->geometry(), QRect(28, 688, 24, 24));
    session.callItem(kInterface, "SecondaryActivate", {40, 700});
    QCOMPARE(clicks, (QList{Button::Left, Button::Right, Button::Left}));

    session.bus.stop();
    QTRY_VERIFY(!item->geometry() && !item->isShown());
    item->setImage(memory(50));
    StatusNotifierItem none(QDBusConnection(text("no such bus")), {}, testImage, TitlePlacement::BesideIcon);
    none.setImage(memory(50));
    QVERIFY(!none.isShown() && !none.geometry());
  }

  void titlesGoWhereTheDesktopShowsThem() {
    for (const char* desktop : {"ubuntu:GNOME", "GNOME-Classic:GNOME", "Unity:Unity7:ubuntu"})
      QVERIFY2(titlePlacement(text(desktop)) == TitlePlacement::BesideIcon, desktop);
    for (const char* desktop : {"KDE", "XFCE", ""})
      QVERIFY2(titlePlacement(text(desktop)) == TitlePlacement::InsideIcon, desktop);
  }
};

QTEST_GUILESS_MAIN(TestStatusNotifierItem)
#include "test_status_notifier_item.moc"
