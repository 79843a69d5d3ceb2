#pragma once

#include <QByteArray>

#include "platform/ports/http_fetcher.h"

namespace halvard {

/// QtNetwork behind the port. Proxies are those of the environment. Thread safe: nothing is shared between requests.
class QtHttpFetcher : public HttpFetcher {
 public:
  /// `userAgent` like "Halvard/1.2"; it says nothing about the user or the machine.
  explicit QtHttpFetcher(QByteArray userAgent);
  Result<QByteArray> fetch(const QUrl& url, const FetchLimits& limits, std::stop_token stop) override;

 private:
  const QByteArray m_userAgent;
};

}  // namespace halvard
