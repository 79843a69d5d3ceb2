#pragma once

#include "platform/ports/http_beacon.h"

namespace halvard {

/// A TLS socket behind the port. QNetworkAccessManager would rewrite the query: to it "%2D" and "-" are the same.
/// Thread safe: nothing is shared between requests.
class SslBeacon : public HttpBeacon {
 public:
  explicit SslBeacon(QByteArray userAgent);
  Result<void> get(const QUrl& endpoint, const QByteArray& query, std::chrono::milliseconds patience,
                   std::stop_token stop) override;

 private:
  const QByteArray m_userAgent;
};

}  // namespace halvard
