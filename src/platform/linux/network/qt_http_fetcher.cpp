#include "platform/linux/network/qt_http_fetcher.h"

#include <QEventLoop>
#include <QNetworkAccessManager>
#include <QNetworkProxy>
#include <QNetworkReply>
#include <QTimer>

namespace halvard {
namespace {

constexpr int kMaximumRedirects = 5;

class EnvironmentProxies : public QNetworkProxyFactory {
 public:
  QList<QNetworkProxy> queryProxy(const QNetworkProxyQuery& query) override { return systemProxyForQuery(query); }
};

bool isWebAddress(const QUrl& url) {
  const bool web = url.scheme() == QLatin1String("https") || url.scheme() == QLatin1String("http");
  return url.isValid() && web && !url.host().isEmpty();
}

/// One request, on an event loop of its own.
class Exchange {
 public:
  Exchange(QUrl url, const QByteArray& userAgent, const FetchLimits& limits)
      : m_limits(limits), m_request(std::move(url)) {
    m_manager.setProxyFactory(new EnvironmentProxies);
    m_request.setAttribute(QNetworkRequest::RedirectPolicyAttribute, QNetworkRequest::NoLessSafeRedirectPolicy);
    m_request.setMaximumRedirectsAllowed(kMaximumRedirects);
    m_request.setTransferTimeout(static_cast<int>(limits.silence.count()));
    m_request.setRawHeader("User-Agent", userAgent);
    // Without it Qt unpacks the body by itself, and a short one may become endless.
    m_request.setRawHeader("Accept-Encoding", "identity");
    for (const auto attribute :
         {QNetworkRequest::CookieLoadControlAttribute, QNetworkRequest::CookieSaveControlAttribute,
          QNetworkRequest::AuthenticationReuseAttribute}) {
      m_request.setAttribute(attribute, QNetworkRequest::Manual);
    }
  }

  Result<QByteArray> run(const std::stop_token& stop) {
    m_reply.reset(m_manager.get(m_request));
    QObject::connect(m_reply.get(), &QNetworkReply::readyRead, m_reply.get(), [this] { take(); });
    QObject::connect(m_reply.get(), &QNetworkReply::finished, &m_loop, &QEventLoop::quit);
    QTimer::singleShot(m_limits.totalTime, m_reply.get(), [this] { abort(QStringLiteral("took too long")); });
    const std::stop_callback onStop(stop, [this] {
      QMetaObject::invokeMethod(
          m_reply.get(), [this] { abort(QStringLiteral("cancelled")); }, Qt::QueuedConnection);
    });
    if (!m_reply->isFinished()) m_loop.exec();
    take();
    return outcome();
  }

 private:
  void take() {
    if (!m_failure.isEmpty()) return;  // given up, and closed
    m_body += m_reply->readAll();
    if (static_cast<ByteCount>(m_body.size()) > m_limits.maximumSize) abort(QStringLiteral("longer than expected"));
  }

  void abort(const QString& reason) {
    if (m_failure.isEmpty()) m_failure = reason;
    m_body.clear();
    if (m_reply->isRunning()) m_reply->abort();
  }

  Result<QByteArray> outcome() {
    if (!m_failure.isEmpty()) return Error{m_failure};
    if (m_reply->error() != QNetworkReply::NoError) return Error{m_reply->errorString()};
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    if (status < 200 || status > 299) return Error{QStringLiteral("status %1").arg(status)};
    return std::move(m_body);
  }

  const FetchLimits m_limits;
  QNetworkRequest m_request;
  QNetworkAccessManager m_manager;
  QEventLoop m_loop;
  std::unique_ptr<QNetworkReply> m_reply;
  QByteArray m_body;
  QString m_failure;
};

}  // namespace

QtHttpFetcher::QtHttpFetcher(QByteArray userAgent) : m_userAgent(std::move(userAgent)) {}

Result<QByteArray> QtHttpFetcher::fetch(const QUrl& url, const FetchLimits& limits, std::stop_token stop) {
  if (!isWebAddress(url)) return Error{QStringLiteral("not a web address: %1").arg(url.toString())};
  return Exchange(url, m_userAgent, limits).run(stop);
}

}  // namespace halvard
