#include "analytics/zp_google_analytics.h"

#include <QLocale>
#include <QRandomGenerator>

#include "analytics/zp_google_payload.h"
#include "platform/ports/http_beacon.h"
#include "preferences/showcase_defaults.h"

namespace halvard {
namespace {

constexpr std::chrono::seconds kPatience{30};
constexpr int kParallelRequests = 2;

QString orElse(const QString& text, const QString& otherwise) {
  return text.isEmpty() ? otherwise : text;
}

}  // namespace

ZPGoogleAnalytics::ZPGoogleAnalytics(const Branding& branding, ShowcaseDefaults& defaults, HttpBeacon& beacon,
                                     AnalyticsFacts facts, Random random)
    : m_branding(branding),
      m_defaults(defaults),
      m_beacon(beacon),
      m_facts(std::move(facts)),
      m_random(std::move(random)),
      m_queue(QStringLiteral("usage events"), kParallelRequests) {}

void ZPGoogleAnalytics::send(ZPGAEvent event) {
  const ZPGAEventData data = eventData(event, m_branding);
  if (m_branding.analyticsEndpoint.isEmpty() || m_branding.analyticsTrackingId.isEmpty()) return;
  if (isTrackingRefused()) return;
  const auto get = [&beacon = m_beacon, endpoint = m_branding.analyticsEndpoint, query = payload(data)](
                       const std::stop_token& stop) { (void)beacon.get(endpoint, query, kPatience, stop); };
  m_queue.run(this, get, [] {});
}

QByteArray ZPGoogleAnalytics::payload(const ZPGAEventData& event) {
  ZPGooglePayload payload;
  payload.add("v", QStringLiteral("1"));
  payload.add("tid", m_branding.analyticsTrackingId);
  payload.add("cid", m_defaults.analyticsUserIdentifier());
  payload.add("ds", QStringLiteral("app"));
  payload.add("an", orElse(m_facts.applicationName, QStringLiteral("App Name")));
  payload.add("av", orElse(m_facts.applicationVersion, QStringLiteral("App Version")));
  payload.add("ul", m_facts.language);
  payload.add("t", QStringLiteral("event"));
  payload.add("ec", event.category);
  payload.add("ea", event.action);
  if (event.label) payload.add("el", *event.label);
  payload.add("z", QString::number(m_random()));
  return payload.data();
}

bool ZPGoogleAnalytics::isTrackingRefused() {
  const QByteArray value = qgetenv("DO_NOT_TRACK");
  return !value.isEmpty() && value != "0";
}

QString ZPGoogleAnalytics::preferredLanguage() {
  const QLocale locale = QLocale::system();
  return locale.uiLanguages().value(0, locale.name());
}

std::uint32_t ZPGoogleAnalytics::systemRandom() {
  return QRandomGenerator::system()->generate();
}

}  // namespace halvard
