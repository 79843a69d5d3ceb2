#include <QDBusVariant>
#include <QSignalSpy>
#include <QtTest>
#include <memory>

#include "fake_watcher.h"
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

}  // namespace

class TestStatusNotifierItem : public QObject {
  Q_OBJECT

 private:
  std::unique_ptr<PrivateBus> m_bus;
  std::unique_ptr<FakeWatcher> m_watcher;

  std::unique_ptr<StatusNotifierItem> makeItem(TitlePlacement placement = TitlePlacement::BesideIcon) {
    const StatusNotifierItem::Identity identity{QStringLiteral("halvard"), QStringLiteral("Halvard")};
    return std::make_unique<StatusNotifierItem>(m_bus->connect(), identity, testImage, placement);
  }

  QDBusMessage callItem(const QString& interface, const QString& method, const QVariantList& arguments) {
    QDBusMessage message = QDBusMessage::createMethodCall(m_watcher->registered.value(0),
                                                          QStringLiteral("/StatusNotifierItem"), interface, method);
    message.setArguments(arguments);
    return waitForReply(m_bus->connect().asyncCall(message));
  }
  QDBusMessage callItem(const QString& method, int x, int y) {
    return callItem(QStringLiteral("org.kde.StatusNotifierItem"), method, {x, y});
  }
  QVariantMap properties() {
    const QDBusMessage reply = callItem(QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("GetAll"),
                                        {QStringLiteral("org.kde.StatusNotifierItem")});
    return qdbus_cast<QVariantMap>(reply.arguments().value(0));
  }
  NotifierPixmaps pixmaps() { return qdbus_cast<NotifierPixmaps>(properties()[QStringLiteral("IconPixmap")]); }

 private Q_SLOTS:
  void init() {
    m_bus = std::make_unique<PrivateBus>();
    QVERIFY(m_bus->isRunning());
    m_watcher = std::make_unique<FakeWatcher>(m_bus->connect());
  }
  void cleanup() {
    m_watcher.reset();
    m_bus.reset();
  }

  void registersWithAWatcherThatIsThereComesLateOrRestarts() {
    m_watcher->start();
    const auto early = makeItem();
    QTRY_COMPARE(m_watcher->registered.size(), 1);
    QTRY_VERIFY(early->isShown());
    QVERIFY(m_watcher->registered[0].startsWith(
        QStringLiteral("org.kde.StatusNotifierItem-%1-").arg(QCoreApplication::applicationPid())));

    const QSignalSpy changes(early.get(), &StatusBarItem::shownChanged);
    m_watcher->stop();
    QTRY_VERIFY(!early->isShown());
    m_watcher->start();
    QTRY_VERIFY(early->isShown());
    QCOMPARE(m_watcher->registered.size(), 1);
    QCOMPARE(changes.size(), 2);
  }

  void isShownWhileTheWatcherHasAHost() {
    m_watcher->setHost(false);
    m_watcher->start();
    const auto item = makeItem();
    QTRY_COMPARE(m_watcher->registered.size(), 1);
    QVERIFY(!item->isShown());
    m_watcher->setHost(true);
    QTRY_VERIFY(item->isShown());
    m_watcher->setHost(false);
    QTRY_VERIFY(!item->isShown());
  }

  void outlivesTheBusAndDoesWithoutOne() {
    StatusNotifierItem none(QDBusConnection(QStringLiteral("no such bus")), {}, testImage, TitlePlacement::BesideIcon);
    none.setImage(memory(50));
    none.setToolTip(QStringLiteral("text"));
    QVERIFY(!none.isShown() && !none.geometry());
    m_watcher->start();
    const auto item = makeItem();
    QTRY_VERIFY(item->isShown());
    m_bus->stop();
    item->setImage(memory(50));
    QTRY_VERIFY(!item->isShown());
  }

  void offersThePictureInAllSizes() {
    m_watcher->start();
    const auto item = makeItem();
    item->setImage(memory(75));
    QTRY_VERIFY(item->isShown());
    QList<int> sizes;
    const NotifierPixmaps all = pixmaps();
    for (const NotifierPixmap& pixmap : all) {
      QCOMPARE(pixmap.width, pixmap.height);
      QCOMPARE(pixmap.bytes, testImage(memory(75), {}, pixmap.width).argb);
      sizes.append(pixmap.width);
    }
    QCOMPARE(sizes, (QList<int>{16, 22, 24, 32, 44, 48, 64}));
    item->setImage(QString());
    QVERIFY(pixmaps().isEmpty());
  }

  void describesItself() {
    m_watcher->start();
    const auto item = makeItem();
    item->setToolTip(QStringLiteral("Halvard\nUsed: 1 < 2\nFree: 3"));
    QTRY_VERIFY(item->isShown());
    const QVariantMap all = properties();
    QCOMPARE(all[QStringLiteral("Id")].toString(), QStringLiteral("halvard"));
    QCOMPARE(all[QStringLiteral("Title")].toString(), QStringLiteral("Halvard"));
    QCOMPARE(all[QStringLiteral("ItemIsMenu")].toBool(), false);
    QVERIFY(!all.contains(QStringLiteral("Menu")));
    const auto toolTip = qdbus_cast<NotifierToolTip>(all[QStringLiteral("ToolTip")]);
    QCOMPARE(toolTip.title, QStringLiteral("Halvard"));
    QCOMPARE(toolTip.description, QStringLiteral("Used: 1 &lt; 2\nFree: 3"));
  }

  void tellsHostsOfChangesAlone() {
    m_watcher->start();
    const auto item = makeItem();
    QTRY_VERIFY(item->isShown());
    const auto setAll = [&item](int percent) {
      item->setImage(memory(percent));
      item->setTitle({QStringLiteral(" %1% ").arg(percent), {255, 255, 255}});
      item->setToolTip(QStringLiteral("Halvard\nUsed Memory: %1").arg(percent));
    };
    setAll(50);
    setAll(50);
    item->setTitle({QStringLiteral(" 50% "), {70, 86, 103}});
    setAll(55);
    QTRY_COMPARE(m_watcher->newToolTips, 2);  // the last message of all
    QCOMPARE(m_watcher->newIcons, 2);
    QCOMPARE(m_watcher->newLabels, (QStringList{QStringLiteral(" 50% |100%"), QStringLiteral(" 55% |100%")}));
  }

  void aTitleIsALabelBesideTheIconOrDrawnIntoThePicture() {
    m_watcher->start();
    auto item = makeItem();
    item->setImage(memory(50));
    item->setTitle({QStringLiteral("7.42 GB"), {}});
    QTRY_VERIFY(item->isShown());
    QCOMPARE(properties()[QStringLiteral("XAyatanaLabel")].toString(), QStringLiteral("7.42 GB"));
    QCOMPARE(properties()[QStringLiteral("XAyatanaLabelGuide")].toString(), QStringLiteral("8.88 GB"));
    QCOMPARE(pixmaps().value(1).bytes, testImage(memory(50), {}, 22).argb);
    item.reset();
    m_watcher->stop();
    m_watcher->newLabels.clear();
    m_watcher->start();
    const auto inside = makeItem(TitlePlacement::InsideIcon);
    QTRY_VERIFY(inside->isShown());
    inside->setImage(memory(50));
    inside->setTitle({QStringLiteral(" 50% "), {}});
    QTRY_COMPARE(pixmaps().value(1).bytes, testImage(memory(50), QStringLiteral(" 50% "), 22).argb);
    QCOMPARE(properties()[QStringLiteral("XAyatanaLabel")].toString(), QString());
    QVERIFY(m_watcher->newLabels.isEmpty());
  }

  void aTitleThatLeavesThePictureAsItIsSendsNothing() {
    m_watcher->start();
    const auto sameForAll = [](const QString& name, const QString&, int size) { return testImage(name, {}, size); };
    StatusNotifierItem item(m_bus->connect(), {}, sameForAll, TitlePlacement::InsideIcon);
    QTRY_VERIFY(item.isShown());
    item.setImage(memory(50));
    item.setTitle({QStringLiteral("7.42 GB"), {}});
    item.setToolTip(QStringLiteral("last"));
    QTRY_COMPARE(m_watcher->newToolTips, 1);
    QCOMPARE(m_watcher->newIcons, 1);
  }

  void aClickArrivesWithItsButtonAndPlace() {
    m_watcher->start();
    const auto item = makeItem();
    QTRY_VERIFY(item->isShown());
    QVERIFY(!item->geometry());
    QList<StatusBarItem::MouseButton> clicks;
    connect(item.get(), &StatusBarItem::activated, this, [&](auto button) { clicks.append(button); });

    QCOMPARE(callItem(QStringLiteral("Activate"), 1200, 14).type(), QDBusMessage::ReplyMessage);
    QCOMPARE(item->geometry(), QRect(1188, 2, 24, 24));
    callItem(QStringLiteral("ContextMenu"), 40, 700);
    QCOMPARE(item->geometry(), QRect(28, 688, 24, 24));
    callItem(QStringLiteral("SecondaryActivate"), 40, 700);
    QCOMPARE(clicks, (QList{StatusBarItem::MouseButton::Left, StatusBarItem::MouseButton::Right,
                            StatusBarItem::MouseButton::Left}));

    m_watcher->stop();
    QTRY_VERIFY(!item->geometry());
  }

  void titlesGoWhereTheDesktopShowsThem() {
    for (const char* desktop : {"ubuntu:GNOME", "GNOME-Classic:GNOME", "Unity:Unity7:ubuntu"})
      QVERIFY2(titlePlacement(QString::fromLatin1(desktop)) == TitlePlacement::BesideIcon, desktop);
    for (const char* desktop : {"KDE", "XFCE", "LXQt", ""})
      QVERIFY2(titlePlacement(QString::fromLatin1(desktop)) == TitlePlacement::InsideIcon, desktop);
  }
};

QTEST_GUILESS_MAIN(TestStatusNotifierItem)
#include "test_status_notifier_item.moc"
