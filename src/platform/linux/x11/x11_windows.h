#pragma once

#include <QString>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <vector>

namespace halvard {

/// A window that stands for an application: no panel, desktop, notification, nor one that keeps out of task bars.
struct ApplicationWindow {
  std::uint32_t id = 0;
  /// The process at the other end of the window's connection, as the X server knows it.
  std::int32_t pid = 0;
  /// The two halves of WM_CLASS; "xterm" and "XTerm".
  QString instance;
  QString className;
  /// Id of the desktop entry where the toolkit tells, without ".desktop".
  QString applicationId;
  bool operator==(const ApplicationWindow&) const = default;
};

/// What somebody at an X11 display looks at, and which programs keep the desktop going. Pids as the X server knows
/// them.
struct DesktopAttention {
  /// False when no X server of this machine answers: then nothing else is known.
  bool hasDisplay = false;
  /// The process of the window that has the focus; nothing when no window of a program has it.
  std::optional<std::int32_t> focused;
  /// Window manager, compositor, tray hosts and input methods.
  std::vector<std::int32_t> servants;
};

/// The windows of an X11 display. Without a display, or once it is gone, there are none; a display that comes back is
/// used again. One on another machine (ssh -X) is as good as none: the pids that it knows are not those of this
/// machine. Any thread.
class X11Windows {
 public:
  /// A number that is another one whenever the list of windows may have changed.
  using ListChanges = std::shared_ptr<const std::atomic<std::uint32_t>>;

  /// Connects when first asked. Empty: the display of the environment, or none.
  explicit X11Windows(QByteArray display = {}, ListChanges changes = {});
  ~X11Windows();

  /// The windows in the order in which they were opened. Asks the server.
  std::vector<ApplicationWindow> windows();

  /// As windows(), but of before, without a word to the server, while the list of windows has not changed: for who asks
  /// again and again while no process came or went. Every eighth time all is asked, because windows may join or leave
  /// the task bars. The same as windows() where nobody tells of changes.
  std::vector<ApplicationWindow> rememberedWindows();

  /// Asks the server.
  DesktopAttention attention();

  /// Brings the topmost window of these processes to the front. False when they have none.
  bool activate(std::span<const std::int32_t> pids);

  /// Asks every window of these processes to close; the application may ask about unsaved work. False when they have
  /// none, or none that can be asked.
  bool close(std::span<const std::int32_t> pids);

 private:
  class Connection;
  Connection* connection();
  std::vector<ApplicationWindow> ask();
  static constexpr int kRememberedTimes = 7;

  const QByteArray m_display;
  const ListChanges m_changes;
  std::mutex m_mutex;  // guards what follows
  std::unique_ptr<Connection> m_connection;
  std::vector<ApplicationWindow> m_remembered;
  std::uint32_t m_rememberedAt = 0;  // of m_changes
  int m_timesLeft = 0;
};

}  // namespace halvard
