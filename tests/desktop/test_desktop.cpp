// The adapters against a real panel, a real tray and a real notification daemon. Runs inside tests/desktop/session.
#include <QAbstractNativeEventFilter>
#include <QBitmap>
#include <QDBusConnection>
#include <QScreen>
#include <QWidget>
#include <QtTest>
#include <csignal>
#include <memory>

#include <xcb/xcb.h>

#include "platform/desktop/desktop_status_bar_item.h"
#include "platform/desktop/x11_window_list_watch.h"
#include "platform/desktop/xembed_status_bar_item.h"
#include "platform/linux/dbus/dbus_user_notification_center.h"
#include "platform/linux/dbus/status_notifier_item.h"
#include "support/owned_process.h"
#include "support/texts.h"

using namespace halvard;

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
    item.setImage(text("ink"));
    QObject::connect(&item, &StatusBarItem::activated, &item, [this](auto button) { clicks.append(button); });
  }

  SystemClock clock;
  StatusNotifierItem notifier{QDBusConnection::sessionBus(),
                              {text("halvard-test"), text("Halvard test")},
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

/// Middle of the ink on the whole display, in pixels; nothing when hardly any shows.
std::optional<QPoint> findInk() {
  const QImage screen = QGuiApplication::primaryScreen()->grabWindow(0).toImage();
  const QImage mask = screen.createMaskFromColor(kInk.rgb(), Qt::MaskOutColor);
  const QRect ink = QRegion(QBitmap::fromImage(mask)).boundingRect();
  return ink.width() * ink.height() < 60 ? std::nullopt : std::optional(ink.center());
}

std::optional<QPoint> waitForInk() {
  std::optional<QPoint> place;
  return QTest::qWaitFor([&place] { return (place = findInk()).has_value(); }, kPatience) ? place : std::nullopt;
}

/// As in a crash.
bool killSessionPanel() {
  const int pid = qEnvironmentVariableIntValue("HALVARD_SESSION_PANEL");
  return pid > 1 && kill(pid, SIGKILL) == 0;
}

/// A tray that is started late; ended with the test.
struct LateTray : test::OwnedProcess {
  explicit LateTray(const char* commandLine) { startCommand(text(commandLine)); }
};

/// True when the item shows, a real click on its ink arrives (button 1 left, 3 right), and the item knows about where
/// it stands: its middle is within its own size of the pixel that was clicked.
bool isShownAndClicked(RealItem& real, int button) {
  const auto before = real.clicks.size();
  const std::optional<QPoint> pixel = waitForInk();
  if (!pixel || !QTest::qWaitFor([&] { return real.item.isShown(); }, kPatience)) return false;
  const QString line = text("mousemove %1 %2 click %3").arg(pixel->x()).arg(pixel->y()).arg(button);
  QProcess::execute(text("xdotool"), line.split(u' '));
  const bool arrives = QTest::qWaitFor([&] { return real.clicks.size() == before + 1; }, kPatience);
  const std::optional<QRect> rect = real.item.geometry();
  const QPointF clicked = QPointF(*pixel) / qGuiApp->devicePixelRatio();
  return arrives && rect && (QPointF(rect->center()) - clicked).manhattanLength() <= 24;
}

/// How many properties the toolkit has heard of.
struct PropertyEvents : QAbstractNativeEventFilter {
  PropertyEvents() { qGuiApp->installNativeEventFilter(this); }
  bool nativeEventFilter(const QByteArray&, void* message, qintptr*) override {
    if (*static_cast<const std::uint8_t*>(message) == XCB_PROPERTY_NOTIFY) ++count;
    return false;
  }
  int count = 0;
};

}  // namespace

class TestDesktop : public QObject {
  Q_OBJECT

 private:
  QString m_tray = qEnvironmentVariable("HALVARD_SESSION_TRAY");

 private Q_SLOTS:
  void initTestCase() {
    if (m_tray.isEmpty()) QSKIP("needs the session of tests/desktop/session");
  }

  void thePanelShowsTheItemAndItsClicksArriveAlsoAfterItsRestart() {
    if (m_tray != QLatin1String("panel")) QSKIP("for a session with a panel");
    RealItem real;
    QVERIFY(isShownAndClicked(real, 1));
    QVERIFY(killSessionPanel());
    QTRY_VERIFY_WITH_TIMEOUT(!real.item.isShown() && !findInk(), kPatience);
    QVERIFY(!real.item.geometry());
    const LateTray panel("xfce4-panel --disable-wm-check");
    QTRY_VERIFY_WITH_TIMEOUT(real.notifier.isShown(), kPatience);
    QVERIFY(isShownAndClicked(real, 1));
    // The right button opens a menu of this panel's own for items that have none; it tells the item nothing.
    QCOMPARE(real.clicks, QList<StatusBarItem::MouseButton>(2, StatusBarItem::MouseButton::Left));
    real.item.setImage(QString());
    QTRY_VERIFY_WITH_TIMEOUT(!findInk(), kPatience);
  }

  void aTrayOfX11WindowsShowsTheItemUntilAPanelComes() {
    if (m_tray != QLatin1String("xembed")) QSKIP("for a session with a tray of X11 windows");
    RealItem real;
    QVERIFY(isShownAndClicked(real, 1));
    QVERIFY(real.usesXEmbed);
    QVERIFY(isShownAndClicked(real, 3));
    QCOMPARE(real.clicks[1], StatusBarItem::MouseButton::Right);

    // The tray goes: not shown. A panel comes: shown by it.
    QVERIFY(killSessionPanel());
    QTRY_VERIFY_WITH_TIMEOUT(!real.item.isShown(), kPatience);
    const LateTray panel("xfce4-panel --disable-wm-check");
    QTRY_VERIFY_WITH_TIMEOUT(real.notifier.isShown(), kPatience);
    QVERIFY(real.item.isShown() && waitForInk());
  }

  void withoutATrayTheItemIsNotShownUntilOneComes() {
    if (m_tray != QLatin1String("none")) QSKIP("for a session without a tray");
    RealItem real;
    QTRY_VERIFY_WITH_TIMEOUT(real.usesXEmbed, kPatience);
    QVERIFY(!real.item.isShown() && !real.item.geometry());
    const LateTray tray("trayer --edge top");
    QTRY_VERIFY_WITH_TIMEOUT(real.item.isShown(), kPatience);
    QVERIFY(waitForInk());
  }

  void changesOfTheListOfWindowsAreCounted() {
    if (m_tray != QLatin1String("none")) QSKIP("one kind of session is enough");
    const X11WindowListWatch watch;
    QVERIFY(watch.changes());
    PropertyEvents events;
    const auto anotherPropertyCountsNothing = [&] {
      const std::uint32_t before = *watch.changes();
      const int seen = events.count;
      QProcess::execute(text("xprop"), text("-root -f _OTHER 8s -set _OTHER 1").split(u' '));
      return QTest::qWaitFor([&] { return events.count > seen; }, kPatience) && *watch.changes() == before;
    };
    // The tray of the case before may still be leaving the list.
    QVERIFY(QTest::qWaitFor(anotherPropertyCountsNothing, kPatience));
    QWidget window;
    for (const bool isShown : {true, false}) {
      const std::uint32_t before = *watch.changes();
      window.setVisible(isShown);
      QTRY_VERIFY_WITH_TIMEOUT(*watch.changes() != before, kPatience);
    }
  }

  void aClickOnANotificationComesBackWithItsUserInformation() {
    if (m_tray != QLatin1String("panel")) QSKIP("one kind of session is enough");
    DBusUserNotificationCenter center(QDBusConnection::sessionBus(), {text("Halvard"), {}, {}});
    QList<QVariantMap> clicked;
    connect(&center, &UserNotificationCenter::activated, this,
            [&clicked](const QVariantMap& userInfo, bool) { clicked.append(userInfo); });
    const QVariantMap userInfo{{text("window"), text("panel")}};
    center.deliver({text("Halvard"), text("1.20 GB of RAM <have> been cleaned"), {}, userInfo});
    // The daemon's window is mapped small and in a corner, and then drawn where it is to be.
    const QString script = text(
        "HEIGHT=0; eval $(xdotool search --onlyvisible --class Dunst getwindowgeometry --shell); "
        "[ $HEIGHT -gt 20 ] && xdotool mousemove $((X + 20)) $((Y + 20)) click 1");
    const auto click = [&script] { return QProcess::execute(text("sh"), {text("-c"), script}) == 0; };
    QVERIFY(QTest::qWaitFor(click, kPatience));
    QTRY_COMPARE_WITH_TIMEOUT(clicked, QList<QVariantMap>{userInfo}, kPatience);
  }
};

QTEST_MAIN(TestDesktop)
#include "test_desktop.moc"
