#pragma once

#include <QByteArray>
#include <QSocketNotifier>
#include <QWebEngineProfile>
#include <QWebEngineView>
#include <optional>

#include "promo/ui/page_frame.h"
#include "promo/webview/guarded_page.h"

namespace halvard {

/// The viewer's side of ViewerPageWindow: commands come on standard input, events go to standard output. Quits when the
/// window closes or the input ends.
class PageViewer : public QObject {
  Q_OBJECT

 public:
  explicit PageViewer(PageWindow::Look look);
  ~PageViewer() override;

 private:
  struct Showing {
    std::optional<QPoint> corner;
  };

  void readCommands();
  void handle(const QJsonObject& command);
  void showWhenReady();
  static void tell(const QJsonObject& event);

  const PageWindow::Look m_look;
  // The page goes before its profile, and the view before the page.
  QWebEngineProfile m_profile;
  FolderGuard m_guard;
  GuardedPage m_page;
  QWebEngineView* const m_view;
  PageFrame m_frame;
  QSocketNotifier m_input;
  QByteArray m_unread;
  std::optional<Showing> m_showing;
  bool m_isLoaded = false;
};

}  // namespace halvard
