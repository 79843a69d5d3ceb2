#include <QProcess>
#include <QSslConfiguration>
#include <QSslKey>
#include <QSslServer>
#include <QTcpSocket>
#include <QTemporaryDir>
#include <QtTest>
#include <thread>

#include "platform/linux/network/qt_http_fetcher.h"
#include "platform/linux/network/ssl_beacon.h"
#include "support/test_web_server.h"

using namespace halvard;
using namespace std::chrono_literals;
using Kind = TestWebServer::Answer::Kind;

namespace {

constexpr FetchLimits kLimits{.maximumSize = 1000, .totalTime = 3s, .silence = 1s};

/// On this thread's event loop: answers every request with a redirect to `target`, over TLS.
class TlsRedirector : public QSslServer {
 public:
  TlsRedirector(const QString& folder, const QByteArray& target) {
    const QString key = folder + QStringLiteral("/key.pem");
    const QString certificate = folder + QStringLiteral("/certificate.pem");
    QProcess openssl;
    openssl.start(
        QStringLiteral("openssl"),
        {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"), QStringLiteral("rsa:2048"),
         QStringLiteral("-nodes"), QStringLiteral("-days"), QStringLiteral("2"), QStringLiteral("-subj"),
         QStringLiteral("/CN=localhost"), QStringLiteral("-addext"), QStringLiteral("subjectAltName=IP:127.0.0.1"),
         QStringLiteral("-keyout"), key, QStringLiteral("-out"), certificate});
    openssl.waitForFinished();
    QFile keyFile(key);
    certificates = QSslCertificate::fromPath(certificate);
    if (!keyFile.open(QIODevice::ReadOnly)) return;
    QSslConfiguration configuration;
    configuration.setLocalCertificateChain(certificates);
    configuration.setPrivateKey(QSslKey(&keyFile, QSsl::Rsa));
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

 private:
  TestWebServer m_server;
  QtHttpFetcher m_fetcher{"Halvard/1"};

  /// Runs `request` on a thread of its own while this one serves its events.
  template <class Request>
  static auto aside(Request request) {
    std::optional<std::invoke_result_t<Request>> result;
    std::unique_ptr<QThread> thread(QThread::create([&] { result = request(); }));
    thread->start();
    while (!thread->wait(1)) QCoreApplication::processEvents();
    return *result;
  }

 private Q_SLOTS:
  void theBodyArrivesAndTheRequestSaysNothingAboutTheUser() {
    m_server.answer(QStringLiteral("/page"), {.body = "hello", .headers = "Set-Cookie: id=1\r\n"});
    for (int i = 0; i < 2; ++i) {
      const auto body = m_fetcher.fetch(m_server.url(QStringLiteral("/page")), kLimits, {});
      QVERIFY2(body, body ? "" : qPrintable(body.error().message));
      QCOMPARE(body.value(), QByteArray("hello"));
    }
    const QByteArray request = m_server.lastRequest().toLower();
    QVERIFY(request.contains("user-agent: halvard/1\r\n"));
    for (const char* header : {"cookie:", "referer:", "authorization:"})
      QVERIFY(!request.contains(header));
    m_server.redirect(QStringLiteral("/moved"), "/page");
    QVERIFY(m_fetcher.fetch(m_server.url(QStringLiteral("/moved")), kLimits, {}));
  }

  void whatAServerMustNotDoIsRefused_data() {
    QTest::addColumn<QString>("path");
    m_server.answer(QStringLiteral("/long"), {.body = QByteArray(1001, 'x')});
    m_server.answer(QStringLiteral("/endless"), {.body = QByteArray(64, 'x'), .kind = Kind::Endless});
    m_server.answer(QStringLiteral("/truncated"), {.body = QByteArray(900, 'x'), .kind = Kind::Truncated});
    m_server.answer(QStringLiteral("/silent"), {.body = {}, .kind = Kind::Silent});
    m_server.answer(QStringLiteral("/trickle"), {.body = QByteArray(900, 'x'), .kind = Kind::Trickle});
    m_server.answer(QStringLiteral("/secret"),
                    {.body = "x", .status = "401 Unauthorized", .headers = "WWW-Authenticate: Basic realm=\"x\"\r\n"});
    m_server.redirect(QStringLiteral("/loop"), "/loop");
    m_server.redirect(QStringLiteral("/file"), "file:///etc/passwd");
    m_server.redirect(QStringLiteral("/ftp"), "ftp://127.0.0.1/x");
    m_server.redirect(QStringLiteral("/data"), "data:text/plain,x");
    m_server.redirect(QStringLiteral("/nowhere"), "http://");
    m_server.answer(QStringLiteral("/nonsense"), {.body = "x", .status = "abc"});
    for (const char* path : {"/missing", "/long", "/endless", "/truncated", "/silent", "/trickle", "/secret", "/loop",
                             "/file", "/ftp", "/data", "/nowhere", "/nonsense"}) {
      QTest::newRow(path) << QString::fromLatin1(path);
    }
  }

  void whatAServerMustNotDoIsRefused() {
    QFETCH(QString, path);
    QElapsedTimer timer;
    timer.start();
    const auto body = m_fetcher.fetch(m_server.url(path), kLimits, {});
    QVERIFY(!body);
    QVERIFY(!body.error().message.isEmpty());
    QVERIFY2(timer.elapsed() < 10000, "the limits bound the wait");
  }

  void addressesThatAreNotWebAddressesAreNotAskedFor() {
    for (const char* address : {"file:///etc/passwd", "ftp://127.0.0.1/", "qrc:/x", "http:///x", ""}) {
      QVERIFY2(!m_fetcher.fetch(QUrl(QString::fromLatin1(address)), kLimits, {}), address);
    }
    const QUrl unreachable(QStringLiteral("http://127.0.0.1:1/"));
    QVERIFY(!m_fetcher.fetch(unreachable, kLimits, {}));
    SslBeacon beacon("Halvard/1");
    for (const char* address : {"http://127.0.0.1/collect", "https://127.0.0.1:1/collect", "https:///collect", ""}) {
      QVERIFY2(!beacon.get(QUrl(QString::fromLatin1(address)), "a=b", 3s, {}), address);
    }
  }

  void cancellingEndsAFetchEarly() {
    m_server.answer(QStringLiteral("/silent"), {.body = {}, .kind = Kind::Silent});
    std::stop_source stop;
    const auto asked = m_server.requests().size();
    std::thread canceller([&] {
      while (m_server.requests().size() == asked)
        std::this_thread::yield();
      stop.request_stop();
    });
    const FetchLimits patient{.maximumSize = 1000, .totalTime = 100s, .silence = 100s};
    const auto body = m_fetcher.fetch(m_server.url(QStringLiteral("/silent")), patient, stop.get_token());
    canceller.join();
    QVERIFY(!body);
    QCOMPARE(body.error().message, QStringLiteral("cancelled"));
  }

  void encryptionIsCheckedAndNeverGivenUp() {
    const QTemporaryDir folder;
    m_server.answer(QStringLiteral("/page"), {.body = "hello"});
    TlsRedirector redirector(folder.path(), m_server.url(QStringLiteral("/page")).toEncoded());
    if (!redirector.isListening()) QSKIP("needs the openssl command");
    const QUrl url(QStringLiteral("https://127.0.0.1:%1/").arg(redirector.serverPort()));
    const auto asked = m_server.requests().size();
    const auto fetch = [&] { return m_fetcher.fetch(url, kLimits, {}); };
    const QByteArray query("ul=en%2DUS&a=%20%7e");
    const auto get = [&] {
      return SslBeacon("Halvard/1").get(url.resolved(QUrl(QStringLiteral("/collect"))), query, 3s, {});
    };
    QVERIFY2(!aside(fetch) && !aside(get), "nobody vouches for the certificate");
    QVERIFY(redirector.request.isEmpty());

    const QSslConfiguration before = QSslConfiguration::defaultConfiguration();
    QSslConfiguration trusting = before;
    trusting.addCaCertificates(redirector.certificates);
    QSslConfiguration::setDefaultConfiguration(trusting);
    const auto body = aside(fetch);
    const auto sent = aside(get);
    QSslConfiguration::setDefaultConfiguration(before);
    QVERIFY(!body);
    QVERIFY2(body.error().message.contains(QLatin1String("nsecure")), qPrintable(body.error().message));
    QVERIFY2(sent, sent ? "" : qPrintable(sent.error().message));
    QVERIFY2(redirector.request.startsWith("GET /collect?ul=en%2DUS&a=%20%7e HTTP/1.1\r\nHost: 127.0.0.1:"),
             redirector.request.constData());
    QCOMPARE(m_server.requests().size(), asked);
  }
};

QTEST_GUILESS_MAIN(TestHttpFetcher)
#include "test_http_fetcher.moc"
