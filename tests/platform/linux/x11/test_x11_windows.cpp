#include <QLocalSocket>
#include <QTcpServer>
#include <QTcpSocket>
#include <QtTest>
#include <array>
#include <future>
#include <memory>

#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>

#include "core/clock.h"
#include "platform/linux/reclaim/victim_source.h"
#include "platform/linux/x11/x11_windows.h"
#include "platform/linux/xcb/xcb_requests.h"
#include "support/texts.h"
#include "support/virtual_display.h"

using namespace halvard;
using namespace halvard::test;
using namespace std::chrono_literals;

namespace {

constexpr std::array kNobody{99'999'999};

// The display as ssh -X shows it: an address, behind which what passes is passed on to the server.
class Relay : public QTcpServer {
 public:
  explicit Relay(const VirtualDisplay& display) : m_path(text("/tmp/.X11-unix/X" + display.name().mid(1))) {
    while (m_number < 200 && !listen(QHostAddress::LocalHost, static_cast<quint16>(6000 + m_number)))
      ++m_number;
    connect(this, &QTcpServer::newConnection, this, &Relay::passOn);
  }
  QByteArray name() const { return "127.0.0.1:" + QByteArray::number(m_number); }

 private:
  void passOn() {
    QTcpSocket* client = nextPendingConnection();
    auto* server = new QLocalSocket(client);
    server->connectToServer(m_path);
    connect(client, &QIODevice::readyRead, server, [=] { server->write(client->readAll()); });
    connect(server, &QIODevice::readyRead, client, [=] { client->write(server->readAll()); });
    connect(client, &QTcpSocket::disconnected, client, &QObject::deleteLater);
  }
  const QString m_path;
  int m_number = 50;
};

// A client of the display inside this test program.
class Client {
 public:
  explicit Client(const VirtualDisplay& display) : m_connection(::xcb_connect(display.name().constData(), nullptr)) {
    ::xcb_ewmh_init_atoms_replies(&m_ewmh, ::xcb_ewmh_init_atoms(m_connection, &m_ewmh), nullptr);
  }
  ~Client() {
    ::xcb_ewmh_connection_wipe(&m_ewmh);
    ::xcb_disconnect(m_connection);
  }
  xcb_ewmh_connection_t& ewmh() { return m_ewmh; }

  // Mapped, and managed once the window manager has seen it. `type` 0: none set.
  xcb_window_t open(xcb_atom_t type = 0, bool asksBeforeClosing = false, xcb_atom_t state = 0) {
    const xcb_window_t window = ::xcb_generate_id(m_connection);
    ::xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_ewmh.screens[0]->root, 0, 0, 90, 60, 0,
                        XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    set(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, QByteArray("inst\0Class\0", 11));
    set(window, atom("_GTK_APPLICATION_ID"), m_ewmh.UTF8_STRING, "org.example.Client");
    if (type) ::xcb_ewmh_set_wm_window_type(&m_ewmh, window, 1, &type);
    if (state) ::xcb_ewmh_set_wm_state(&m_ewmh, window, 1, &state);
    const xcb_atom_t protocol = atom("WM_DELETE_WINDOW");
    const QByteArray protocols(reinterpret_cast<const char*>(&protocol), sizeof protocol);
    if (asksBeforeClosing) set(window, m_ewmh.WM_PROTOCOLS, XCB_ATOM_ATOM, protocols, 32);
    ::xcb_map_window(m_connection, window);
    ::xcb_flush(m_connection);
    return window;
  }
  void destroy(xcb_window_t window) {
    ::xcb_destroy_window(m_connection, window);
    ::xcb_flush(m_connection);
  }
  xcb_atom_t atom(const char* name) { return internAtom(m_connection, name); }
  // True when a request to close `window` has come.
  bool wasAskedToClose(xcb_window_t window) {
    const xcb_atom_t wanted = atom("WM_DELETE_WINDOW");
    while (const XcbReply<xcb_generic_event_t> event{::xcb_poll_for_event(m_connection)}) {
      const auto* message = reinterpret_cast<const xcb_client_message_event_t*>(event.get());
      const bool isMessage = (event->response_type & 0x7f) == XCB_CLIENT_MESSAGE;
      if (isMessage && message->window == window && message->data.data32[0] == wanted) return true;
    }
    return false;
  }
  void setClientList(std::vector<xcb_window_t> windows) {
    ::xcb_ewmh_set_client_list(&m_ewmh, 0, static_cast<std::uint32_t>(windows.size()), windows.data());
    ::xcb_flush(m_connection);
  }
  void focus(xcb_window_t window) {
    ::xcb_set_input_focus(m_connection, XCB_INPUT_FOCUS_NONE, window, XCB_CURRENT_TIME);
    ::xcb_flush(m_connection);
  }
  // A tray host owns this selection with a window of its own.
  void becomeTrayHost() {
    ::xcb_set_selection_owner(m_connection, open(m_ewmh._NET_WM_WINDOW_TYPE_DOCK), atom("_NET_SYSTEM_TRAY_S0"),
                              XCB_CURRENT_TIME);
    ::xcb_flush(m_connection);
  }
  xcb_window_t activeWindow() {
    xcb_window_t window = 0;
    ::xcb_ewmh_get_active_window_reply(&m_ewmh, ::xcb_ewmh_get_active_window(&m_ewmh, 0), &window, nullptr);
    return window;
  }

 private:
  void set(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, const QByteArray& value, std::uint8_t bits = 8) {
    ::xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, property, type, bits,
                          static_cast<std::uint32_t>(value.size() * 8 / bits), value.constData());
  }
  xcb_connection_t* m_connection;
  xcb_ewmh_connection_t m_ewmh{};
};

}  // namespace

class TestX11Windows : public QObject {
  Q_OBJECT

  std::unique_ptr<VirtualDisplay> m_display;
  const std::array<std::int32_t, 1> m_self{::getpid()};

  QProcess* startTerminal() { return m_display->start(text("xterm"), texts({"-e", "sleep 600"})); }

 private Q_SLOTS:
  void init() {
    m_display = std::make_unique<VirtualDisplay>();
    if (!m_display->isRunning()) QSKIP("Xvfb is not installed");
  }
  void cleanup() { m_display.reset(); }

  void windowsOfApplicationsAreListedWithTheirTruePidsAndTheTopmostIsRaised() {
    QVERIFY(m_display->startWindowManager());
    Client client(*m_display);
    X11Windows windows(m_display->name());
    QVERIFY(windows.windows().empty());
    const xcb_window_t plain = client.open();
    QTRY_COMPARE(windows.windows().size(), 1u);
    const xcb_window_t dialog = client.open(client.ewmh()._NET_WM_WINDOW_TYPE_DIALOG);
    client.open(client.ewmh()._NET_WM_WINDOW_TYPE_DOCK);
    client.open(client.ewmh()._NET_WM_WINDOW_TYPE_DESKTOP);
    client.open(0, false, client.ewmh()._NET_WM_STATE_SKIP_TASKBAR);
    QTRY_COMPARE(windows.windows().size(), 2u);
    QProcess* other = startTerminal();
    QVERIFY(other);
    QTRY_COMPARE_WITH_TIMEOUT(windows.windows().size(), 3u, 20'000);
    const auto list = windows.windows();
    QCOMPARE(list[0], (ApplicationWindow{plain, m_self[0], text("inst"), text("Class"), text("org.example.Client")}));
    QCOMPARE(list[1].id, dialog);
    QCOMPARE(list[2].pid, std::int32_t(other->processId()));
    QCOMPARE(list[2].className, text("XTerm"));
    QCOMPARE(list[2].applicationId, QString());

    QVERIFY(windows.activate(std::array{list[2].pid}));
    QTRY_COMPARE(client.activeWindow(), list[2].id);
    QVERIFY(windows.activate(std::array{m_self[0], kNobody[0]}));
    QTRY_COMPARE(client.activeWindow(), dialog);
    QVERIFY(!windows.activate(kNobody));

    client.destroy(plain);
    m_display->end(other);
    QTRY_COMPARE(windows.windows().size(), 1u);
  }

  void rememberedWindowsFollowTheListAtOnceAndTheTaskBarSoon() {
    Client client(*m_display);
    const auto changes = std::make_shared<std::atomic<std::uint32_t>>(0);
    X11Windows windows(m_display->name(), changes);
    const xcb_window_t first = client.open();
    const xcb_window_t second = client.open();
    client.setClientList({first});
    QTRY_COMPARE(windows.windows().size(), 1u);
    client.setClientList({first, second});
    client.activeWindow();  // the server has seen it
    QCOMPARE(windows.rememberedWindows().size(), 1u);
    ++*changes;
    QCOMPARE(windows.rememberedWindows().size(), 2u);
    xcb_atom_t hidden = client.ewmh()._NET_WM_STATE_SKIP_TASKBAR;
    ::xcb_ewmh_set_wm_state(&client.ewmh(), first, 1, &hidden);
    client.activeWindow();
    for (int time = 0; time < 7; ++time)
      QCOMPARE(windows.rememberedWindows().size(), 2u);
    QCOMPARE(windows.rememberedWindows().size(), 1u);
    client.setClientList({});
    client.activeWindow();
    QVERIFY2(X11Windows(m_display->name()).rememberedWindows().empty(), "nobody tells of changes");
  }

  void attentionFollowsTheFocusAndKnowsWhoServesTheDesktop() {
    X11Windows windows(m_display->name());
    Client client(*m_display);
    const DesktopAttention nobody = windows.attention();
    QVERIFY(nobody.hasDisplay && !nobody.focused && nobody.servants.empty());
    // Without a window manager the server itself knows who has the keyboard.
    const xcb_window_t plain = client.open();
    client.focus(plain);
    QTRY_COMPARE(windows.attention().focused, m_self[0]);
    client.destroy(plain);
    QTRY_VERIFY(!windows.attention().focused);

    QVERIFY(m_display->startWindowManager());
    QCOMPARE(windows.attention().servants.size(), 1u);
    client.becomeTrayHost();
    QTRY_COMPARE(windows.attention().servants.size(), 2u);
    QCOMPARE(windows.attention().servants.back(), m_self[0]);
    QProcess* other = startTerminal();
    QVERIFY(other);
    QTRY_COMPARE_WITH_TIMEOUT(windows.attention().focused, std::int32_t(other->processId()), 20'000);
    client.open();
    QTRY_COMPARE(windows.attention().focused, m_self[0]);
    // Where Wayland has windows of its own, a servant that has the focus of X stands for any of them.
    SystemClock clock;
    LinuxVictimSource victims(
        clock, [] { return QStringList(); }, m_display->name());
    QCOMPARE(victims.focusedProcess(), m_self[0]);
    qputenv("WAYLAND_DISPLAY", "wayland-0");
    QVERIFY(!victims.focusedProcess());
    qunsetenv("WAYLAND_DISPLAY");
    m_display->stop();
    QTRY_VERIFY(!windows.attention().hasDisplay);
    QVERIFY(!windows.attention().focused && windows.attention().servants.empty());
  }

  void displayOfAnotherMachineHasNoWindowsHere() {
    Client client(*m_display);
    const xcb_window_t window = client.open();
    client.setClientList({window});
    client.focus(window);
    auto relay = std::make_unique<Relay>(*m_display);
    QVERIFY(relay->isListening());
    auto isReached = std::async(std::launch::async, [name = relay->name()] {
      xcb_connection_t* const connection = ::xcb_connect(name.constData(), nullptr);
      const auto disconnect = qScopeGuard([connection] { ::xcb_disconnect(connection); });
      return ::xcb_connection_has_error(connection) == 0;
    });
    X11Windows windows(relay->name());
    auto seen = std::async(std::launch::async, [&windows, self = m_self] {
      const DesktopAttention attention = windows.attention();
      return !windows.windows().empty() || attention.hasDisplay || attention.focused || windows.close(self);
    });
    const auto isDone = [](const auto& future) { return future.wait_for(0s) == std::future_status::ready; };
    QTRY_VERIFY(isDone(isReached) && isDone(seen));
    QVERIFY(isReached.get() && !seen.get());
    // Once it has gone, the next server of that name is asked.
    relay.reset();
    relay = std::make_unique<Relay>(*m_display);
    QSignalSpy asked(relay.get(), &QTcpServer::newConnection);
    seen = std::async(std::launch::async, [&windows] { return windows.attention().hasDisplay; });
    QTRY_VERIFY(isDone(seen) && asked.size() == 1);
    QTRY_COMPARE(X11Windows(m_display->name()).windows().size(), 1u);
  }

  void closingAsksTheWindowOrTheManager() {
    Client client(*m_display);
    X11Windows windows(m_display->name());
    const xcb_window_t asking = client.open(0, true);
    const xcb_window_t deaf = client.open();
    client.setClientList({asking, deaf});
    QTRY_COMPARE(windows.windows().size(), 2u);
    QVERIFY(windows.close(m_self));
    QVERIFY(QTest::qWaitFor([&] { return client.wasAskedToClose(asking); }));
    client.setClientList({deaf});
    QTRY_COMPARE(windows.windows().size(), 1u);
    QVERIFY(!windows.close(m_self));

    client.destroy(deaf);
    QVERIFY(m_display->startWindowManager());
    QTRY_COMPARE(windows.windows().size(), 1u);
    QVERIFY(windows.close(m_self));
    QVERIFY(QTest::qWaitFor([&] { return client.wasAskedToClose(asking); }));
    QVERIFY(!windows.close(kNobody));
  }

  void lostDisplayIsQuiet() {
    X11Windows windows(m_display->name());
    Client client(*m_display);
    client.setClientList({client.open()});
    QTRY_COMPARE(windows.windows().size(), 1u);
    m_display->stop();
    for (int attempt = 0; attempt < 3; ++attempt)
      QVERIFY(windows.windows().empty() && !windows.activate(m_self) && !windows.close(m_self));
    qunsetenv("DISPLAY");
    QVERIFY(X11Windows().windows().empty());
  }
};

QTEST_GUILESS_MAIN(TestX11Windows)
#include "test_x11_windows.moc"
