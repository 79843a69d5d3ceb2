#include "lifecycle/updater.h"

#include <QDateTime>
#include <QDebug>
#include <algorithm>

#include "core/alert.h"
#include "platform/ports/defaults_store.h"
#include "platform/ports/http_fetcher.h"
#include "platform/ports/workspace.h"
#include "preferences/stored_keys.h"

namespace halvard {
namespace {

using namespace std::chrono_literals;

/// Sleep of the machine does not count in a timer: an overdue look is noticed within the hour.
constexpr std::chrono::milliseconds kLongestWait = 1h;
constexpr FetchLimits kLimits{.maximumSize = 256 * 1024, .totalTime = 30s, .silence = 10s};

}  // namespace

Updater::Updater(const UpdaterServices& services, const QUrl& feed, const QString& publicKey, const QString& name,
                 const QString& version)
    : m_services(services),
      m_feed(feed),
      m_key(UpdateKey::fromBase64(publicKey)),
      m_name(name),
      m_version(QVersionNumber::fromString(version)),
      m_nextCheck(services.clock) {}

void Updater::resetUpdateCycle() {
  m_nextCheck.cancel();
  if (isOn() && m_checksAutomatically) waitForNextCheck();
}

/// Overdue also when the last look lies in the future: somebody has set the clock.
std::chrono::milliseconds Updater::timeToNextCheck() const {
  const auto stored = m_services.store.objectForKey(stored_keys::updaterLastCheckDate);
  const QDateTime* last = stored ? stored->as<QDateTime>() : nullptr;
  if (!last || !last->isValid()) return 0ms;
  const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(m_services.clock.now().time_since_epoch());
  const auto age = now - std::chrono::milliseconds(last->toMSecsSinceEpoch());
  return age < 0ms || age >= kCheckInterval ? 0ms : kCheckInterval - age;
}

void Updater::waitForNextCheck() {
  const std::chrono::milliseconds wait = timeToNextCheck();
  if (wait == 0ms) check();
  m_nextCheck.start(std::clamp<std::chrono::milliseconds>(wait, 1min, kLongestWait), [this] { waitForNextCheck(); });
}

void Updater::checkForUpdates() {
  if (!isOn()) return;
  m_askedByUser = true;
  check();
}

void Updater::check() {
  if (m_check.isPending()) return;
  const auto now = std::chrono::duration_cast<std::chrono::milliseconds>(m_services.clock.now().time_since_epoch());
  m_services.store.setObject(stored_keys::updaterLastCheckDate, {QDateTime::fromMSecsSinceEpoch(now.count(), Qt::UTC)});
  m_services.store.synchronize();
  const auto look = [&fetcher = m_services.fetcher, feed = m_feed, key = *m_key,
                     version = m_version](std::stop_token stop) -> Outcome {
    const Result<QByteArray> body = fetcher.fetch(feed, kLimits, std::move(stop));
    if (!body) return body.error();
    return newestUpdate(body.value(), key, version);
  };
  m_check.replace(m_queue.run(this, look, [this](const Outcome& outcome) { finish(outcome); }));
}

void Updater::finish(const Outcome& outcome) {
  const bool askedByUser = std::exchange(m_askedByUser, false);
  if (!outcome) {
    qWarning().noquote() << QStringLiteral("update feed: ") + outcome.error().message;
    if (askedByUser) tell(tr("Updates could not be looked for."), outcome.error().message);
  } else if (!outcome.value()) {
    qInfo().noquote() << QStringLiteral("update feed: nothing newer than ") + m_version.toString();
    if (askedByUser)
      tell(tr("%1 is up to date.").arg(m_name), tr("Version %1 is the newest.").arg(m_version.toString()));
  } else if (askedByUser || outcome.value()->version != m_offered) {
    offer(*outcome.value());
  }
  Q_EMIT checked();
}

void Updater::offer(const AppcastEntry& update) {
  m_offered = update.version;
  m_services.alerts.show({.message = tr("%1 %2 is available.").arg(m_name, update.version.toString()),
                          .informativeText = tr("You have version %1. The download page on %2 opens in your browser.")
                                                 .arg(m_version.toString(), update.page.host()),
                          .buttons = {tr("Open Download Page"), tr("Later")}},
                         [&workspace = m_services.workspace, page = update.page](const AlertAnswer& answer) {
                           if (answer.button == 0) workspace.openURL(page);
                         });
}

void Updater::tell(const QString& message, const QString& information) {
  m_services.alerts.show({.message = message, .informativeText = information, .buttons = {tr("OK")}}, {});
}

}  // namespace halvard
