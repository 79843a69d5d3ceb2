#pragma once

#include <QByteArray>
#include <memory>
#include <vector>

#include <xcb/xcb_ewmh.h>

#include "platform/linux/x11/x11_windows.h"
#include "platform/linux/xcb/xcb_requests.h"

namespace halvard {

/// One connection to an X server with what is remembered about its windows. One thread at a time. Answers that do not
/// come, because the window or the server has gone, are empty.
class X11Windows::Connection {
 public:
  /// Null when there is no such display. One whose server runs elsewhere is kept while it lives, so as not to be tried
  /// again and again.
  static std::unique_ptr<Connection> open(const QByteArray& display);
  ~Connection();

  /// False once the server has gone.
  bool isAlive() const;
  /// True when the server runs on this machine, where this process sees its pid: then the pids that it tells are ours.
  /// Nothing may be asked of another.
  bool isServerHere() const { return m_isServerHere; }

  std::vector<ApplicationWindow> windows();
  /// False when windows() came across one that has passed to another process, and left it out.
  bool hasDescribedAll() const;
  /// All windows of programs, from the bottom to the top.
  std::vector<xcb_window_t> stackingOrder();
  /// 0 when there is none.
  xcb_window_t focusedWindow();
  /// One window each of the window manager, the compositor, the tray host and the input methods. May hold zeros.
  std::vector<xcb_window_t> windowsOfServants();
  /// 0 when the server does not know.
  std::int32_t pidOfWindow(xcb_window_t window);
  void activate(xcb_window_t window);
  /// False when the window cannot be asked.
  bool close(xcb_window_t window);
  /// Sends what was asked for, and reads what came unasked, or that the server has gone.
  void flush();

 private:
  struct Known {  // what never changes about a window of one process
    ApplicationWindow window;
    bool isForApplications = false;
  };
  struct Questions {
    xcb_window_t id = 0;
    unsigned int pid = 0;  // of either kind of question
    xcb_get_property_cookie_t state{};
    xcb_get_property_cookie_t type{};
    xcb_get_property_cookie_t wmClass{};
    xcb_get_property_cookie_t applicationId{};
  };

  Connection(xcb_connection_t* connection, int screen);
  bool initialise();
  xcb_get_property_cookie_t askProperty(xcb_window_t window, xcb_atom_t property, xcb_atom_t type);
  std::vector<std::uint32_t> numbers(xcb_get_property_cookie_t cookie);
  QByteArray text(xcb_get_property_cookie_t cookie);
  xcb_window_t selectionOwner(xcb_atom_t selection);
  unsigned int askPid(xcb_window_t window);
  Questions ask(xcb_window_t window);
  std::int32_t pidOf(unsigned int question);
  Known describe(const Questions& questions, std::int32_t pid);
  bool keepsOutOfTaskBars(const Questions& questions);

  xcb_connection_t* const m_connection;
  const int m_screen;
  xcb_ewmh_connection_t m_ewmh{};
  bool m_isServerHere = false;
  bool m_hasAtoms = false;
  bool m_hasClientIds = false;  // the XRes extension knows true pids
  xcb_window_t m_root = 0;
  xcb_atom_t m_gtkApplicationId = 0;
  xcb_atom_t m_deleteWindow = 0;
  std::vector<Known> m_known;
};

}  // namespace halvard
