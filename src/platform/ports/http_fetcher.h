#pragma once

#include <QByteArray>
#include <QUrl>
#include <chrono>
#include <stop_token>

#include "core/result.h"
#include "core/units.h"

namespace halvard {

struct FetchLimits {
  /// A longer body is refused, also when the server does not announce its length.
  ByteCount maximumSize = 1024 * 1024;
  /// For the whole request, redirects included.
  std::chrono::milliseconds totalTime = std::chrono::seconds(60);
  /// The longest silence of the server.
  std::chrono::milliseconds silence = std::chrono::seconds(20);
};

/// Reads from web servers. http and https only, also where a redirect leads; never from https to http. At most five
/// redirects. Sends no cookies, no credentials and no referrer, and keeps nothing.
class HttpFetcher {
 public:
  virtual ~HttpFetcher() = default;

  /// The body of a successful (2xx) answer to a GET request. Blocks; any thread but the main one. Ends early, with an
  /// error, when `stop` is requested.
  virtual Result<QByteArray> fetch(const QUrl& url, const FetchLimits& limits, std::stop_token stop = {}) = 0;
};

}  // namespace halvard
