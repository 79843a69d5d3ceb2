// halvard-page-viewer (popup | dialog): the window of one page, driven by the program that starts it.
#include <QApplication>
#include <csignal>

#include "promo/webview/page_viewer.h"
#include "widgets/application_icon.h"

namespace {

/// Nothing resolves, nothing connects, whatever else might fail.
void cutOffNetwork() {
  QByteArray flags = qgetenv("QTWEBENGINE_CHROMIUM_FLAGS");
  flags +=
      " --host-resolver-rules=\"MAP * ~NOTFOUND\" --disable-background-networking --disable-sync"
      " --renderer-process-limit=1 --disable-gpu";
  qputenv("QTWEBENGINE_CHROMIUM_FLAGS", flags.trimmed());
}

}  // namespace

int main(int argc, char** argv) {
  // The program that started this one may be gone at any time.
  std::signal(SIGPIPE, SIG_IGN);
  cutOffNetwork();
  QApplication application(argc, argv);
  QCoreApplication::setApplicationName(QStringLiteral("halvard-page-viewer"));
  QApplication::setDesktopFileName(QStringLiteral("com.tessmar.Halvard"));
  QApplication::setQuitOnLastWindowClosed(false);
  QApplication::setWindowIcon(halvard::applicationIcon());
  using Look = halvard::PageWindow::Look;
  const bool popup = application.arguments().value(1) == QLatin1String("popup");
  const halvard::PageViewer viewer(popup ? Look::Popup : Look::Dialog);
  return application.exec();
}
