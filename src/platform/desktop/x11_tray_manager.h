#pragma once

#include <QAbstractNativeEventFilter>
#include <QObject>
#include <cstdint>

struct xcb_connection_t;

namespace halvard {

/// Whether a system tray manager (the owner of the selection _NET_SYSTEM_TRAY_Sn) serves this X screen. On other
/// platforms there is none.
class X11TrayManager : public QObject, public QAbstractNativeEventFilter {
  Q_OBJECT

 public:
  explicit X11TrayManager(QObject* parent = nullptr);
  ~X11TrayManager() override;

  bool isPresent() const { return m_owner != 0; }

  bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;

 Q_SIGNALS:
  /// isPresent() changed, or another manager took over.
  void changed();

 private:
  /// Asks for the owner and listens for its end.
  std::uint32_t watchedOwner() const;
  void update();

  xcb_connection_t* m_connection = nullptr;  // Qt's
  std::uint32_t m_selection = 0;
  std::uint32_t m_managerMessage = 0;
  std::uint32_t m_owner = 0;
};

}  // namespace halvard
