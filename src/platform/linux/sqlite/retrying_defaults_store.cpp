#include "platform/linux/sqlite/retrying_defaults_store.h"

#include <algorithm>
#include <utility>

namespace halvard {

using namespace std::chrono_literals;

namespace {

constexpr std::chrono::milliseconds kPatience = 200ms;
constexpr std::chrono::milliseconds kFirstDelay = 2s;
constexpr std::chrono::milliseconds kLongestDelay = 5min;

}  // namespace

RetryingDefaultsStore::RetryingDefaultsStore(Clock& clock, const QString& path, const QString& domain, Report report)
    : SqliteDefaultsStore(path, domain, std::move(report)), m_retry(clock), m_delay(kFirstDelay) {
  setPatience(kPatience);
  tellOfUnwritten([this] { QMetaObject::invokeMethod(&m_home, [this] { tryLater(); }); });
}

bool RetryingDefaultsStore::synchronize() {
  setPatience(m_hasFailed ? 0ms : kPatience);
  const bool isWritten = SqliteDefaultsStore::synchronize();
  m_hasFailed = !isWritten;
  if (!isWritten) QMetaObject::invokeMethod(&m_home, [this] { tryLater(); });
  return isWritten;
}

void RetryingDefaultsStore::tryLater() {
  if (m_retry.isPending()) return;
  m_retry.start(m_delay, [this] { tryAgain(); });
  m_delay = std::min(2 * m_delay, kLongestDelay);
}

void RetryingDefaultsStore::tryAgain() {
  m_hasFailed = false;
  if (synchronize()) m_delay = kFirstDelay;
}

}  // namespace halvard
