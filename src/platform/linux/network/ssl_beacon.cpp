#include "platform/linux/network/ssl_beacon.h"

#include <QEventLoop>
#include <QNetworkProxy>
#include <QSslSocket>
#include <QTimer>

namespace halvard {
namespace {

constexpr int kHttpsPort = 443;

bool isBareHttps(const QUrl& url) {
  return url.isValid() && url.scheme() == QLatin1String("https") && !url.host().isEmpty() && !url.hasQuery();
}

QByteArray requestFor(const QUrl& endpoint, const QByteArray& query, const QByteArray& userAgent) {
  QByteArray host = endpoint.host(QUrl::FullyEncoded).toLatin1();
  if (endpoint.port() > 0) host += ':' + QByteArray::number(endpoint.port());
  return "GET " + endpoint.path(QUrl::FullyEncoded).toLatin1() + '?' + query + " HTTP/1.1\r\nHost: " + host +
         "\r\nUser-Agent: " + userAgent + "\r\nAccept: */*\r\nConnection: close\r\n\r\n";
}

/// One of the environment's proxies, as the port may be asked from any thread.
QNetworkProxy proxyFor(const QUrl& endpoint) {
  return QNetworkProxyFactory::systemProxyForQuery(QNetworkProxyQuery(endpoint)).value(0, QNetworkProxy::NoProxy);
}

}  // namespace

SslBeacon::SslBeacon(QByteArray userAgent) : m_userAgent(std::move(userAgent)) {}

Result<void> SslBeacon::get(const QUrl& endpoint, const QByteArray& query, std::chrono::milliseconds patience,
                            std::stop_token stop) {
  if (!isBareHttps(endpoint)) return Error{QStringLiteral("not a https address")};
  QSslSocket socket;
  QEventLoop loop;
  socket.setProxy(proxyFor(endpoint));
  QObject::connect(&socket, &QSslSocket::encrypted, &socket,
                   [&] { socket.write(requestFor(endpoint, query, m_userAgent)); });
  QObject::connect(&socket, &QSslSocket::readyRead, &loop, &QEventLoop::quit);
  QObject::connect(&socket, &QSslSocket::disconnected, &loop, &QEventLoop::quit);
  QObject::connect(&socket, &QSslSocket::errorOccurred, &loop, &QEventLoop::quit);
  QTimer::singleShot(patience, &loop, &QEventLoop::quit);
  const std::stop_callback onStop(stop,
                                  [&] { QMetaObject::invokeMethod(&loop, &QEventLoop::quit, Qt::QueuedConnection); });
  socket.connectToHostEncrypted(endpoint.host(), static_cast<quint16>(endpoint.port(kHttpsPort)));
  // An error that is told inside the call finds no loop to quit.
  if (socket.state() != QAbstractSocket::UnconnectedState) loop.exec();
  if (socket.bytesAvailable() > 0) return {};
  return Error{stop.stop_requested() ? QStringLiteral("cancelled") : socket.errorString()};
}

}  // namespace halvard
