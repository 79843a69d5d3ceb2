#pragma once

#include <QObject>
#include <QPoint>
#include <QSize>
#include <QUrl>
#include <functional>
#include <memory>
#include <optional>

namespace halvard {

/// A window that shows one page and leaves every link to others. Made for one showing. Main thread.
class PageWindow : public QObject {
  Q_OBJECT

 public:
  enum class Look {
    /// Borderless, fades in, and tells when it is no longer the active window.
    Popup,
    /// With a title bar.
    Dialog,
  };
  using Make = std::function<std::unique_ptr<PageWindow>(Look look)>;

  using QObject::QObject;

  /// Shows `page` (nothing: a short text that there is none) at `size`, in logical pixels without the window's frame.
  /// A window that is shown keeps its centre.
  virtual void load(const std::optional<QUrl>& page, QSize size) = 0;
  /// Shows the window with its lower left corner at `corner`, but never beyond the free area of the screen; in the
  /// middle of the screen without one. It becomes the active window.
  virtual void show(const std::optional<QPoint>& corner) = 0;
  virtual void close() = 0;

 Q_SIGNALS:
  /// The user clicked a link that does not stay within the page's folder.
  void linkActivated(const QUrl& url);
  /// A popup is no longer the active window.
  void resignedKey();
  /// The window is gone, whoever closed it. Once.
  void closed();
};

}  // namespace halvard
