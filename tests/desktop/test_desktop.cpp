// The adapters against a real panel, a real tray and a real notification daemon. Runs inside tests/desktop/session.
#include <QDBusConnection>
#include <QProcess>
#include <QSignalSpy>
#include <QtTest>
#include <csignal>
#include <memory>

#include "desktop_probe.h"
#include "platform/desktop/desktop_status_bar_item.h"
#include "platform/desktop/xembed_status_bar_item.h"
#include "platform/linux/dbus/dbus_user_notification_center.h"
#include "platform/linux/dbus/status_notifier_item.h"

using namespace halvard;
using namespace halvard::test;

namespace {

constexpr int kPatience = 15'000;
/// A colour that no theme uses, so that the item can be found on the screen.
const QColor kInk(0xF0, 0x12, 0xE3);

StatusImage inkImage(const QString& name, const QString&, int size) {
  if (name.isEmpty()) return {};
  const char pixel[] = {'\xFF', '\xF0', '\x12', '\xE3'};
  return {size, QByteArray(pixel, 4).repeated(qsizetype(size) * size)};
}

/// The program's item, put together as the program does it.
struct RealItem {
  RealItem() {
    item.setImage(QStringLiteral("ink"));
    QObject::connect(&item, &StatusBarItem::activated, &item, [this](auto button) { clicks.append(button); });
  }

  SystemClock clock;
  StatusNotifierItem notifier{QDBusConnection::sessionBus(),
                              {QStringLiteral("halvard-test"), QStringLiteral("Halvard test")},
                              inkImage,
                              TitlePlacement::InsideIcon};
  bool usesXEmbed = false;
  DesktopStatusBarItem item{notifier,
                            [this] {
                              usesXEmbed = true;
                              return std::make_unique<XEmbedStatusBarItem>(inkImage);
                            },
                            clock};
  QList<StatusBarItem::MouseButton> clicks;
};

/// As in a crash.
bool killSessionPanel() {
  const int pid = qEnvironmentVariableIntValue("HALVARD_SESSION_PANEL");
  return pid > 1 && kill(pid, SIGKILL) == 0;
}

std::optional<QPoint> waitForInk() {
  std::optional<QPoint> place;
  return QTest::qWaitFor([&place] { return (place = findColor(kInk)).has_value(); }, kPatience) ? place : std::nullopt;
}

/// True when the middle of the item is within its own size of the pixel that was clicked.
bool isNear(const std::optional<QRect>& rect, QPoint pixel) {
  const qreal scale = qGuiApp->devicePixelRatio();
  return rect && (QPointF(rect->center()) - QPointF(pixel) / scale).manhattanLength() <= 24;
}

}  // namespace

class TestDesktop : public QObject {
  Q_OBJECT

 private:
  QString m_tray = qEnvironmentVariable("HALVARD_SESSION_TRAY");

 private Q_SLOTS:
  void initTestCase() {
    if (m_tray.isEmpty()) QSKIP("needs the session of tests/desktop/session");
  }

  void thePanelShowsTheItemAndItsClicksArrive() {
    if (m_tray != QLatin1String("panel")) QSKIP("for a session with a panel");
    RealItem real;
    QTRY_VERIFY_WITH_TIMEOUT(real.item.isShown(), kPatience);
    const std::optional<QPoint> place = waitForInk();
    QVERIFY(place);
    clickAt(*place, 1);
    QTRY_COMPARE_WITH_TIMEOUT(real.clicks.size(), 1, kPatience);
    QVERIFY(isNear(real.item.geometry(), *place));
    // The right button opens a menu of this panel's own for items that have none; it tells the item nothing.
    QCOMPARE(real.clicks, QList{StatusBarItem::MouseButton::Left});

    real.item.setImage(QString());
    QTRY_VERIFY_WITH_TIMEOUT(!findColor(kInk), kPatience);
  }

  void theItemComesBackWhenThePanelRestarts() {
    if (m_tray != QLatin1String("panel")) QSKIP("for a session with a panel");
    RealItem real;
    QVERIFY(waitForInk());
    QVERIFY(killSessionPanel());
    QTRY_VERIFY_WITH_TIMEOUT(!real.item.isShown(), kPatience);
    QTRY_VERIFY_WITH_TIMEOUT(!findColor(kInk), kPatience);
    QVERIFY(!real.item.geometry());

    QProcess panel;
    panel.start(QStringLiteral("xfce4-panel"), {QStringLiteral("--disable-wm-check")});
    QTRY_VERIFY_WITH_TIMEOUT(real.notifier.isShown(), kPatience);
    const std::optional<QPoint> place = waitForInk();
    QVERIFY(place);
    clickAt(*place, 1);
    QTRY_COMPARE_WITH_TIMEOUT(real.clicks.size(), 1, kPatience);
    panel.terminate();
    panel.waitForFinished();
  }

  void aTrayOfX11WindowsShowsTheItemUntilAPanelComes() {
    if (m_tray != QLatin1String("xembed")) QSKIP("for a session with a tray of X11 windows");
    RealItem real;
    QTRY_VERIFY_WITH_TIMEOUT(real.item.isShown(), kPatience);
    QVERIFY(real.usesXEmbed);
    const std::optional<QPoint> place = waitForInk();
    QVERIFY(place);
    clickAt(*place, 1);
    QTRY_COMPARE_WITH_TIMEOUT(real.clicks.size(), 1, kPatience);
    QVERIFY(isNear(real.item.geometry(), *place));
    clickAt(*place, 3);
    QTRY_COMPARE_WITH_TIMEOUT(real.clicks.size(), 2, kPatience);
    QCOMPARE(real.clicks[1], StatusBarItem::MouseButton::Right);

    // The tray goes: not shown. A panel comes: shown by it.
    QVERIFY(killSessionPanel());
    QTRY_VERIFY_WITH_TIMEOUT(!real.item.isShown(), kPatience);
    QProcess panel;
    panel.start(QStringLiteral("xfce4-panel"), {QStringLiteral("--disable-wm-check")});
    QTRY_VERIFY_WITH_TIMEOUT(real.notifier.isShown(), kPatience);
    QVERIFY(real.item.isShown());
    QVERIFY(waitForInk());
    panel.terminate();
    panel.waitForFinished();
  }

  void withoutATrayTheItemIsNotShownUntilOneComes() {
    if (m_tray != QLatin1String("none")) QSKIP("for a session without a tray");
    RealItem real;
    QTRY_VERIFY_WITH_TIMEOUT(real.usesXEmbed, kPatience);
    QVERIFY(!real.item.isShown());
    QVERIFY(!real.item.geometry());
    QProcess tray;
    tray.start(QStringLiteral("trayer"), {QStringLiteral("--edge"), QStringLiteral("top")});
    QTRY_VERIFY_WITH_TIMEOUT(real.item.isShown(), kPatience);
    QVERIFY(waitForInk());
    tray.terminate();
    tray.waitForFinished();
  }

  void aClickOnANotificationComesBackWithItsUserInformation() {
    if (m_tray != QLatin1String("panel")) QSKIP("one kind of session is enough");
    DBusUserNotificationCenter center(QDBusConnection::sessionBus(), {QStringLiteral("Halvard"), {}, {}});
    QList<QVariantMap> clicked;
    connect(&center, &UserNotificationCenter::activated, this,
            [&clicked](const QVariantMap& userInfo, bool) { clicked.append(userInfo); });
    const QVariantMap userInfo{{QStringLiteral("window"), QStringLiteral("panel")}};
    center.deliver({QStringLiteral("Halvard"), QStringLiteral("1.20 GB of RAM <have> been cleaned"), {}, userInfo});

    const auto displayed = [] {
      return runTool(QStringLiteral("dunstctl"), {QStringLiteral("count"), QStringLiteral("displayed")});
    };
    QTRY_COMPARE_WITH_TIMEOUT(displayed(), QStringLiteral("1"), kPatience);
    // The daemon's window is mapped small and in a corner, and then drawn where it is to be.
    std::optional<QRect> window;
    QTRY_VERIFY_WITH_TIMEOUT((window = frameOfWindow(QStringLiteral("Dunst"))) && window->height() > 20, kPatience);
    clickAt(window->topLeft() + QPoint(20, 20), 1);
    QTRY_COMPARE_WITH_TIMEOUT(clicked, QList<QVariantMap>{userInfo}, kPatience);
    QTRY_COMPARE_WITH_TIMEOUT(displayed(), QStringLiteral("0"), kPatience);
  }
};

QTEST_MAIN(TestDesktop)
#include "test_desktop.moc"
