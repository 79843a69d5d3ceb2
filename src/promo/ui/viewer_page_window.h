#pragma once

#include <QProcess>
#include <QTimer>

#include "promo/ui/page_window.h"

namespace halvard {

/// A page window that lives in a process of its own, `halvard-page-viewer`, so that nothing of a web engine is ever
/// mapped here and all of it goes when the window closes. Where that program does not come up, a TextPageWindow stands
/// in, unnoticed. Both sides write one JSON object a line: here a "command" (load, show, close), there an "event"
/// (shown, link, resigned, closed).
class ViewerPageWindow : public PageWindow {
  Q_OBJECT

 public:
  /// `program` is the viewer's path.
  ViewerPageWindow(Look look, const QString& program);
  /// Asks the viewer to end and does not wait for it; one that has not after 3 s is killed.
  ~ViewerPageWindow() override;

  void load(const std::optional<QUrl>& page, QSize size) override;
  void show(const std::optional<QPoint>& corner) override;
  void close() override;

  /// True once the other window has taken over.
  bool isStoodInFor() const { return m_standIn != nullptr; }
  /// 0 while it does not run.
  qint64 viewerProcess() const { return m_viewer->processId(); }

 Q_SIGNALS:
  /// The viewer's window stands on the screen.
  void shown();

 private:
  struct Page {
    std::optional<QUrl> url;
    QSize size;
  };
  struct Showing {
    std::optional<QPoint> corner;
  };

  void readEvents();
  void handle(const QJsonObject& event);
  void viewerEnded();
  void standIn();
  void send(const QJsonObject& command);
  void tellClosed();

  const Look m_look;
  QProcess* const m_viewer;
  QTimer m_patience;
  bool m_isUp = false;
  bool m_isClosed = false;
  std::optional<Page> m_page;
  std::optional<Showing> m_showing;
  std::unique_ptr<PageWindow> m_standIn;
};

/// Makes page windows: with the viewer where it is installed beside this program, else in this process.
PageWindow::Make pageWindowMaker();

}  // namespace halvard
