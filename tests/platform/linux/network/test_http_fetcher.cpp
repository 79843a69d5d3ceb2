#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QtTest>
#include <future>
#include <thread>

#include "platform/linux/network/qt_http_fetcher.h"
#include "platform/linux/network/ssl_beacon.h"
#include "support/test_web_server.h"
#include "support/texts.h"

using namespace halvard;
using namespace std::chrono_literals;
using Kind = TestWebServer::Answer::Kind;

namespace {

constexpr FetchLimits kLimits{.maximumSize = 1000, .totalTime = 3s, .silence = 1s};

/// On this thread's event loop: answers every request with a redirect to `target`, over TLS.
class TlsRedirector : public QSslServer {
 public:
  TlsRedirector(const QString& folder, const QByteArray& target) {
    QProcess openssl;
    openssl.setWorkingDirectory(folder);
    openssl.startCommand(
        text("openssl req -x509 -newkey rsa:2048 -nodes -days 2 -subj /CN=localhost "
             "-addext subjectAltName=IP:127.0.0.1 -keyout key.pem -out certificate.pem"));
    openssl.waitForFinished();
    QFile key(folder + text("/key.pem"));
    certificates = QSslCertificate::fromPath(folder + text("/certificate.pem"));
    if (!key.open(QIODevice::ReadOnly)) return;
    QSslConfiguration configuration;
    configuration.setLocalCertificateChain(certificates);
    configuration.setPrivateKey(QSslKey(&key, QSsl::Rsa));
    setSslConfiguration(configuration);
    connect(this, &QTcpServer::pendingConnectionAvailable, this, [this, target] {
      QTcpSocket* socket = nextPendingConnection();
      connect(socket, &QTcpSocket::readyRead, socket, [this, socket, target] {
        if (!socket->peek(65536).contains("\r\n\r\n")) return;
        request = socket->readAll();
        socket->write("HTTP/1.1 302 Found\r\nContent-Length: 0\r\nConnection: close\r\nLocation: " + target +
                      "\r\n\r\n");
        socket->disconnectFromHost();
      });
    });
    listen(QHostAddress::LocalHost);
  }
  QList<QSslCertificate> certificates;
  QByteArray request;
};

}  // namespace

class TestHttpFetcher : public QObject {
  Q_OBJECT

  TestWebServer m_server;
  QtHttpFetcher m_fetcher{"Halvard/1"};

  /// Runs `request` on a thread of its own while this one serves its events.
  template <class Request>
  static auto aside(Request request) {
    auto result = std::async(std::launch::async, request);
    while (result.wait_for(1ms) != std::future_status::ready)
      QCoreApplication::processEvents();
    return result.get();
  }

 private Q_SLOTS:
  void theBodyArrivesAndTheRequestSaysNothingAboutTheUser() {
    m_server.answer(text("/page"), {.body = "hello", .headers = "Set-Cookie: id=1\r\n"});
    m_server.redirect(text("/moved"), "/page");
    for (const char* path : {"/page", "/moved"}) {
      const auto body = m_fetcher.fetch(m_server.url(text(path)), kLimits, {});
      QVERIFY2(body, body ? "" : qPrintable(body.error().message));
      QCOMPARE(body.value(), QByteArray("hello"));
    }
    const QByteArray request = m_server.lastRequest().toLower();
    QVERIFY(request.contains("user-agent: halvard/1\r\n"));
    for (const char* header : {"cookie:", "referer:", "authorization:"})
      QVERIFY(!request.contains(header));
  }

  void whatAServerMustNotDoIsRefused_data() {
    QTest::addColumn<QString>("path");
    QTest::newRow("missing") << text("/missing");
    const auto row = [this](const char* path, const TestWebServer::Answer& answer) {
      m_server.answer(text(path), answer);
      QTest::newRow(path) << text(path);
    };
    row("/long", {.body = QByteArray(1001, 'x')});
    row("/endless", {.body = QByteArray(64, 'x'), .kind = Kind::Endless});
    row("/truncated", {.body = QByteArray(900, 'x'), .kind = Kind::Truncated});
    row("/silent", {.body = {}, .kind = Kind::Silent});
    row("/trickle", {.body = QByteArray(900, 'x'), .kind = Kind::Trickle});
    row("/secret", {.body = "x", .status = "401 Unauthorized", .headers = "WWW-Authenticate: Basic realm=\"x\"\r\n"});
    row("/nonsense", {.body = "x", .status = "abc"});
    // Each at the last part of its target, so that the first leads to itself.
    for (const char* target : {"/loop", "file:///etc/passwd", "ftp://127.0.0.1/x", "data:text/plain,x", "http://"}) {
      const QString path = u'/' + text(target).section(u'/', -1);
      m_server.redirect(path, target);
      QTest::newRow(target) << path;
    }
  }
  void whatAServerMustNotDoIsRefused() {
    QFETCH(QString, path);
    QElapsedTimer timer;
    timer.start();
    const auto body = m_fetcher.fetch(m_server.url(path), kLimits, {});
    QVERIFY(!body && !body.error().message.isEmpty());
    QVERIFY2(timer.elapsed() < 10000, "the limits bound the wait");
  }

  void addressesThatAreNotWebAddressesAreNotAskedFor() {
    for (const char* address :
         {"file:///etc/passwd", "ftp://127.0.0.1/", "qrc:/x", "http:///x", "", "http://127.0.0.1:1/"})
      QVERIFY2(!m_fetcher.fetch(QUrl(text(address)), kLimits, {}), address);
    SslBeacon beacon("Halvard/1");
    for (const char* address : {"http://127.0.0.1/collect", "https://127.0.0.1:1/collect", "https:///collect", ""})
      QVERIFY2(!beacon.get(QUrl(text(address)), "a=b", 3s, {}), address);
  }

  void cancellingEndsAFetchEarly() {
    m_server.answer(text("/silent"), {.body = {}, .kind = Kind::Silent});
    std::stop_source stop;
    const auto asked = m_server.requests().size();
    const std::jthread canceller([&] {
      while (m_server.requests().size() == asked)
        std::this_thread::yield();
      stop.request_stop();
    });
    const FetchLimits patient{.maximumSize = 1000, .totalTime = 100s, .silence = 100s};
    const auto body = m_fetcher.fetch(m_server.url(text("/silent")), patient, stop.get_token());
    QVERIFY(!body && body.error().message == text("cancelled"));
  }

  void encryptionIsCheckedAndNeverGivenUp() {
    const QTemporaryDir folder;
    m_server.answer(text("/page"), {.body = "hello"});
    TlsRedirector redirector(folder.path(), m_server.url(text("/page")).toEncoded());
    if (!redirector.isListening()) QSKIP("needs the openssl command");
    const QUrl url(QStringLiteral("https://127.0.0.1:%1/collect").arg(redirector.serverPort()));
    const auto asked = m_server.requests().size();
    const auto fetch = [&] { return m_fetcher.fetch(url, kLimits, {}); };
    const auto get = [&] { return SslBeacon("Halvard/1").get(url, "ul=en%2DUS&a=%20%7e", 3s, {}); };
    QVERIFY2(!aside(fetch) && !aside(get), "nobody vouches for the certificate");
    QVERIFY(redirector.request.isEmpty());

    const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
    QSslConfiguration trusting = before;
    trusting.addCaCertificates(redirector.certificates);
    QSslConfiguration::setDefaultConfiguration(trusting);
    const auto body = aside(fetch);
    const auto sent = aside(get);
    QSslConfiguration::setDefaultConfiguration(before);
    QVERIFY(!body && body.error().message.contains(text("nsecure")));
    QVERIFY2(sent, sent ? "" : qPrintable(sent.error().message));
    QVERIFY2(redirector.request.startsWith("GET /collect?ul=en%2DUS&a=%20%7e HTTP/1.1\r\nHost: 127.0.0.1:"),
             redirector.request.constData());
    QCOMPARE(m_server.requests().size(), asked);
  }
};

QTEST_GUILESS_MAIN(TestHttpFetcher)
#include "test_http_fetcher.moc"
