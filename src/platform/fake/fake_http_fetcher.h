#pragma once

#include <QMap>
#include <mutex>

#include "platform/ports/http_fetcher.h"

namespace halvard {

/// Answers at once with what it was given for an address, and remembers what it was asked for. Thread safe.
class FakeHttpFetcher : public HttpFetcher {
 public:
  Result<QByteArray> fetch(const QUrl& url, const FetchLimits&, std::stop_token) override {
    const std::lock_guard lock(m_mutex);
    m_requests << url;
    if (!m_bodies.contains(url)) return Error{QStringLiteral("nothing there")};
    return m_bodies.value(url);
  }
  void answer(const QUrl& url, const QByteArray& body) {
    const std::lock_guard lock(m_mutex);
    m_bodies[url] = body;
  }
  QList<QUrl> requests() const {
    const std::lock_guard lock(m_mutex);
    return m_requests;
  }

 private:
  mutable std::mutex m_mutex;
  QMap<QUrl, QByteArray> m_bodies;
  QList<QUrl> m_requests;
};

}  // namespace halvard
