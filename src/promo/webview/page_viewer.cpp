#include "promo/webview/page_viewer.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QJsonObject>
#include <array>
#include <cstdio>

#include <unistd.h>

#include "platform/desktop/x11_window_hints.h"

namespace halvard {
namespace {

QString word(const char* text) {
  return QString::fromLatin1(text);
}

}  // namespace

PageViewer::PageViewer(PageWindow::Look look)
    : m_look(look),
      m_page(m_profile, m_guard),
      m_view(new QWebEngineView),
      m_frame(look, m_view),
      m_input(STDIN_FILENO, QSocketNotifier::Read) {
  GuardedPage::restrict(m_profile, m_guard);
  m_view->setPage(&m_page);
  m_view->setContextMenuPolicy(Qt::NoContextMenu);
  connect(&m_input, &QSocketNotifier::activated, this, &PageViewer::readCommands);
  connect(&m_page, &QWebEnginePage::loadFinished, this, [this] {
    m_isLoaded = true;
    showWhenReady();
  });
  connect(&m_page, &GuardedPage::linkActivated, this, [](const QUrl& url) {
    tell({{word("event"), word("link")}, {word("url"), QString::fromLatin1(url.toEncoded())}});
  });
  connect(&m_frame, &PageFrame::resignedKey, this, [] { tell({{word("event"), word("resigned")}}); });
  connect(&m_frame, &PageFrame::closed, this, [] {
    tell({{word("event"), word("closed")}});
    QCoreApplication::quit();
  });
}

PageViewer::~PageViewer() {
  m_view->setPage(nullptr);
}

void PageViewer::readCommands() {
  std::array<char, 4096> buffer{};
  const ssize_t count = ::read(STDIN_FILENO, buffer.data(), buffer.size());
  if (count <= 0) return QCoreApplication::quit();
  m_unread.append(buffer.data(), count);
  for (qsizetype end = m_unread.indexOf('\n'); end >= 0; end = m_unread.indexOf('\n')) {
    const QByteArray line = m_unread.left(end);
    m_unread.remove(0, end + 1);
    handle(QJsonDocument::fromJson(line).object());
  }
}

void PageViewer::handle(const QJsonObject& command) {
  const QString name = command.value(word("command")).toString();
  if (name == QLatin1String("load")) {
    m_isLoaded = false;
    m_frame.setContentSize({command.value(word("width")).toInt(), command.value(word("height")).toInt()});
    m_page.showPage(QUrl::fromEncoded(command.value(word("url")).toString().toLatin1()));
  } else if (name == QLatin1String("show")) {
    m_showing.emplace();
    if (command.contains(word("x"))) {
      m_showing->corner = QPoint(command.value(word("x")).toInt(), command.value(word("y")).toInt());
    }
    showWhenReady();
  } else if (name == QLatin1String("close")) {
    QCoreApplication::quit();
  }
}

void PageViewer::showWhenReady() {
  if (!m_showing || !m_isLoaded || m_frame.isVisible()) return;
  if (m_look == PageWindow::Look::Popup)
    X11WindowHints().setPlace(m_frame.winId(), WindowHints::Desktops::Current, WindowHints::WindowList::Hidden);
  m_frame.present(m_showing->corner);
  tell({{word("event"), word("shown")}});
}

void PageViewer::tell(const QJsonObject& event) {
  const QByteArray line = QJsonDocument(event).toJson(QJsonDocument::Compact) + '\n';
  std::fwrite(line.constData(), 1, static_cast<std::size_t>(line.size()), stdout);
  std::fflush(stdout);
}

}  // namespace halvard
