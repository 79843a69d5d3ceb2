#include "promo/ui/viewer_page_window.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QJsonDocument>
#include <QJsonObject>
#include <chrono>

#include "promo/ui/text_page_window.h"

namespace halvard {
namespace {

using namespace std::chrono_literals;

/// To load the engine and the page, on a slow disk.
constexpr auto kTimeToComeUp = 20s;
constexpr auto kTimeToEnd = 3s;

}  // namespace

ViewerPageWindow::ViewerPageWindow(Look look, const QString& program)
    : m_look(look), m_viewer(new QProcess(QCoreApplication::instance())) {
  m_viewer->setProgram(program);
  m_viewer->setArguments({look == Look::Popup ? QStringLiteral("popup") : QStringLiteral("dialog")});
  m_viewer->setStandardErrorFile(QProcess::nullDevice());
  connect(m_viewer, &QProcess::readyReadStandardOutput, this, &ViewerPageWindow::readEvents);
  connect(m_viewer, &QProcess::errorOccurred, this, &ViewerPageWindow::viewerEnded);
  connect(m_viewer, &QProcess::finished, this, &ViewerPageWindow::viewerEnded);
  // With the application everything ends at once.
  connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, m_viewer, [viewer = m_viewer] {
    viewer->disconnect();
    viewer->kill();
    viewer->waitForFinished();
  });
  m_patience.setSingleShot(true);
  connect(&m_patience, &QTimer::timeout, m_viewer, &QProcess::kill);
  m_patience.start(kTimeToComeUp);
  m_viewer->start();
}

ViewerPageWindow::~ViewerPageWindow() {
  m_viewer->disconnect(this);
  if (m_viewer->state() == QProcess::NotRunning) {
    m_viewer->deleteLater();
    return;
  }
  // It outlives this object, and at most the application: the end of its input ends it.
  connect(m_viewer, &QProcess::finished, m_viewer, &QObject::deleteLater);
  QTimer::singleShot(kTimeToEnd, m_viewer, &QProcess::kill);
  m_viewer->closeWriteChannel();
}

void ViewerPageWindow::load(const std::optional<QUrl>& page, QSize size) {
  m_page = Page{page, size};
  if (m_standIn) return m_standIn->load(page, size);
  send({{QStringLiteral("command"), QStringLiteral("load")},
        {QStringLiteral("url"), QString::fromLatin1(page.value_or(QUrl()).toEncoded())},
        {QStringLiteral("width"), size.width()},
        {QStringLiteral("height"), size.height()}});
}

void ViewerPageWindow::show(const std::optional<QPoint>& corner) {
  m_showing = Showing{corner};
  if (m_standIn) return m_standIn->show(corner);
  QJsonObject command{{QStringLiteral("command"), QStringLiteral("show")}};
  if (corner) {
    command.insert(QStringLiteral("x"), corner->x());
    command.insert(QStringLiteral("y"), corner->y());
  }
  send(command);
}

void ViewerPageWindow::close() {
  if (m_standIn) return m_standIn->close();
  // One that has not come up need not: the window is closed as far as anybody can see.
  send({{QStringLiteral("command"), QStringLiteral("close")}});
  tellClosed();
}

void ViewerPageWindow::send(const QJsonObject& command) {
  m_viewer->write(QJsonDocument(command).toJson(QJsonDocument::Compact) + '\n');
}

void ViewerPageWindow::readEvents() {
  while (m_viewer->canReadLine())
    handle(QJsonDocument::fromJson(m_viewer->readLine()).object());
}

void ViewerPageWindow::handle(const QJsonObject& event) {
  const QString name = event.value(QStringLiteral("event")).toString();
  if (m_isClosed) return;
  if (name == QLatin1String("shown")) {
    m_isUp = true;
    m_patience.stop();
    Q_EMIT shown();
  } else if (name == QLatin1String("link")) {
    Q_EMIT linkActivated(QUrl::fromEncoded(event.value(QStringLiteral("url")).toString().toLatin1()));
  } else if (name == QLatin1String("resigned")) {
    Q_EMIT resignedKey();
  } else if (name == QLatin1String("closed")) {
    tellClosed();
  }
}

void ViewerPageWindow::viewerEnded() {
  if (m_viewer->state() != QProcess::NotRunning) return;
  m_patience.stop();
  if (m_isUp || m_isClosed) return tellClosed();
  standIn();
}

void ViewerPageWindow::standIn() {
  if (m_standIn) return;
  m_standIn = std::make_unique<TextPageWindow>(m_look);
  connect(m_standIn.get(), &PageWindow::linkActivated, this, &PageWindow::linkActivated);
  connect(m_standIn.get(), &PageWindow::resignedKey, this, &PageWindow::resignedKey);
  connect(m_standIn.get(), &PageWindow::closed, this, &ViewerPageWindow::tellClosed);
  if (m_page) m_standIn->load(m_page->url, m_page->size);
  if (m_showing) m_standIn->show(m_showing->corner);
}

void ViewerPageWindow::tellClosed() {
  if (m_isClosed) return;
  m_isClosed = true;
  m_patience.stop();
  Q_EMIT closed();
}

PageWindow::Make pageWindowMaker() {
  return [](PageWindow::Look look) -> std::unique_ptr<PageWindow> {
    const QString viewer = QCoreApplication::applicationDirPath() + QStringLiteral("/halvard-page-viewer");
    if (QFileInfo(viewer).isExecutable()) return std::make_unique<ViewerPageWindow>(look, viewer);
    return std::make_unique<TextPageWindow>(look);
  };
}

}  // namespace halvard
