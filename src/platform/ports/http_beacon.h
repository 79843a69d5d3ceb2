#pragma once

#include <QByteArray>
#include <QUrl>
#include <chrono>
#include <stop_token>

#include "core/result.h"

namespace halvard {

/// Sends requests whose answers nobody reads.
class HttpBeacon {
 public:
  virtual ~HttpBeacon() = default;

  /// A GET request for `endpoint` (https, without a query) and `query`, which is sent byte for byte. Done as soon as
  /// the server begins to answer. Blocks; any thread but the main one. Ends early, with an error, when `stop` is
  /// requested.
  virtual Result<void> get(const QUrl& endpoint, const QByteArray& query, std::chrono::milliseconds patience,
                           std::stop_token stop = {}) = 0;
};

}  // namespace halvard
