#include "support/test_web_server.h"

#include <QTcpServer>
#include <QTcpSocket>
#include <QTimer>

namespace halvard {

using Kind = TestWebServer::Answer::Kind;

TestWebServer::TestWebServer() {
  auto* server = new QTcpServer;
  server->listen(QHostAddress::LocalHost);
  m_port = server->serverPort();
  server->moveToThread(&m_thread);
  connect(&m_thread, &QThread::finished, server, &QObject::deleteLater);
  connect(server, &QTcpServer::newConnection, server, [this, server] {
    while (QTcpSocket* socket = server->nextPendingConnection())
      serve(socket);
  });
  m_thread.start();
}

TestWebServer::~TestWebServer() {
  m_thread.quit();
  m_thread.wait();
}

QUrl TestWebServer::url(const QString& path) const {
  return QUrl(QStringLiteral("http://127.0.0.1:%1%2").arg(m_port).arg(path));
}

void TestWebServer::answer(const QString& path, Answer answer) {
  const std::lock_guard lock(m_mutex);
  m_answers[path] = std::move(answer);
}

void TestWebServer::redirect(const QString& path, const QByteArray& target) {
  answer(path, {.body = {}, .status = "302 Found", .headers = "Location: " + target + "\r\n"});
}

QStringList TestWebServer::requests() const {
  const std::lock_guard lock(m_mutex);
  return m_requests;
}

QByteArray TestWebServer::lastRequest() const {
  const std::lock_guard lock(m_mutex);
  return m_lastRequest;
}

void TestWebServer::serve(QTcpSocket* socket) {
  connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
  connect(socket, &QTcpSocket::readyRead, socket, [this, socket] {
    if (!socket->peek(65536).contains("\r\n\r\n")) return;
    const QByteArray request = socket->readAll();
    const QString path = QString::fromUtf8(request.split(' ').value(1));
    const std::lock_guard lock(m_mutex);
    m_requests << path;
    m_lastRequest = request;
    const auto found = m_answers.find(path);
    send(socket, found != m_answers.end() ? found->second : Answer{.body = "nothing here", .status = "404 Not Found"});
  });
}

void TestWebServer::send(QTcpSocket* socket, const Answer& answer) {
  if (answer.kind == Kind::Silent) return;
  QByteArray head = "HTTP/1.1 " + answer.status + "\r\nConnection: close\r\n" + answer.headers;
  if (answer.kind != Kind::Endless) head += "Content-Length: " + QByteArray::number(answer.body.size()) + "\r\n";
  socket->write(head + "\r\n");
  if (answer.kind == Kind::Trickle) {
    auto* timer = new QTimer(socket);
    connect(timer, &QTimer::timeout, socket, [socket, rest = answer.body]() mutable {
      socket->write(rest.left(1));
      rest.remove(0, 1);
      if (rest.isEmpty()) socket->disconnectFromHost();
    });
    return timer->start(50);
  }
  if (answer.kind == Kind::Endless)
    connect(socket, &QTcpSocket::bytesWritten, socket, [socket, body = answer.body] { socket->write(body); });
  socket->write(answer.kind == Kind::Truncated ? answer.body.left(answer.body.size() / 2) : answer.body);
  if (answer.kind != Kind::Endless) socket->disconnectFromHost();
}

}  // namespace halvard
