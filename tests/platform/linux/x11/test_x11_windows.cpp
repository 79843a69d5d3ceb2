#include <QtTest>
#include <array>
#include <memory>

#include <unistd.h>
#include <xcb/xcb.h>
#include <xcb/xcb_ewmh.h>

#include "platform/linux/x11/x11_windows.h"
#include "support/virtual_display.h"

using namespace halvard;
using test::VirtualDisplay;

namespace {

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
  xcb_window_t open(xcb_atom_t type, bool asksBeforeClosing = false, xcb_atom_t state = 0) {
    const xcb_window_t window = ::xcb_generate_id(m_connection);
    ::xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_ewmh.screens[0]->root, 0, 0, 90, 60, 0,
                        XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, 0, nullptr);
    set(window, XCB_ATOM_WM_CLASS, XCB_ATOM_STRING, QByteArray("inst\0Class\0", 11));
    set(window, atom("_GTK_APPLICATION_ID"), m_ewmh.UTF8_STRING, "org.example.Client");
    if (type) ::xcb_ewmh_set_wm_window_type(&m_ewmh, window, 1, &type);
    if (state) ::xcb_ewmh_set_wm_state(&m_ewmh, window, 1, &state);
    const xcb_atom_t protocol = atom("WM_DELETE_WINDOW");
    if (asksBeforeClosing)
      ::xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, m_ewmh.WM_PROTOCOLS, XCB_ATOM_ATOM, 32, 1,
                            &protocol);
    ::xcb_map_window(m_connection, window);
    ::xcb_flush(m_connection);
    return window;
  }
  void destroy(xcb_window_t window) {
    ::xcb_destroy_window(m_connection, window);
    ::xcb_flush(m_connection);
  }
  xcb_atom_t atom(const char* name) {
    const auto cookie = ::xcb_intern_atom(m_connection, 0, static_cast<std::uint16_t>(qstrlen(name)), name);
    const std::unique_ptr<xcb_intern_atom_reply_t, decltype(&std::free)> reply(
        ::xcb_intern_atom_reply(m_connection, cookie, nullptr), &std::free);
    return reply ? reply->atom : 0;
  }
  // True when a request to close `window` has come.
  bool wasAskedToClose(xcb_window_t window) {
    const xcb_atom_t wanted = atom("WM_DELETE_WINDOW");
    while (xcb_generic_event_t* event = ::xcb_poll_for_event(m_connection)) {
      const auto* message = reinterpret_cast<xcb_client_message_event_t*>(event);
      const bool found = (event->response_type & 0x7f) == XCB_CLIENT_MESSAGE && message->window == window &&
                         message->data.data32[0] == wanted;
      std::free(event);
      if (found) return true;
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
  void set(xcb_window_t window, xcb_atom_t property, xcb_atom_t type, const QByteArray& text) {
    ::xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, window, property, type, 8,
                          static_cast<std::uint32_t>(text.size()), text.constData());
  }
  xcb_connection_t* m_connection;
  xcb_ewmh_connection_t m_ewmh{};
};

}  // namespace

class TestX11Windows : public QObject {
  Q_OBJECT

  std::unique_ptr<VirtualDisplay> m_display;

 private Q_SLOTS:
  void init() {
    m_display = std::make_unique<VirtualDisplay>();
    if (!m_display->isRunning()) QSKIP("Xvfb is not installed");
  }
  void cleanup() { m_display.reset(); }

  void windowsOfApplicationsAreListedWithTheirTruePids() {
    QVERIFY(m_display->startWindowManager());
    Client client(*m_display);
    X11Windows windows(m_display->name());
    QVERIFY(windows.windows().empty());
    const xcb_window_t plain = client.open(0);
    const xcb_window_t dialog = client.open(client.ewmh()._NET_WM_WINDOW_TYPE_DIALOG);
    client.open(client.ewmh()._NET_WM_WINDOW_TYPE_DOCK);
    client.open(client.ewmh()._NET_WM_WINDOW_TYPE_DESKTOP);
    client.open(0, false, client.ewmh()._NET_WM_STATE_SKIP_TASKBAR);
    QProcess* other = m_display->start(QStringLiteral("xterm"), {QStringLiteral("-e"), QStringLiteral("sleep 600")});
    QVERIFY(other);
    QTRY_COMPARE_WITH_TIMEOUT(windows.windows().size(), 3u, 20'000);
    const auto list = windows.windows();
    QCOMPARE(list[0], (ApplicationWindow{plain, ::getpid(), QStringLiteral("inst"), QStringLiteral("Class"),
                                         QStringLiteral("org.example.Client")}));
    QCOMPARE(list[1].id, dialog);
    QCOMPARE(list[2].pid, std::int32_t(other->processId()));
    QCOMPARE(list[2].className, QStringLiteral("XTerm"));
    QCOMPARE(list[2].applicationId, QString());
    client.destroy(plain);
    m_display->end(other);
    QTRY_COMPARE(windows.windows().size(), 1u);
  }

  void rememberedWindowsFollowTheListAtOnceAndTheTaskBarSoon() {
    Client client(*m_display);
    X11Windows windows(m_display->name());
    const xcb_window_t first = client.open(0);
    const xcb_window_t second = client.open(0);
    client.setClientList({first});
    QTRY_COMPARE(windows.rememberedWindows().size(), 1u);
    client.setClientList({first, second});
    client.activeWindow();  // the server has come that far
    QCOMPARE(windows.rememberedWindows().size(), 2u);
    xcb_atom_t hidden = client.ewmh()._NET_WM_STATE_SKIP_TASKBAR;
    ::xcb_ewmh_set_wm_state(&client.ewmh(), first, 1, &hidden);
    client.activeWindow();
    for (int time = 0; time < 3; ++time)
      QCOMPARE(windows.rememberedWindows().size(), 2u);
    QCOMPARE(windows.rememberedWindows().size(), 1u);
  }

  void activatingRaisesTheTopmostWindowOfTheProcess() {
    QVERIFY(m_display->startWindowManager());
    Client client(*m_display);
    X11Windows windows(m_display->name());
    client.open(0);
    QTRY_COMPARE(windows.windows().size(), 1u);
    const xcb_window_t upper = client.open(0);
    QTRY_COMPARE(windows.windows().size(), 2u);
    QVERIFY(m_display->start(QStringLiteral("xterm"), {QStringLiteral("-e"), QStringLiteral("sleep 600")}));
    QTRY_COMPARE_WITH_TIMEOUT(windows.windows().size(), 3u, 20'000);
    QVERIFY(windows.activate(std::array{windows.windows()[2].pid}));
    QTRY_COMPARE(client.activeWindow(), windows.windows()[2].id);
    QVERIFY(windows.activate(std::array{std::int32_t(::getpid()), 99'999'999}));
    QTRY_COMPARE(client.activeWindow(), upper);
    QVERIFY(!windows.activate(std::array{99'999'999}));
  }

  void attentionFollowsTheFocusAndKnowsWhoServesTheDesktop() {
    X11Windows windows(m_display->name());
    Client client(*m_display);
    QVERIFY(windows.attention().hasDisplay && !windows.attention().focused);
    QCOMPARE(windows.attention().servants.size(), 0u);
    // Without a window manager the server itself knows who has the keyboard.
    const xcb_window_t plain = client.open(0);
    client.focus(plain);
    QTRY_COMPARE(windows.attention().focused, std::optional(std::int32_t(::getpid())));
    client.destroy(plain);
    QTRY_VERIFY(!windows.attention().focused);

    QVERIFY(m_display->startWindowManager());
    QCOMPARE(windows.attention().servants.size(), 1u);
    client.becomeTrayHost();
    QTRY_COMPARE(windows.attention().servants.size(), 2u);
    QCOMPARE(windows.attention().servants.back(), std::int32_t(::getpid()));
    QProcess* other = m_display->start(QStringLiteral("xterm"), {QStringLiteral("-e"), QStringLiteral("sleep 600")});
    QVERIFY(other);
    QTRY_COMPARE_WITH_TIMEOUT(windows.attention().focused, std::optional(std::int32_t(other->processId())), 20'000);
    client.open(0);
    QTRY_COMPARE(windows.attention().focused, std::optional(std::int32_t(::getpid())));
    m_display->stop();
    QTRY_VERIFY(!windows.attention().hasDisplay);
    QVERIFY(!windows.attention().focused && windows.attention().servants.empty());
  }

  void closingAsksThroughTheManagerOrTheWindow_data() {
    QTest::addColumn<bool>("managed");
    QTest::newRow("window manager") << true;
    QTest::newRow("none that closes") << false;
  }
  void closingAsksThroughTheManagerOrTheWindow() {
    QFETCH(bool, managed);
    Client client(*m_display);
    X11Windows windows(m_display->name());
    if (managed) {
      QVERIFY(m_display->startWindowManager());
      const xcb_window_t window = client.open(0, true);
      QTRY_COMPARE(windows.windows().size(), 1u);
      QVERIFY(windows.close(std::array{std::int32_t(::getpid())}));
      QVERIFY(QTest::qWaitFor([&] { return client.wasAskedToClose(window); }));
    } else {
      const xcb_window_t asking = client.open(0, true);
      const xcb_window_t deaf = client.open(0);
      client.setClientList({asking, deaf});
      QTRY_COMPARE(windows.windows().size(), 2u);
      QVERIFY(windows.close(std::array{std::int32_t(::getpid())}));
      QVERIFY(QTest::qWaitFor([&] { return client.wasAskedToClose(asking); }));
      client.setClientList({deaf});
      QTRY_COMPARE(windows.windows().size(), 1u);
      QVERIFY(!windows.close(std::array{std::int32_t(::getpid())}));
    }
    QVERIFY(!windows.close(std::array{99'999'999}));
  }

  void withoutADisplayThereAreNoWindows() {
    X11Windows none(":9999");
    QVERIFY(none.windows().empty());
    QVERIFY(!none.activate(std::array{1}) && !none.close(std::array{1}));
    qunsetenv("DISPLAY");
    QVERIFY(X11Windows().windows().empty());
  }

  void lostDisplayIsQuietAndAReturnedOneIsUsedAgain() {
    X11Windows windows(m_display->name());
    auto client = std::make_unique<Client>(*m_display);
    client->setClientList({client->open(0)});
    QTRY_COMPARE(windows.windows().size(), 1u);
    client.reset();
    m_display->stop();
    for (int attempt = 0; attempt < 3; ++attempt) {
      QVERIFY(windows.windows().empty());
      QVERIFY(!windows.activate(std::array{std::int32_t(::getpid())}));
    }
    const QByteArray before = m_display->name();
    m_display = std::make_unique<VirtualDisplay>();
    if (m_display->name() != before) QSKIP("another server has taken the display's number");
    client = std::make_unique<Client>(*m_display);
    client->setClientList({client->open(0)});
    QTRY_COMPARE(windows.windows().size(), 1u);
  }
};

QTEST_GUILESS_MAIN(TestX11Windows)
#include "test_x11_windows.moc"
