#pragma once

#include <QAbstractNativeEventFilter>
#include <atomic>
#include <cstdint>
#include <memory>

namespace halvard {

/// Counts the changes of the list of windows that the window manager keeps at the root (_NET_CLIENT_LIST), out of what
/// the toolkit is told anyway. Main thread.
class X11WindowListWatch : public QAbstractNativeEventFilter {
 public:
  /// Needs the application object.
  X11WindowListWatch();

  /// A number that is another one after each change; to be read in any thread. Null where nobody tells: on other
  /// platforms than X11.
  std::shared_ptr<const std::atomic<std::uint32_t>> changes() const { return m_changes; }

  bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

 private:
  std::uint32_t m_list = 0;  // the property
  std::shared_ptr<std::atomic<std::uint32_t>> m_changes;
};

}  // namespace halvard
