#pragma once

#include <QByteArrayList>
#include <mutex>

#include "platform/ports/http_beacon.h"

namespace halvard {

/// Remembers the addresses asked for, queries included, as bytes. Thread safe.
class FakeHttpBeacon : public HttpBeacon {
 public:
  Result<void> get(const QUrl& endpoint, const QByteArray& query, std::chrono::milliseconds, std::stop_token) override {
    const std::lock_guard lock(m_mutex);
    m_requests << endpoint.toEncoded() + '?' + query;
    return {};
  }
  QByteArrayList requests() const {
    const std::lock_guard lock(m_mutex);
    return m_requests;
  }

 private:
  mutable std::mutex m_mutex;
  QByteArrayList m_requests;
};

}  // namespace halvard
